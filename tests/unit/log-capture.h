// Collects what is written to the platform log while it lives; nothing of it reaches standard error. One at a time.
#pragma once

#include <android/log.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct log_line_st {
  int m_priority;
  std::string m_tag;
  std::string m_text;
};

class log_capture {
 public:
  // Everything below `priority` is refused by the log itself, as on a phone.
  explicit log_capture(int priority = ANDROID_LOG_DEBUG)
      : m_old_priority(__android_log_set_minimum_priority(priority)) {
    {
      const std::lock_guard guard(lock());
      current() = this;
    }
    __android_log_set_logger(take);
  }
  ~log_capture() {
    __android_log_set_logger(__android_log_stderr_logger);
    __android_log_set_minimum_priority(m_old_priority);
    const std::lock_guard guard(lock());
    current() = nullptr;
  }
  log_capture(const log_capture&) = delete;
  log_capture& operator=(const log_capture&) = delete;

  std::vector<log_line_st> lines() const {
    const std::lock_guard guard(lock());
    return m_lines;
  }
  std::vector<std::string> texts() const {
    std::vector<std::string> result;
    for (const auto& line : lines()) result.push_back(line.m_text);
    return result;
  }
  // The last line, empty when there is none.
  std::string last() const {
    const auto all = lines();
    return all.empty() ? "" : all.back().m_text;
  }
  // Whether a line holds the piece.
  bool contains(std::string_view piece) const {
    const auto all = lines();
    return std::any_of(all.begin(), all.end(), [piece](const log_line_st& line) {
      return std::string_view(line.m_text).find(piece) != std::string_view::npos;
    });
  }
  // How many lines are exactly this text.
  std::size_t count(std::string_view text) const {
    const auto all = lines();
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [text](const log_line_st& line) { return line.m_text == text; }));
  }
  bool has(std::string_view text) const { return count(text) != 0; }
  // Whether the lines, each exactly so, follow each other without another line between them.
  bool has_in_a_row(const std::vector<std::string>& wanted) const {
    const auto all = texts();
    return std::search(all.begin(), all.end(), wanted.begin(), wanted.end()) != all.end();
  }
  void clear() {
    const std::lock_guard guard(lock());
    m_lines.clear();
  }

 private:
  static std::mutex& lock() {
    static std::mutex mutex;
    return mutex;
  }
  static log_capture*& current() {
    static log_capture* capture = nullptr;
    return capture;
  }
  static void take(const __android_logger_data* data, const char* message) {
    const std::lock_guard guard(lock());
    if (current() == nullptr) return;
    current()->m_lines.push_back({data->priority, data->tag == nullptr ? "" : data->tag, message});
  }

  int m_old_priority;
  std::vector<log_line_st> m_lines;
};
