#include "handset/program/link-player.h"

#include <fmt/format.h>

#include "handset/program/control.h"
#include "handset/wire/error.h"

namespace handset {

namespace {

using clock = event_loop::clock;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr milliseconds PART_WAIT{1000};  // a request that gets no longer is taken as it is
constexpr milliseconds LOOK_AGAIN{20};   // no event reports that a terminal was opened

}  // namespace

std::vector<capture_numbered_st> load_capture(const std::string& path, const std::string& phone) {
  std::vector<capture_numbered_st> entries;
  std::string bad;
  std::string wrong = capture_load(path, &entries, [&](std::size_t line, const std::string& why) {
    if (bad.empty()) bad = fmt::format("{}:{}: {}", path, line, why);
  });
  if (wrong.empty()) wrong = bad;
  if (!wrong.empty()) throw error(wrong);
  wrong = capture_choose_phone(phone, &entries);
  if (!wrong.empty()) throw usage_error(wrong + " with --replay-phone");
  return entries;
}

link_player::link_player(event_loop& loop, capture_link_en link, capture_script_st script, options how)
    : m_loop(loop), m_link(link), m_script(std::move(script)), m_how(std::move(how)), m_splitter(capture_form(link)) {}

void link_player::start() {
  if (m_how.is_heard()) return go_on();
  m_loop.after(LOOK_AGAIN, [this] { start(); });
}

void link_player::keep(const stream_item_st& item) {
  if (capture_is_blank(item)) return;
  m_requests.emplace_back(capture_item_st{0, 0, capture_direction_en::SENT, m_link, {}, 0, item});
}

void link_player::flush() {
  m_splitter.flush([this](const stream_item_st& item) { keep(item); });
}

void link_player::take(std::string_view bytes) {
  m_capture.write(capture_direction_en::SENT, capture_bytes(bytes));
  m_splitter.feed(capture_bytes(bytes), [this](const stream_item_st& item) { keep(item); });
  // The carriage return ends a command; a line feed that follows says nothing.
  if (m_splitter.pending() == stream_pending_en::LINE_FEED) flush();
  if (m_part_timer) m_loop.cancel(*m_part_timer);
  m_part_timer.reset();
  if (m_splitter.pending() != stream_pending_en::NOTHING) {
    m_part_timer = m_loop.after(PART_WAIT, [this] {
      m_part_timer.reset();
      flush();
      go_on();
    });
  }
  go_on();
}

void link_player::go_on() {
  while (!m_say_timer) {
    if (say_next()) continue;
    if (m_say_timer || m_requests.empty()) return;
    const std::string difference = m_script.take(m_requests.front().item().m_item);
    m_requests.pop_front();
    m_latest = clock::now();
    if (!difference.empty()) m_how.differ(fmt::format("link {}: {}", capture_link_name(m_link), difference));
  }
}

// False when nothing is to be said now.
bool link_player::say_next() {
  const auto answer = m_script.answer();
  if (!answer) return false;
  const auto due = m_latest + nanoseconds{m_how.is_fast ? 0 : answer->m_pause_ns};
  const auto left = due - clock::now();
  if (left <= left.zero() || m_latest == clock::time_point{}) {
    say(answer->m_bytes);
    return true;
  }
  m_say_timer = m_loop.after(std::chrono::ceil<milliseconds>(left), [this] {
    m_say_timer.reset();
    if (const auto next = m_script.answer()) say(next->m_bytes);
    go_on();
  });
  return false;
}

// While nobody has the terminal open, what is said is lost, as on a cable.
void link_player::say(const std::vector<std::uint8_t>& bytes) {
  m_capture.write(capture_direction_en::RECEIVED, bytes);
  if (m_how.is_heard()) m_how.say({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  m_script.said();
  m_latest = clock::now();
}

}  // namespace handset
