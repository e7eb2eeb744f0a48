// The command results, with its own commands: send, list, show, export, yield.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "station/program/command-line.h"

// Where the results are when nothing else is said: a file beside the records.
std::string results_default_store(const std::string& records);

// Runs `results ...` and gives its exit status; none when the first argument is another command.
std::optional<int> station_run_results_command(const std::vector<std::string>& arguments, const station_io_st& io);
