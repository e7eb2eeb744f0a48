// The command completion, which prints what makes a shell complete the command line; and that command line as a whole.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "completion/command.h"
#include "station/program/command-line.h"

// All commands of the program with their options, whichever parser takes them.
completion_command_st station_command_tree();

// Runs `completion SHELL` and gives its exit status; none when the first argument is another command.
std::optional<int> station_run_completion_command(const std::vector<std::string>& arguments, const station_io_st& io);
