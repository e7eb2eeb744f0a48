#include "station/capture/decode.h"

#include <algorithm>
#include <chrono>

#include "station/wire/judge.h"
#include "station/wire/request.h"

namespace {

bool is_error(const capture_item_st& item) {
  if (item.m_item.m_kind == stream_kind_en::NOISE || item.m_item.m_fault != stream_fault_en::NONE) return true;
  return item.m_direction == capture_direction_en::RECEIVED && station_is_refusal(item.m_item);
}

}  // namespace

capture_decoder_st::capture_decoder_st(capture_filter_st filter, sink show)
    : m_filter(std::move(filter)),
      m_show(std::move(show)),
      m_items([this](const capture_item_st& item) { take_item(item); }),
      m_requests([this](const capture_item_st& item, std::optional<std::int64_t> since_ns) {
        if (m_filter.m_errors_only && is_wanted_id(item, std::nullopt)) show_item(item, since_ns, "no answer");
      }) {}

void capture_decoder_st::take(const capture_entry_st& entry, std::size_t line) {
  if (m_filter.m_link && entry.m_link != *m_filter.m_link) return;
  if (!m_filter.m_phone.empty() && entry.m_phone != m_filter.m_phone) return;
  m_items.take(entry, line);
}

void capture_decoder_st::finish() {
  m_items.flush();
  m_requests.finish();
}

// A clock that went back belongs to a machine that was started anew.
std::optional<std::int64_t> capture_decoder_st::since(const capture_item_st& item) {
  const auto [place, is_first] = m_latest_ns.try_emplace(item.m_phone, item.m_monotonic_ns);
  const std::int64_t since = item.m_monotonic_ns - place->second;
  place->second = item.m_monotonic_ns;
  return is_first || since < 0 ? std::nullopt : std::optional(since);
}

void capture_decoder_st::take_item(const capture_item_st& item) {
  const auto since_ns = since(item);
  const auto answered = m_requests.take(item, since_ns);
  if (m_filter.m_errors_only && !is_error(item)) return;
  if (is_wanted_id(item, answered)) show_item(item, since_ns, "");
}

bool capture_decoder_st::is_wanted_id(const capture_item_st& item, std::optional<std::uint8_t> answered) const {
  if (m_filter.m_ids.empty()) return true;
  const auto id = capture_frame_id(item.m_item);
  return id && std::ranges::any_of(m_filter.m_ids, [&](std::uint8_t wanted) {
           const auto answers = station_answer_ids(wanted);
           return *id == wanted || answered == wanted || std::ranges::find(answers, *id) != answers.end();
         });
}

void capture_decoder_st::show_item(const capture_item_st& item, std::optional<std::int64_t> since_ns,
                                   const char* note) const {
  station_detail_st detail{item.m_phone, capture_link_name(item.m_link)};
  if (since_ns) detail.m_since = std::chrono::nanoseconds(*since_ns);
  detail.m_note = note;
  const std::chrono::system_clock::time_point time{std::chrono::microseconds(item.m_time_us)};
  m_show({time, item.m_direction == capture_direction_en::SENT, item.m_item, &detail});
}
