// The commands that work with plans: run, check, plan-example. They take their own options, after their names.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "completion/command.h"
#include "station/program/command-line.h"

struct station_plan_command_st {
  const char* m_name;
  const char* m_usage;
  const char* m_help;
};

// For the help text.
std::span<const station_plan_command_st> station_plan_commands();

// With their options, for completion and the manual.
std::vector<completion_command_st> station_describe_plan_commands();

// Runs the command that the first argument names and gives its exit status; none when it names another one.
std::optional<int> station_run_plan_command(const std::vector<std::string>& arguments, const station_io_st& io);
