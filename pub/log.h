// The log lines that every module writes, one function for each kind. A source file names its tag and module once, in
// a constant `k_log`, and uses the macros. Nothing is formatted that the platform log would not print, and no log call
// changes errno.
#pragma once

#include <android/log.h>

#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <span>

struct pub_log_module_st {
  const char* m_tag;   // platform log tag; null for the few lines that carry none
  const char* m_file;  // what an error-trace line prints as FILE, e.g. "amt/amt-handle"
};

inline bool pub_log_enabled(const pub_log_module_st& module) {
  const int error = errno;  // a phone reads properties here, and may not be allowed to
  const bool is_enabled = __android_log_is_loggable(ANDROID_LOG_DEBUG, module.m_tag, ANDROID_LOG_VERBOSE) != 0;
  errno = error;
  return is_enabled;
}

void pub_log_line(const pub_log_module_st& module, const char* format, ...) __attribute__((format(printf, 2, 3)));
// Between the two no other thread is in the platform's log: its locks are free in a child that is forked there. A
// thread that has something to log waits; the caller must log nothing. The child, which has no other threads, says so.
void pub_log_pause();
void pub_log_resume(bool is_child);
// "FILE-%s, LINE-%d, FUNC-%s(), error_code=%d, errno=%d"
void pub_log_failure(const pub_log_module_st& module, int line, const char* function, std::int32_t code);
// The error-trace line (ERR_ARGUMENT) and a line with each flag as 0 or 1, if any flag is set; tells whether one was.
bool pub_log_bad_arguments(const pub_log_module_st& module, int line, const char* function,
                           std::initializer_list<bool> bad);
// "sys call: %s() failed! errno = %d"
void pub_log_sys_call(const pub_log_module_st& module, const char* call);
// "%s: (data_len = %d) -- %s": at most 250 bytes as hexadecimal, "..." behind them when there are more.
void pub_log_dump(const pub_log_module_st& module, const char* label, std::span<const std::uint8_t> bytes);

#define LOG_LINE(...)                                             \
  do {                                                            \
    if (pub_log_enabled(k_log)) pub_log_line(k_log, __VA_ARGS__); \
  } while (false)
#define LOG_ENTRY_OF(name) LOG_LINE("%s()", name)
#define LOG_ENTRY() LOG_ENTRY_OF(__func__)
#define LOG_WARNING(...)   \
  do {                     \
    LOG_LINE("WARNING !"); \
    LOG_LINE(__VA_ARGS__); \
  } while (false)
#define LOG_SYS_CALL(call) pub_log_sys_call(k_log, call)
#define LOG_FAILURE(code) pub_log_failure(k_log, __LINE__, __func__, code)
// For a private helper, which logs under the name of the function it works for.
#define LOG_FAILURE_OF(function, code) pub_log_failure(k_log, __LINE__, function, code)
// With the site number that field tools look for.
#define LOG_FAILURE_AT(line, code) pub_log_failure(k_log, line, __func__, code)
#define LOG_BAD_ARGUMENTS(...) pub_log_bad_arguments(k_log, __LINE__, __func__, {__VA_ARGS__})
#define LOG_BAD_ARGUMENTS_AT(line, ...) pub_log_bad_arguments(k_log, line, __func__, {__VA_ARGS__})
#define LOG_DUMP(label, bytes) pub_log_dump(k_log, label, bytes)
