// The log lines that every module writes, one function for each kind. A source file names its tag and module once, in
// a constant `k_log`, and gives it to each call. Nothing is formatted that the platform log would not print, and no log
// call changes errno.
#pragma once

#include <log/log.h>

#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <span>

#include "pub/result.h"

struct pub_log_module_st {
  const char* m_tag;   // platform log tag; null for the few lines that carry none
  const char* m_file;  // what an error-trace line prints as FILE, e.g. "amt/amt-handle"
};

// Where a line comes from. A module alone stands for the place of the call. A private helper gives the name of the
// function it works for; a line given by number is the site number that field tools look for.
struct pub_log_site {
  constexpr pub_log_site(const pub_log_module_st& module, int line = __builtin_LINE(),
                         const char* function = __builtin_FUNCTION())
      : m_module(module), m_line(line), m_function(function) {}
  constexpr pub_log_site(const pub_log_module_st& module, const char* function, int line = __builtin_LINE())
      : m_module(module), m_line(line), m_function(function) {}

  const pub_log_module_st& m_module;
  int m_line;
  const char* m_function;
};

inline bool pub_log_enabled(const pub_log_module_st& module) {
  const int error = errno;  // a phone reads properties here, and may not be allowed to
  const bool is_enabled = __android_log_is_loggable(ANDROID_LOG_DEBUG, module.m_tag, ANDROID_LOG_VERBOSE) != 0;
  errno = error;
  return is_enabled;
}

void pub_log_line(const pub_log_module_st& module, const char* format, ...) __attribute__((format(printf, 2, 3)));

// The entry line of a function: "%s()".
inline void pub_log_entry(const pub_log_site& site) {
  if (pub_log_enabled(site.m_module)) pub_log_line(site.m_module, "%s()", site.m_function);
}

// The error-trace line: "FILE-%s, LINE-%d, FUNC-%s(), error_code=%d, errno=%d".
void pub_log_failure(const pub_log_site& site, std::int32_t code);
// The error-trace line, then the text.
void pub_log_failure(const pub_log_site& site, std::int32_t code, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
// The same, and gives the code, for the caller to return.
result_code_en pub_fail(const pub_log_site& site, result_code_en code);
result_code_en pub_fail(const pub_log_site& site, result_code_en code, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
// "sys call: %s() failed! errno = %d"
void pub_log_sys_call(const pub_log_module_st& module, const char* call);
// A failed system call: its line, then the error-trace line. Gives the code.
result_code_en pub_fail_sys_call(const pub_log_site& site, result_code_en code, const char* call);
// The error-trace line (ERR_ARGUMENT) and a line with each flag as 0 or 1, if any flag is set; gives whether one was.
bool pub_log_bad_arguments(const pub_log_site& site, std::initializer_list<bool> bad);
// "%s: (data_len = %d) -- %s": at most 250 bytes as hexadecimal, then "..." when there are more.
void pub_log_dump(const pub_log_module_st& module, const char* label, std::span<const std::uint8_t> bytes);

// printf(3) to the standard output, at most 4351 bytes, without the C library's buffer: nothing is pending that a fork
// would print again, and no lock is taken.
void pub_print(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Macros, so that what a line would print is computed only when it is printed.
#define LOG_LINE(...)                                             \
  do {                                                            \
    if (pub_log_enabled(k_log)) pub_log_line(k_log, __VA_ARGS__); \
  } while (false)
#define LOG_WARNING(...)   \
  do {                     \
    LOG_LINE("WARNING !"); \
    LOG_LINE(__VA_ARGS__); \
  } while (false)
