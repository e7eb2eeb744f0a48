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

result_code_en amt_device_do_command(const char* command) {
  constexpr int TRIES = 5;
  pub_log_entry(k_log);
  for (int count = 1; count <= TRIES; ++count) {
    if (pub_util_run_command(command) == 0) {
      LOG_LINE("system(%s) OK", command);
      return ERR_NONE;
    }
    pub_log_failure(k_log, ERR_SYSTEM, "system(%s) FAIL[count = %d]: %d - %s", command, count, errno,
                    std::strerror(errno));
  }
  return ERR_FAIL;
}
