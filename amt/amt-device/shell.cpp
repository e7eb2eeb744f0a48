#include "amt/amt-device/shell.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "amt/amt-device/log-module.h"
#include "pub/result.h"
#include "pub/util/io.h"

amt_device_command::amt_device_command(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(m_text_a, sizeof m_text_a, format, arguments);
  va_end(arguments);
}

std::int32_t amt_device_do_command(const char* command) {
  constexpr int TRIES = 5;
  LOG_ENTRY();
  for (int count = 1; count <= TRIES; ++count) {
    if (pub_util_run_command(command) == 0) {
      LOG_LINE("system(%s) OK", command);
      return ERR_NONE;
    }
    const int error = errno;
    LOG_FAILURE(ERR_SYSTEM);
    LOG_LINE("system(%s) FAIL[count = %d]: %d - %s", command, count, error, std::strerror(error));
  }
  return ERR_FAIL;
}
