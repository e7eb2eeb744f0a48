#include "capture/items.h"

namespace {

constexpr std::int64_t PART_WAIT_NS = 1'000'000'000;

}  // namespace

stream_form_en capture_form(capture_link_en link) {
  return link == capture_link_en::APP ? stream_form_en::BARE : stream_form_en::WRAPPED;
}

bool capture_is_blank(const stream_item_st& item) {
  return item.m_kind == stream_kind_en::TEXT && stream_line(item.m_bytes).empty();
}

void capture_items_st::hand_on(const stream_st& stream, const stream_item_st& item) {
  if (capture_is_blank(item)) return;
  capture_item_st whole = stream.m_last;
  whole.m_item = item;
  m_sink(whole);
}

void capture_items_st::feed(stream_st* stream, std::span<const std::uint8_t> bytes) {
  stream->m_splitter.feed(bytes, [&](const stream_item_st& item) { hand_on(*stream, item); });
}

void capture_items_st::flush(stream_st* stream) {
  stream->m_splitter.flush([&](const stream_item_st& item) { hand_on(*stream, item); });
}

void capture_items_st::flush() {
  for (auto& [ignored, stream] : m_streams) flush(&stream);
}

// A clock that went back belongs to a machine that was started anew.
void capture_items_st::flush_quiet(std::int64_t now_ns) {
  for (auto& [ignored, stream] : m_streams) {
    if (stream.m_splitter.pending() == stream_pending_en::NOTHING) continue;
    const std::int64_t quiet = now_ns - stream.m_last.m_monotonic_ns;
    if (quiet < 0 || quiet > PART_WAIT_NS) flush(&stream);
  }
}

// What answers a line was not sent before its end. So a command without a line end stands before its answer.
void capture_items_st::flush_line(const capture_entry_st& entry) {
  const auto other =
      entry.m_direction == capture_direction_en::SENT ? capture_direction_en::RECEIVED : capture_direction_en::SENT;
  const auto found = m_streams.find({entry.m_phone, entry.m_link, other});
  if (found == m_streams.end()) return;
  if (found->second.m_splitter.pending() == stream_pending_en::LINE) flush(&found->second);
}

void capture_items_st::take(const capture_entry_st& entry, std::size_t line) {
  flush_quiet(entry.m_monotonic_ns);
  flush_line(entry);
  const key place{entry.m_phone, entry.m_link, entry.m_direction};
  auto found = m_streams.find(place);
  if (found == m_streams.end())
    found = m_streams.emplace(place, stream_st{stream_splitter_st(capture_form(entry.m_link))}).first;
  stream_st& stream = found->second;
  stream.m_last = {entry.m_time_us, entry.m_monotonic_ns, entry.m_direction, entry.m_link, entry.m_phone, line, {}};
  feed(&stream, entry.m_bytes);
  // The carriage return ends the line, which so stands before what came next on other links. A line feed that comes in
  // the next piece is a line without text.
  if (stream.m_splitter.pending() == stream_pending_en::LINE_FEED) flush(&stream);
}
