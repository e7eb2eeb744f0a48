#include "station/capture/requests.h"

#include <algorithm>

#include "amt/amt-convert/frame.h"
#include "station/wire/judge.h"
#include "station/wire/request.h"

namespace {

constexpr std::size_t MOST_OPEN = 1000;  // requests of a link; a phone that never answers has more
constexpr std::uint8_t TEXT_ID = 0;      // what stands for AT text, as in the frame that refuses it

bool is_text(const capture_request_st& request) {
  return request.m_kept.item().m_item.m_kind == stream_kind_en::TEXT;
}

bool is_request(const capture_item_st& item) {
  const bool is_frame = item.m_item.m_kind == stream_kind_en::FRAME && capture_frame_id(item.m_item).has_value();
  return item.m_direction == capture_direction_en::SENT && (is_frame || item.m_item.m_kind == stream_kind_en::TEXT);
}

bool is_answered_by(const capture_request_st& request, std::optional<std::uint8_t> id) {
  if (is_text(request)) return id == TEXT_ID;
  const auto ids = station_answer_ids(capture_frame_id(request.m_kept.item().m_item).value_or(0));
  return id && std::ranges::find(ids, *id) != ids.end();
}

}  // namespace

std::optional<std::uint8_t> capture_frame_id(const stream_item_st& item) {
  const auto payload = stream_payload(item);
  if (payload.empty()) return std::nullopt;
  amt_frame_st frame{};
  std::ranges::copy(payload, frame.begin());
  return amt_frame_command_id(&frame);
}

std::optional<std::uint8_t> capture_requests_st::take(const capture_item_st& item,
                                                      std::optional<std::int64_t> since_ns) {
  if (item.m_direction == capture_direction_en::RECEIVED) return answer(item);
  if (!is_request(item)) return std::nullopt;
  auto& open = m_open[{item.m_phone, item.m_link}];
  if (open.size() == MOST_OPEN) {
    m_unanswered(open.front().m_kept.item(), open.front().m_since_ns);
    open.pop_front();
  }
  open.push_back({capture_kept_st(item), since_ns});
  return std::nullopt;
}

std::optional<std::uint8_t> capture_requests_st::answer(const capture_item_st& item) {
  std::optional<std::uint8_t> id = capture_frame_id(item.m_item);
  if (item.m_item.m_kind == stream_kind_en::TEXT && station_at_final(stream_line(item.m_item.m_bytes))) id = TEXT_ID;
  if (!id || item.m_item.m_fault != stream_fault_en::NONE) return std::nullopt;
  const auto place = m_open.find({item.m_phone, item.m_link});
  if (place == m_open.end()) return std::nullopt;
  auto& open = place->second;
  const auto found = std::ranges::find_if(open, [&](const auto& one) { return is_answered_by(one, id); });
  if (found == open.end()) return std::nullopt;
  const bool is_about_text = is_text(*found);
  const std::uint8_t request_id = capture_frame_id(found->m_kept.item().m_item).value_or(TEXT_ID);
  // What was asked before in the same way is passed over by the phone.
  std::deque<capture_request_st> rest;
  for (auto at = open.begin(); at != open.end(); ++at) {
    if (at < found && is_text(*at) == is_about_text) {
      m_unanswered(at->m_kept.item(), at->m_since_ns);
    } else if (at != found) {
      rest.push_back(std::move(*at));
    }
  }
  open = std::move(rest);
  return request_id;
}

void capture_requests_st::finish() {
  for (auto& [ignored, open] : m_open) {
    for (const auto& request : open) m_unanswered(request.m_kept.item(), request.m_since_ns);
  }
  m_open.clear();
}
