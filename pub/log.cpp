#include "pub/log.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
namespace {

constexpr std::size_t DUMP_LIMIT = 250;  // keeps a line under the log's 1024 characters

class errno_keeper {
 public:
  errno_keeper() : m_errno(errno) {}
  ~errno_keeper() { errno = m_errno; }
  errno_keeper(const errno_keeper&) = delete;
  errno_keeper& operator=(const errno_keeper&) = delete;

 private:
  int m_errno;
};

// How many threads are in the platform's log, and whether they are to stay out of it. No thread is ever stopped inside:
// there is no wait point.
std::atomic<int> g_writers;
std::atomic<bool> g_is_paused;

class log_entrance {
 public:
  log_entrance() {
    while (!enter()) g_is_paused.wait(true);
  }
  ~log_entrance() { leave(); }
  log_entrance(const log_entrance&) = delete;
  log_entrance& operator=(const log_entrance&) = delete;

 private:
  static bool enter() {
    ++g_writers;
    if (!g_is_paused) return true;
    leave();
    return false;
  }
  static void leave() {
    if (--g_writers == 0 && g_is_paused) g_writers.notify_all();
  }
};

__attribute__((format(printf, 2, 0))) void print_line(const pub_log_module_st& module, const char* format,
                                                      va_list arguments) {
  const errno_keeper keeper;
  const log_entrance entrance;
  __android_log_vprint(ANDROID_LOG_DEBUG, module.m_tag, format, arguments);
}

__attribute__((format(printf, 3, 0))) void print_failure(const pub_log_site& site, std::int32_t code,
                                                         const char* format, va_list arguments) {
  pub_log_failure(site, code);
  if (pub_log_enabled(site.m_module)) print_line(site.m_module, format, arguments);
}

}  // namespace

void pub_log_pause() {
  g_is_paused = true;
  for (int writers = g_writers; writers != 0; writers = g_writers) g_writers.wait(writers);
}

void pub_log_resume(bool is_child) {
  if (is_child) g_writers = 0;  // the fork may have caught a thread of the parent on its way out
  g_is_paused = false;
  g_is_paused.notify_all();
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
