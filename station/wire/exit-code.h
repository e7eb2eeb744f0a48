// How an amt-station run ends: the exit status of the program and, of a word, the result of everything below it. One
// table for all commands: --help and the manuals show it, and a script relies on its numbers.
#pragma once

#include <string>

// Of a word, and of everything on the line.
enum station_exit_en : int {
  STATION_OK = 0,
  STATION_DIFFERENT = 1,
  STATION_USAGE = 2,
  STATION_NO_PORT = 3,
  STATION_PORT_IN_USE = 4,
  STATION_NO_ANSWER = 5,
  STATION_DAMAGED = 6,
  STATION_ERROR_ANSWER = 7,
  STATION_PORT_GONE = 8,
  STATION_NO_VALUE = 9,
  STATION_NOT_AS_WRITTEN = 10,
  STATION_NO_OUTPUT = 11,
  STATION_BAD_CAPTURE = 12,
  STATION_INTERRUPTED = 130,
};

// Of `run`, and of `check` as far as they go.
enum run_exit_en : int {
  RUN_PASS = 0,
  RUN_FAIL = 1,
  RUN_USAGE = 2,
  RUN_TIMEOUT = 20,
  RUN_ERROR = 21,
  RUN_NOT_RUN = 22,
  RUN_NO_RECORD = 23,
  RUN_ABORTED = 130,
};

// Of `results`.
enum results_exit_en : int {
  RESULTS_OK = 0,
  RESULTS_NOTHING = 1,
  RESULTS_USAGE = 2,
  RESULTS_NO_OUTPUT = 23,
  RESULTS_NO_STORE = 24,
};

enum class station_command_en { WORD, CAPTURE, CHECK, RUN, RESULTS };

struct station_exit_st {
  station_command_en m_command;
  int m_code;
  const char* m_meaning;
};

inline constexpr station_exit_st STATION_EXITS[] = {
    {station_command_en::WORD, STATION_OK, "done: answered, or sent with --no-wait"},
    {station_command_en::WORD, STATION_USAGE, "wrong usage"},
    {station_command_en::WORD, STATION_NO_PORT, "no such port at the start, no permission, or not a terminal"},
    {station_command_en::WORD, STATION_PORT_IN_USE, "port in use"},
    {station_command_en::WORD, STATION_NO_ANSWER, "no answer in the time given"},
    {station_command_en::WORD, STATION_DAMAGED, "damaged answer: bad checksum or bad length"},
    {station_command_en::WORD, STATION_ERROR_ANSWER, "error answer"},
    {station_command_en::WORD, STATION_PORT_GONE, "unit gone: the port went away"},
    {station_command_en::WORD, STATION_NO_VALUE, "answered without the value that was asked for"},
    {station_command_en::WORD, STATION_NOT_AS_WRITTEN, "what was read back differs from what was written"},
    {station_command_en::WORD, STATION_NO_OUTPUT, "standard output failed, or the file of --capture"},
    {station_command_en::WORD, STATION_INTERRUPTED, "interrupted"},

    {station_command_en::CAPTURE, STATION_OK, "done; replay: the phone answered as in the capture"},
    {station_command_en::CAPTURE, STATION_DIFFERENT, "replay: the phone answered otherwise"},
    {station_command_en::CAPTURE, STATION_USAGE, "wrong usage"},
    {station_command_en::CAPTURE, STATION_NO_PORT, "no such port at the start, no permission, or not a terminal"},
    {station_command_en::CAPTURE, STATION_PORT_IN_USE, "port in use"},
    {station_command_en::CAPTURE, STATION_NO_ANSWER, "the port did not take what was to be sent in the time given"},
    {station_command_en::CAPTURE, STATION_PORT_GONE, "a port went away"},
    {station_command_en::CAPTURE, STATION_NO_OUTPUT, "an output could not be written whole"},
    {station_command_en::CAPTURE, STATION_BAD_CAPTURE,
     "the capture cannot be read, has lines that are none, or nothing to send"},
    {station_command_en::CAPTURE, STATION_INTERRUPTED, "interrupted"},

    {station_command_en::CHECK, RUN_PASS, "the plan can be run, with warnings perhaps"},
    {station_command_en::CHECK, RUN_USAGE, "wrong usage, or errors in the plan"},
    {station_command_en::CHECK, STATION_NO_OUTPUT, "standard output failed"},

    {station_command_en::RUN, RUN_PASS, "every unit has PASS or SKIPPED"},
    {station_command_en::RUN, RUN_FAIL, "the worst verdict of a unit is FAIL"},
    {station_command_en::RUN, RUN_USAGE, "wrong usage, or errors in the plan: no phone was touched"},
    {station_command_en::RUN, RUN_TIMEOUT, "the worst verdict is TIMEOUT"},
    {station_command_en::RUN, RUN_ERROR, "the worst verdict is ERROR"},
    {station_command_en::RUN, RUN_NOT_RUN, "the worst verdict is NOT_RUN"},
    {station_command_en::RUN, RUN_NO_RECORD, "a record could not be written; the units' verdicts are on the output"},
    {station_command_en::RUN, RUN_ABORTED, "the worst verdict is ABORTED: the run was interrupted"},

    {station_command_en::RESULTS, RESULTS_OK, "done"},
    {station_command_en::RESULTS, RESULTS_NOTHING,
     "show: there is no such run, or more than one; send: files that are no records"},
    {station_command_en::RESULTS, RESULTS_USAGE, "wrong usage"},
    {station_command_en::RESULTS, RESULTS_NO_OUTPUT, "the output could not be written"},
    {station_command_en::RESULTS, RESULTS_NO_STORE, "the store failed; records that wait stay where they are"},
};

// The meaning of a word's code; every value of its enum has one.
const char* station_exit_meaning(station_exit_en code);

// The command's codes as its help ends with them.
std::string station_exit_help(station_command_en command);
