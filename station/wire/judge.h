// Decides when a request is answered, and how well. Pure: items in, an exit code out.
//
// Policy: only what can answer the request answers it. A line that starts like the answer to another command is that
// command's, with the OK after it; so is a frame with another id, with the repeated atom of another request, or with a
// value that was not asked for. An OK alone, or a frame without the value, does not answer what asks for a value: it
// may be late, so the wait goes on, and when nothing better comes the answer is without its value.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "capture/stream.h"
#include "station/wire/exit-code.h"
#include "station/wire/request.h"

// What ends the wait for an answer.
enum class station_wait_en {
  FRAME,     // a frame with an id that answers the request
  AT_FINAL,  // OK, ERROR, +CME ERROR or +CMS ERROR; or the error frame with id 0, which the phone sends for text
  COUNT,     // so many frames and texts, whatever they are
  NOTHING,   // nothing ends it
};

struct station_rule_st {
  station_wait_en m_wait = station_wait_en::NOTHING;
  std::array<std::uint8_t, 2> m_ids{};  // for FRAME
  std::size_t m_count = 0;              // for COUNT
  station_value_st m_value{};           // what the answer must hold
  station_echo_st m_echo{};             // and repeat
};

// The rule for a request: a count when expect is not 0, else what kind of answer the request has.
station_rule_st station_rule_for(const station_request_st& request, std::size_t expect);

class station_judge_st {
 public:
  explicit station_judge_st(const station_rule_st& rule) : m_rule(rule) {}

  // STATION_OK, STATION_ERROR_ANSWER, STATION_NO_VALUE or STATION_DAMAGED when the item ends the wait; none when it
  // goes on.
  std::optional<station_exit_en> take(const stream_item_st& item);
  // Nothing more came: STATION_DAMAGED when the answer may be among what was damaged, STATION_NO_VALUE after an answer
  // without its value, else STATION_NO_ANSWER.
  station_exit_en give_up() const;
  const station_answer_st& answer() const { return m_answer; }
  // Whether something came that answers another request.
  bool has_strangers() const { return m_has_strangers; }
  // Whether an answer ended the wait, a whole one: the phone owes nothing more.
  bool is_answered() const { return m_is_answered; }

 private:
  std::optional<station_exit_en> take_any(const stream_item_st& item);
  std::optional<station_exit_en> take_frame(const stream_item_st& item);
  std::optional<station_exit_en> take_text(const stream_item_st& item);
  std::optional<station_exit_en> take_final(station_exit_en result);
  std::optional<station_exit_en> judge_frame(const amt_frame_st& frame);
  std::optional<station_exit_en> pass_over();
  std::optional<station_exit_en> count(station_exit_en verdict);

  station_rule_st m_rule;
  station_answer_st m_answer;
  station_exit_en m_worst = STATION_OK;
  std::size_t m_seen = 0;
  bool m_has_damage = false;
  bool m_has_strangers = false;
  bool m_is_answered = false;
  bool m_is_others_line = false;  // the next OK belongs to another command's line
  bool m_lacks_value = false;     // an answer came that lacks the value
};

// The result with which a line of AT text ends a command: STATION_OK, STATION_ERROR_ANSWER; none for any other line.
std::optional<station_exit_en> station_at_final(const std::string& line);

// Whether the item says that a request failed: a frame with a result that is not 0, or a line as above.
bool station_is_refusal(const stream_item_st& item);
