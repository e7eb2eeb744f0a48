#include "station/wire/session.h"

#include <algorithm>
#include <array>

#include "capture/items.h"

namespace {

using clock = std::chrono::steady_clock;
using chunk_st = std::array<std::uint8_t, 4096>;

constexpr std::chrono::milliseconds LINE_FEED_WAIT{50};  // the LF follows its CR at once or not at all
constexpr int EARLIER_READS = 16;                        // a line that never stops must not hold up the request

}  // namespace

bool station_session_st::drain() {
  bool has_answer = false;
  const auto sink = [&](const stream_item_st& item) {
    if (capture_is_blank(item)) return;
    const bool is_text = item.m_kind == stream_kind_en::TEXT;
    const bool is_final = is_text && station_at_final(stream_line(item.m_bytes)).has_value();
    has_answer = has_answer || is_final || (!is_text && item.m_kind != stream_kind_en::NOISE);
    m_show({std::chrono::system_clock::now(), false, item});
  };
  chunk_st chunk;
  std::size_t count = 0;
  for (int reads = 0; reads < EARLIER_READS; ++reads) {
    // A failure here also fails the write that follows, which reports it.
    if (m_link->read_some(chunk, clock::now(), &count) != STATION_OK) break;
    m_splitter.feed(std::span(chunk).first(count), sink);
  }
  return has_answer;
}

station_exit_en station_session_st::send(std::span<const std::uint8_t> bytes, bool is_frame, station_time deadline) {
  drain();
  const station_exit_en written = m_link->write_all(bytes, deadline);
  if (written != STATION_OK) return written;
  const stream_kind_en kind = is_frame ? stream_kind_en::FRAME : stream_kind_en::TEXT;
  m_show({std::chrono::system_clock::now(), true, {kind, stream_fault_en::NONE, bytes, m_form}});
  return STATION_OK;
}

// The time at which to stop waiting for the rest of a held item.
station_time station_session_st::quiet_end(std::chrono::milliseconds part_wait) const {
  switch (m_splitter.pending()) {
    case stream_pending_en::LINE_FEED:
      return clock::now() + LINE_FEED_WAIT;
    case stream_pending_en::LINE:
    case stream_pending_en::PART:
      return part_wait == part_wait.max() ? station_time::max() : clock::now() + part_wait;
    case stream_pending_en::NOTHING:
      break;
  }
  return station_time::max();
}

station_exit_en station_session_st::receive(station_judge_st* judge, station_time deadline,
                                            std::chrono::milliseconds part_wait) {
  std::optional<station_exit_en> decided;
  const auto sink = [&](const stream_item_st& item) {
    if (capture_is_blank(item)) return;
    m_show({std::chrono::system_clock::now(), false, item});
    if (!decided) decided = judge->take(item);
  };

  chunk_st chunk;
  while (!decided) {
    if (m_is_stopped) return STATION_NO_OUTPUT;
    std::size_t count = 0;
    const station_time until = std::min(deadline, quiet_end(part_wait));
    const station_exit_en result = m_link->read_some(chunk, until, &count);
    m_splitter.feed(std::span(chunk).first(count), sink);
    const bool is_quiet = result == STATION_NO_ANSWER;
    // The clock decides, not the silence: a line that never stops has a deadline too.
    const bool is_over = clock::now() >= deadline || (result != STATION_OK && !is_quiet);
    if (decided || (!is_quiet && !is_over)) continue;
    m_splitter.flush(sink);
    if (is_over) return decided.value_or(is_quiet || result == STATION_OK ? judge->give_up() : result);
  }
  return *decided;
}
