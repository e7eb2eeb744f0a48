// Shell commands of the device tests.
#pragma once

#include <cstdint>

// Runs a shell command, up to five times at once one after the other until it exits with 0. 0 or ERR_FAIL.
std::int32_t amt_device_do_command(const char* command);
