#include "station/capture/replay.h"

#include <poll.h>

#include <algorithm>
#include <array>

namespace {

using clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr milliseconds PART_WAIT{1000};  // a frame or line that gets no longer is taken as it is
constexpr milliseconds LINE_FEED_WAIT{50};
constexpr milliseconds LAST_WAIT{200};  // after the last answer: what comes though the capture has nothing more
constexpr std::int64_t LONGEST_PAUSE_NS = 24LL * 3600 * 1'000'000'000;  // a capture's clock may jump

std::int64_t now_ns() {
  return std::chrono::duration_cast<nanoseconds>(clock::now().time_since_epoch()).count();
}

std::int64_t pause_between(std::int64_t before_ns, std::int64_t after_ns) {
  return std::clamp<std::int64_t>(after_ns - before_ns, 0, LONGEST_PAUSE_NS);
}

}  // namespace

std::vector<replay_turn_st> replay_turns(const std::vector<capture_numbered_st>& entries, capture_link_en link) {
  std::vector<replay_turn_st> turns;
  capture_items_st items([&](const capture_item_st& item) {
    if (item.m_direction != capture_direction_en::RECEIVED) return;
    if (turns.empty()) turns.emplace_back();  // the phone spoke first
    turns.back().m_answers.emplace_back(item);
  });
  for (const auto& [entry, line] : entries) {
    if (entry.m_link != link) continue;
    items.take(entry, line);
    if (entry.m_direction == capture_direction_en::RECEIVED) continue;
    if (turns.empty() || !turns.back().m_answers.empty() || turns.back().m_sent.empty())
      turns.push_back({{}, line, {}});
    turns.back().m_sent.push_back({entry.m_bytes, entry.m_monotonic_ns});
  }
  items.flush();
  return turns;
}

replay_st::replay_st(station_link_st* link, capture_link_en name, const replay_options_st& options, on_turn show)
    : m_link(link), m_name(name), m_options(options), m_show(std::move(show)), m_splitter(capture_form(name)) {}

void replay_st::keep(const stream_item_st& item) {
  if (capture_is_blank(item)) return;
  const capture_item_st place{
      std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
          .count(),
      now_ns() - m_shift_ns,
      capture_direction_en::RECEIVED,
      m_name,
      {},
      0,
      item};
  m_received.emplace_back(place);
}

void replay_st::feed(std::span<const std::uint8_t> bytes) {
  m_splitter.feed(bytes, [this](const stream_item_st& item) { keep(item); });
}

// Reads once, or becomes sure that what is held gets no longer.
station_exit_en replay_st::read(station_time until) {
  station_time quiet = station_time::max();
  const auto pending = m_splitter.pending();
  if (pending == stream_pending_en::LINE_FEED) quiet = clock::now() + LINE_FEED_WAIT;
  if (pending == stream_pending_en::LINE || pending == stream_pending_en::PART) quiet = clock::now() + PART_WAIT;
  std::array<std::uint8_t, 4096> chunk{};
  std::size_t count = 0;
  const station_exit_en result = m_link->read_some(chunk, std::min(until, quiet), &count);
  feed(std::span(chunk).first(count));
  if (result != STATION_NO_ANSWER) return result;
  if (clock::now() >= quiet) m_splitter.flush([this](const stream_item_st& item) { keep(item); });
  return clock::now() >= until ? STATION_NO_ANSWER : STATION_OK;
}

station_exit_en replay_st::receive_for(milliseconds time) {
  const station_time until = clock::now() + time;
  for (;;) {
    const station_exit_en result = read(until);
    if (result != STATION_OK) return result == STATION_NO_ANSWER ? STATION_OK : result;
    if (clock::now() >= until) return STATION_OK;
  }
}

// As many items as the capture has. Each has the time that it took there, and the timeout on top of it.
station_exit_en replay_st::receive(const replay_turn_st& turn) {
  while (m_received.size() < turn.m_answers.size()) {
    const auto& next = turn.m_answers[m_received.size()];
    const std::int64_t ahead = pause_between(now_ns() - m_shift_ns, next.item().m_monotonic_ns);
    const station_exit_en result = read(clock::now() + nanoseconds(ahead) + m_options.m_timeout);
    if (result == STATION_NO_ANSWER) return STATION_OK;  // what is missing is a difference
    if (result != STATION_OK) return result;
  }
  return STATION_OK;
}

// The pieces follow each other as they did in the capture, where their times are kept; else at once.
station_exit_en replay_st::send(const replay_turn_st& turn, int stop_fd) {
  for (const auto& piece : turn.m_sent) {
    const std::int64_t early = m_options.m_keeps_times ? piece.m_monotonic_ns + m_shift_ns - now_ns() : 0;
    if (early > 0) {
      const auto pause = std::chrono::ceil<milliseconds>(nanoseconds(std::min(early, LONGEST_PAUSE_NS)));
      pollfd stop{stop_fd, POLLIN, 0};
      if (::poll(&stop, 1, static_cast<int>(pause.count())) > 0) return STATION_INTERRUPTED;
    }
    const station_exit_en written = m_link->write_all(piece.m_bytes, clock::now() + m_options.m_timeout);
    if (written != STATION_OK) return written;
    m_shift_ns = now_ns() - piece.m_monotonic_ns;
  }
  return STATION_OK;
}

void replay_st::close_turn(const replay_turn_st& turn) {
  const auto pairs = replay_align(turn.m_answers, m_received, m_options.m_rules);
  ++m_counts.m_turns;
  m_counts.m_answers += turn.m_answers.size();
  m_counts.m_different += static_cast<std::size_t>(
      std::ranges::count_if(pairs, [](const auto& pair) { return !pair.m_differences.empty(); }));
  m_show(turn, pairs);
  m_received.clear();
}

station_exit_en replay_st::run(const std::vector<replay_turn_st>& turns, int stop_fd) {
  for (std::size_t n = 0; n < turns.size(); ++n) {
    const replay_turn_st& turn = turns[n];
    if (n == 0)
      m_shift_ns =
          now_ns() - (turn.m_sent.empty() ? turn.m_answers[0].item().m_monotonic_ns : turn.m_sent[0].m_monotonic_ns);
    station_exit_en result = send(turn, stop_fd);
    if (result == STATION_OK) result = receive(turn);
    if (result == STATION_OK) result = receive_for(n + 1 == turns.size() ? LAST_WAIT : milliseconds{0});
    close_turn(turn);
    if (result != STATION_OK) return result;
  }
  return m_counts.m_different == 0 ? STATION_OK : STATION_DIFFERENT;
}
