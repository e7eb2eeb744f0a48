#include "station/wire/judge.h"

#include <algorithm>
#include <utility>

#include "amt/amt-convert/ids.h"

namespace {

constexpr std::uint8_t AT_ERROR_ID = 0;  // the id of the error frame for AT text
constexpr std::size_t KEPT_LINES = 64;   // of a chatty line; the answer's own lines are few

// The frame in an item, for the codec.
amt_frame_st frame_of(const stream_item_st& item) {
  amt_frame_st frame{};
  std::ranges::copy(stream_payload(item), frame.begin());
  return frame;
}

station_exit_en result_of(const amt_frame_st& frame) {
  return amt_frame_get_int(&frame, AMT_ATOM_RESULT) == 0 ? STATION_OK : STATION_ERROR_ANSWER;
}

}  // namespace

station_rule_st station_rule_for(const station_request_st& request, std::size_t expect) {
  if (expect != 0) return {station_wait_en::COUNT, {}, expect};
  if (!request.m_is_frame) return {station_wait_en::AT_FINAL, {}, 0};
  return {station_wait_en::FRAME, station_answer_ids(amt_frame_command_id(&request.m_frame.m_buf_a)), 0};
}

std::optional<station_exit_en> station_at_final(const std::string& line) {
  if (line == "OK") return STATION_OK;
  const bool is_error = line == "ERROR" || line.starts_with("+CME ERROR:") || line.starts_with("+CMS ERROR:");
  return is_error ? std::optional(STATION_ERROR_ANSWER) : std::nullopt;
}

std::optional<station_exit_en> station_judge_st::take(const stream_item_st& item) {
  if (item.m_kind == stream_kind_en::FRAME) return take_frame(item);
  return item.m_kind == stream_kind_en::TEXT ? take_text(item) : std::nullopt;
}

std::optional<station_exit_en> station_judge_st::take_frame(const stream_item_st& item) {
  const amt_frame_st frame = frame_of(item);
  const bool has_head = !stream_payload(item).empty();
  const std::uint8_t id = amt_frame_command_id(&frame);
  const bool is_damaged = item.m_fault != stream_fault_en::NONE;
  m_has_damage = m_has_damage || is_damaged;
  const station_exit_en verdict = is_damaged ? STATION_DAMAGED : result_of(frame);

  switch (m_rule.m_wait) {
    case station_wait_en::FRAME:
      if (!has_head || std::ranges::find(m_rule.m_ids, id) == m_rule.m_ids.end()) return std::nullopt;
      m_answer.m_frame = frame;
      return verdict;
    case station_wait_en::AT_FINAL:
      return id == AT_ERROR_ID && verdict == STATION_ERROR_ANSWER ? std::optional(verdict) : std::nullopt;
    case station_wait_en::COUNT:
      if (!is_damaged) m_answer.m_frame = frame;
      return count(verdict);
    case station_wait_en::NOTHING:
      break;
  }
  return std::nullopt;
}

std::optional<station_exit_en> station_judge_st::take_text(const stream_item_st& item) {
  std::string line = stream_line(item.m_bytes);
  const auto final_result = station_at_final(line);
  if (!line.empty() && m_answer.m_lines.size() < KEPT_LINES) m_answer.m_lines.push_back(std::move(line));
  if (m_rule.m_wait == station_wait_en::COUNT) return count(final_result.value_or(STATION_OK));
  return m_rule.m_wait == station_wait_en::AT_FINAL ? final_result : std::nullopt;
}

// Of several answers an error answer decides over a good one, and a damaged one over both.
std::optional<station_exit_en> station_judge_st::count(station_exit_en verdict) {
  const auto rank = [](station_exit_en code) {
    return code == STATION_DAMAGED ? 2 : static_cast<int>(code != STATION_OK);
  };
  if (rank(verdict) > rank(m_worst)) m_worst = verdict;
  return ++m_seen == m_rule.m_count ? std::optional(m_worst) : std::nullopt;
}
