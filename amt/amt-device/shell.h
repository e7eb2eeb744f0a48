// Shell commands of the device tests.
#pragma once

#include <cstdint>

#include "pub/result.h"

// A command composed of numbers and configuration, in the room that commands have: one that does not fit is cut.
class amt_device_command {
 public:
  explicit amt_device_command(const char* format, ...) __attribute__((format(printf, 2, 3)));
  const char* text() const { return m_text_a; }

 private:
  char m_text_a[99];
};

// Runs a shell command, up to five times at once one after the other until it exits with 0. 0 or ERR_FAIL.
result_code_en amt_device_do_command(const char* command);
