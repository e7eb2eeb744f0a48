// The command results, with its own commands: send, list, show, export, yield.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "completion/command.h"
#include "station/program/command-line.h"

enum results_exit_en : int {
  RESULTS_OK = 0,
  RESULTS_NOTHING = 1,
  RESULTS_USAGE = 2,
  RESULTS_NO_OUTPUT = 23,
  RESULTS_NO_STORE = 24,
};

struct results_exit_row_st {
  results_exit_en m_code;
  const char* m_meaning;
};

// The help and the manual show these; a script relies on the numbers.
inline constexpr results_exit_row_st RESULTS_EXITS[] = {
    {RESULTS_OK, "done"},
    {RESULTS_NOTHING, "show: there is no such run, or more than one; send: files that are no records"},
    {RESULTS_USAGE, "wrong usage"},
    {RESULTS_NO_OUTPUT, "the output could not be written"},
    {RESULTS_NO_STORE, "the store failed; records that wait stay where they are"},
};

// Where the results are when nothing else is said: a file beside the records.
std::string results_default_store(const std::string& records);

// With its commands and options, for completion and the manual.
completion_command_st station_describe_results();

// Runs `results ...` and gives its exit status; none when the first argument is another command.
std::optional<int> station_run_results_command(const std::vector<std::string>& arguments, const station_io_st& io);
