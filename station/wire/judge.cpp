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
  if (!request.m_is_frame) return {station_wait_en::AT_FINAL, {}, 0, request.m_value};
  return {station_wait_en::FRAME, station_answer_ids(amt_frame_command_id(&request.m_frame.m_buf_a)), 0,
          request.m_value, station_echo(request)};
}

std::optional<station_exit_en> station_at_final(const std::string& line) {
  if (line == "OK") return STATION_OK;
  const bool is_error = line == "ERROR" || line.starts_with("+CME ERROR:") || line.starts_with("+CMS ERROR:");
  return is_error ? std::optional(STATION_ERROR_ANSWER) : std::nullopt;
}

bool station_is_refusal(const stream_item_st& item) {
  if (item.m_kind == stream_kind_en::TEXT) return station_at_final(stream_line(item.m_bytes)) == STATION_ERROR_ANSWER;
  const bool is_whole = item.m_kind == stream_kind_en::FRAME && item.m_fault == stream_fault_en::NONE;
  return is_whole && result_of(frame_of(item)) != STATION_OK;
}

station_exit_en station_judge_st::give_up() const {
  if (m_has_damage) return STATION_DAMAGED;
  return m_lacks_value ? STATION_NO_VALUE : STATION_NO_ANSWER;
}

std::optional<station_exit_en> station_judge_st::take(const stream_item_st& item) {
  const auto decided = take_any(item);
  m_is_answered = decided && *decided != STATION_DAMAGED;
  return decided;
}

std::optional<station_exit_en> station_judge_st::take_any(const stream_item_st& item) {
  if (item.m_kind == stream_kind_en::FRAME) return take_frame(item);
  return item.m_kind == stream_kind_en::TEXT ? take_text(item) : std::nullopt;
}

// What is another request's answer. The wait goes on.
std::optional<station_exit_en> station_judge_st::pass_over() {
  m_has_strangers = true;
  return std::nullopt;
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
      if (!has_head || std::ranges::find(m_rule.m_ids, id) == m_rule.m_ids.end()) return pass_over();
      if (verdict == STATION_OK) return judge_frame(frame);
      m_answer.m_frame = frame;
      return verdict;
    case station_wait_en::AT_FINAL:
      if (id != AT_ERROR_ID || verdict != STATION_ERROR_ANSWER) return pass_over();
      m_answer.m_frame = frame;
      return verdict;
    case station_wait_en::COUNT:
      if (!is_damaged) m_answer.m_frame = frame;
      return count(verdict);
    case station_wait_en::NOTHING:
      break;
  }
  return std::nullopt;
}

// A frame with the right id and a good result.
std::optional<station_exit_en> station_judge_st::judge_frame(const amt_frame_st& frame) {
  const auto echo = m_rule.m_echo.m_atom == 0 ? std::nullopt : amt_frame_find_atom(&frame, m_rule.m_echo.m_atom);
  if (echo && !std::ranges::equal(echo->m_value, m_rule.m_echo.m_value)) return pass_over();
  const auto is_there = [&frame](std::uint8_t atom) { return amt_frame_find_atom(&frame, atom).has_value(); };
  if (std::ranges::any_of(m_rule.m_value.m_foreign_atoms, is_there)) return pass_over();
  const auto value = station_frame_value(m_rule.m_value, frame);
  if (!value && m_rule.m_value.m_atoms[0] != 0) {
    m_lacks_value = true;
    return pass_over();
  }
  m_answer.m_frame = frame;
  return !value || station_split_value(m_rule.m_value.m_parts, *value) ? STATION_OK : STATION_NO_VALUE;
}

std::optional<station_exit_en> station_judge_st::take_text(const stream_item_st& item) {
  std::string line = stream_line(item.m_bytes);
  const auto final_result = station_at_final(line);
  const auto starts = [&line](const char* start) { return line.starts_with(start); };
  if (std::ranges::any_of(m_rule.m_value.m_foreign_lines, starts)) m_is_others_line = m_has_strangers = true;
  if (!line.empty() && m_answer.m_lines.size() < KEPT_LINES) m_answer.m_lines.push_back(std::move(line));
  if (m_rule.m_wait == station_wait_en::COUNT) return count(final_result.value_or(STATION_OK));
  if (m_rule.m_wait == station_wait_en::FRAME && final_result) m_has_strangers = true;
  return m_rule.m_wait == station_wait_en::AT_FINAL && final_result ? take_final(*final_result) : std::nullopt;
}

std::optional<station_exit_en> station_judge_st::take_final(station_exit_en result) {
  if (result != STATION_OK) return result;
  if (std::exchange(m_is_others_line, false)) return pass_over();
  if (m_rule.m_value.m_line == nullptr) return STATION_OK;
  const auto value = station_line_value(m_rule.m_value, m_answer.m_lines);
  if (!value) {
    m_lacks_value = true;
    return pass_over();
  }
  return station_split_value(m_rule.m_value.m_parts, *value) ? STATION_OK : STATION_NO_VALUE;
}

// Of several answers an error answer decides over a good one, and a damaged one over both.
std::optional<station_exit_en> station_judge_st::count(station_exit_en verdict) {
  const auto rank = [](station_exit_en code) {
    return code == STATION_DAMAGED ? 2 : static_cast<int>(code != STATION_OK);
  };
  if (rank(verdict) > rank(m_worst)) m_worst = verdict;
  return ++m_seen == m_rule.m_count ? std::optional(m_worst) : std::nullopt;
}
