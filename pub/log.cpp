#include "pub/log.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <tuple>

#include "pub/gate.h"

namespace {

constexpr std::size_t PRINT_LIMIT = 4352;  // a whole AT text, and what is said about it
constexpr std::size_t DUMP_LIMIT = 250;    // keeps a line under the log's 1024 characters

class errno_keeper {
 public:
  errno_keeper() : m_errno(errno) {}
  ~errno_keeper() { errno = m_errno; }
  errno_keeper(const errno_keeper&) = delete;
  errno_keeper& operator=(const errno_keeper&) = delete;

 private:
  int m_errno;
};

__attribute__((format(printf, 2, 0))) void print_line(const pub_log_module_st& module, const char* format,
                                                      va_list arguments) {
  const errno_keeper keeper;
  const pub_gate_pass pass;
  __android_log_vprint(ANDROID_LOG_DEBUG, module.m_tag, format, arguments);
}

__attribute__((format(printf, 3, 0))) void print_failure(const pub_log_site& site, std::int32_t code,
                                                         const char* format, va_list arguments) {
  pub_log_failure(site, code);
  if (pub_log_enabled(site.m_module)) print_line(site.m_module, format, arguments);
}

}  // namespace

void pub_print(const char* format, ...) {
  const errno_keeper keeper;
  char text[PRINT_LIMIT];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (length > 0) std::ignore = write(STDOUT_FILENO, text, std::min(static_cast<std::size_t>(length), sizeof text - 1));
}

void pub_log_line(const pub_log_module_st& module, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  print_line(module, format, arguments);
  va_end(arguments);
}

void pub_log_failure(const pub_log_site& site, std::int32_t code) {
  if (!pub_log_enabled(site.m_module)) return;
  pub_log_line(site.m_module, "FILE-%s, LINE-%d, FUNC-%s(), error_code=%d, errno=%d", site.m_module.m_file, site.m_line,
               site.m_function, code, errno);
}

void pub_log_failure(const pub_log_site& site, std::int32_t code, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  print_failure(site, code, format, arguments);
  va_end(arguments);
}

result_code_en pub_fail(const pub_log_site& site, result_code_en code) {
  pub_log_failure(site, code);
  return code;
}

result_code_en pub_fail(const pub_log_site& site, result_code_en code, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  print_failure(site, code, format, arguments);
  va_end(arguments);
  return code;
}

result_code_en pub_fail_sys_call(const pub_log_site& site, result_code_en code, const char* call) {
  pub_log_sys_call(site.m_module, call);
  return pub_fail(site, code);
}

bool pub_log_bad_arguments(const pub_log_site& site, std::initializer_list<bool> bad) {
  if (std::find(bad.begin(), bad.end(), true) == bad.end()) return false;
  pub_log_failure(site, ERR_ARGUMENT);

  char text[64];
  std::size_t length = 0;
  for (const bool flag : bad) {
    if (length + 4 > sizeof text) break;
    if (length != 0) {
      text[length++] = ',';
      text[length++] = ' ';
    }
    text[length++] = flag ? '1' : '0';
  }
  text[length] = '\0';
  if (pub_log_enabled(site.m_module)) pub_log_line(site.m_module, "%s", text);
  return true;
}

void pub_log_sys_call(const pub_log_module_st& module, const char* call) {
  if (pub_log_enabled(module)) pub_log_line(module, "sys call: %s() failed! errno = %d", call, errno);
}

void pub_log_dump(const pub_log_module_st& module, const char* label, std::span<const std::uint8_t> bytes) {
  if (!pub_log_enabled(module)) return;
  static constexpr char DIGITS[] = "0123456789ABCDEF";
  char text[2 * DUMP_LIMIT + sizeof "..."];
  char* end = text;
  for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), DUMP_LIMIT))) {
    *end++ = DIGITS[byte >> 4];
    *end++ = DIGITS[byte & 15];
  }
  if (bytes.size() > DUMP_LIMIT) end = std::fill_n(end, 3, '.');
  *end = '\0';
  pub_log_line(module, "%s: (data_len = %d) -- %s", label, static_cast<int>(bytes.size()), text);
}
