// The names of the AMT command ids, for log lines and for people.
#pragma once

#include <cstdint>

// The name of a command id; "(undefined)" for an id that has none.
const char* amt_command_name(std::uint8_t command_id);
