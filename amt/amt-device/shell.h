// Shell commands of the device tests.
#pragma once

#include <cstdint>

#include "pub/result.h"

// A command made of numbers and configuration values. A command that does not fit into its buffer is cut.
class amt_device_command {
 public:
  explicit amt_device_command(const char* format, ...) __attribute__((format(printf, 2, 3)));
  const char* text() const { return m_text_a; }

 private:
  char m_text_a[99];
};

// Runs a shell command until it exits with 0, at most five times and without a pause. 0 or ERR_FAIL.
result_code_en amt_device_do_command(const char* command);
