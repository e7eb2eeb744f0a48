#include "handset/wire/text-log.h"

#include <algorithm>
#include <utility>

namespace handset {

namespace {

std::size_t count_in(std::string_view text, std::string_view needle) {
  std::size_t found = 0;
  for (auto at = text.find(needle); at != text.npos; at = text.find(needle, at + needle.size())) ++found;
  return found;
}

// The part of text from a mark on; a mark after the end leaves nothing.
std::string_view behind(std::string_view text, std::size_t from) {
  return text.substr(std::min(from, text.size()));
}

}  // namespace

std::string text_log::text() const {
  const std::lock_guard lock(m_mutex);
  return m_text;
}

std::vector<std::string> text_log::lines() const {
  const std::lock_guard lock(m_mutex);
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < m_text.size();) {
    const auto end = std::min(m_text.find('\n', start), m_text.size());
    lines.push_back(m_text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

std::size_t text_log::size() const {
  const std::lock_guard lock(m_mutex);
  return m_text.size();
}

std::size_t text_log::count(std::string_view needle, std::size_t from) const {
  const std::lock_guard lock(m_mutex);
  return count_in(behind(m_text, from), needle);
}

bool text_log::wait(std::chrono::milliseconds within, const std::function<bool()>& reached) const {
  const auto deadline = std::chrono::steady_clock::now() + within;
  std::unique_lock lock(m_mutex);
  m_changed.wait_until(lock, deadline, [&] { return m_ended || reached(); });
  return reached();
}

bool text_log::wait_for(std::string_view needle, std::chrono::milliseconds within, std::size_t from) const {
  // Old text is not searched again: only the new text, and as much before it as may begin the needle.
  std::size_t searched = from;
  return wait(within, [&, found = false]() mutable {
    if (found || searched > m_text.size()) return found;
    found = m_text.find(needle, searched) != m_text.npos;
    const auto keep = m_text.size() - std::min(m_text.size(), needle.size());
    searched = std::max(searched, keep);
    return found;
  });
}

bool text_log::wait_count(std::string_view needle, std::size_t times, std::chrono::milliseconds within,
                          std::size_t from) const {
  return wait(within, [&] { return count_in(behind(m_text, from), needle) >= times; });
}

bool text_log::wait_size(std::size_t bytes, std::chrono::milliseconds within) const {
  return wait(within, [&] { return m_text.size() >= bytes; });
}

bool text_log::wait_end(std::chrono::milliseconds within) const {
  return wait(within, [&] { return m_ended; });
}

void text_log::append(std::string_view bytes) {
  {
    const std::lock_guard lock(m_mutex);
    m_text += bytes;
  }
  m_changed.notify_all();
  if (m_listener) m_listener(bytes);
}

void text_log::end() {
  {
    const std::lock_guard lock(m_mutex);
    m_ended = true;
  }
  m_changed.notify_all();
}

void text_log::on_append(std::function<void(std::string_view)> listener) {
  m_listener = std::move(listener);
}

}  // namespace handset
