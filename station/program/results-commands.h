// The command results, with its own commands: send, list, show, export, yield.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "completion/command.h"
#include "station/program/command-line.h"

// Where the results are when nothing else is said: a file beside the records.
std::string results_default_store(const std::string& records);

// With its commands and options, for completion and the manual.
completion_command_st station_describe_results();

// Runs `results ...` and gives its exit status; none when the first argument is another command.
std::optional<int> station_run_results_command(const std::vector<std::string>& arguments, const station_io_st& io);
