// The commands that work with capture files: decode, replay, export, bridge. They take their own options, after their
// names.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "completion/command.h"
#include "station/program/command-line.h"

// Runs the command that the first argument names and gives its exit status; none when it names another one.
std::optional<int> station_run_capture_command(const std::vector<std::string>& arguments, const station_io_st& io);

// What they take, for the completion of command lines.
std::vector<completion_command_st> station_describe_capture_commands();

// For the help text.
std::string station_capture_help();
