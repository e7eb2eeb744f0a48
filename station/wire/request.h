// A request and what answers it: its bytes on the line, the frames and lines that are its answer, and the value in
// them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "amt/amt-convert/frame.h"
#include "capture/stream.h"
#include "station/wire/value.h"

// Where the answer holds what was asked for, and how it looks.
struct station_value_st {
  const char* m_line = nullptr;               // the start of the text line that holds the value; null: OK alone answers
  std::array<std::uint8_t, 2> m_atoms{};      // the frame's atoms that hold the value; 0: none
  station_parts m_parts{};                    // what the value is made of
  std::vector<std::uint8_t> m_foreign_atoms;  // a frame with one of these answers another request
  std::vector<const char*> m_foreign_lines;   // a line that starts so answers another command, and so does its OK
};

struct station_request_st {
  bool m_is_frame = false;
  amt_message_st m_frame{};  // the bare frame, when it is one
  std::string m_text;        // otherwise AT text, as it goes out
  station_value_st m_value{};
  bool m_is_modems = false;  // text that the modem answers, in its own time
};

// What came back for a request.
struct station_answer_st {
  std::optional<amt_frame_st> m_frame;  // the frame that answered it
  std::vector<std::string> m_lines;     // the lines of text, the final result included
};

// An atom that the answer repeats from the request, so that it can be told from the answer to a similar one.
struct station_echo_st {
  std::uint8_t m_atom = 0;  // 0: nothing is repeated
  std::vector<std::uint8_t> m_value;
};

// Makes the request a frame without atoms.
void station_start_frame(std::uint8_t command_id, station_request_st* request);

// The ids of the frames that answer a request, the one of success first.
std::array<std::uint8_t, 2> station_answer_ids(std::uint8_t request_id);

station_echo_st station_echo(const station_request_st& request);

// The value in a frame, and in the lines of a text: the first of the right form; where none is, what stands in its
// place.
std::optional<std::string> station_frame_value(const station_value_st& wanted, const amt_frame_st& frame);
std::optional<std::string> station_line_value(const station_value_st& wanted, const std::vector<std::string>& lines);

// The answer's value for the last line of the output, several values with commas between them. None when the answer
// does not hold what was asked for. A value is empty when the phone never had one.
std::optional<std::string> station_value(const station_request_st& request, const station_answer_st& answer);

// The bytes of a request on a link of this form. Empty when the frame is too long to be wrapped.
std::vector<std::uint8_t> station_wire_bytes(const station_request_st& request, stream_form_en form);
