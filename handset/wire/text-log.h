// All text of a stream so far, and waits for the text that comes next. Any thread may append, read and wait.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "handset/wire/default-wait.h"

namespace handset {

class text_log {
 public:
  std::string text() const;                // every byte so far
  std::vector<std::string> lines() const;  // the lines so far, without line ends; the last may be unfinished
  std::size_t size() const;                // bytes so far: a mark to give as `from` later
  std::size_t count(std::string_view needle, std::size_t from = 0) const;

  // True as soon as the text from byte `from` on holds needle (at least `times` times). False when the time is over, or
  // the stream has ended without it.
  bool wait_for(std::string_view needle, std::chrono::milliseconds within = DEFAULT_WAIT, std::size_t from = 0) const;
  bool wait_count(std::string_view needle, std::size_t times, std::chrono::milliseconds within = DEFAULT_WAIT,
                  std::size_t from = 0) const;
  // True as soon as `bytes` bytes have come.
  bool wait_size(std::size_t bytes, std::chrono::milliseconds within = DEFAULT_WAIT) const;
  // True when the stream has ended.
  bool wait_end(std::chrono::milliseconds within = DEFAULT_WAIT) const;

  void append(std::string_view bytes);
  void end();
  // Called with every piece as it comes, on the thread that appends. Set it before the stream begins.
  void on_append(std::function<void(std::string_view)> listener);

 private:
  bool wait(std::chrono::milliseconds within, const std::function<bool()>& reached) const;

  mutable std::mutex m_mutex;
  mutable std::condition_variable m_changed;
  std::string m_text;
  bool m_ended = false;
  std::function<void(std::string_view)> m_listener;
};

}  // namespace handset
