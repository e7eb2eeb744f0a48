// How an amt-station run ends: the exit status of the program and the result of everything below it.
#pragma once

#include <array>

enum station_exit_en : int {
  STATION_OK = 0,
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
  STATION_INTERRUPTED = 130,
};

struct station_exit_st {
  station_exit_en m_code;
  const char* m_meaning;
};

// --help and the manual show these; a script relies on the numbers.
inline constexpr station_exit_st STATION_EXITS[] = {
    {STATION_OK, "done: answered, or sent with --no-wait"},
    {STATION_USAGE, "wrong usage"},
    {STATION_NO_PORT, "no such port at the start, no permission, or not a terminal"},
    {STATION_PORT_IN_USE, "port in use"},
    {STATION_NO_ANSWER, "no answer in the time given"},
    {STATION_DAMAGED, "damaged answer: bad checksum or bad length"},
    {STATION_ERROR_ANSWER, "error answer"},
    {STATION_PORT_GONE, "unit gone: the port went away"},
    {STATION_NO_VALUE, "answered without the value that was asked for"},
    {STATION_NOT_AS_WRITTEN, "what was read back differs from what was written"},
    {STATION_NO_OUTPUT, "standard output failed"},
    {STATION_INTERRUPTED, "interrupted"},
};

// The meaning of a code; every value of the enum has one.
const char* station_exit_meaning(station_exit_en code);
