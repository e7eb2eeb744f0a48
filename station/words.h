// The words of the command line: each is a row of a table, and what makes its request.
// A word knows neither the port nor the output.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "amt/amt-convert/frame.h"
#include "station/operations.h"
#include "station/stream.h"

// Where the answer holds what was asked for.
struct station_value_st {
  const char* m_line = nullptr;           // what the line of text with it begins with
  std::array<std::uint8_t, 2> m_atoms{};  // the atoms of the frame; 0: none
};

struct station_request_st {
  bool m_is_frame = false;
  amt_message_st m_frame{};  // the bare frame, when it is one
  std::string m_text;        // AT text as it goes out, otherwise
  station_value_st m_value{};
};

// What came back for a request.
struct station_answer_st {
  std::optional<amt_frame_st> m_frame;  // the frame that answered it
  std::vector<std::string> m_lines;     // the lines of text, the final result included
};

struct station_arguments_st {
  std::vector<std::string> m_words;  // as many as the row allows
  bool m_is_raw = false;
  bool m_is_frame = false;  // a frame is wanted where text would do
  stream_form_en m_form = stream_form_en::WRAPPED;
};

struct station_word_st {
  const char* m_name;
  const char* m_usage;  // the arguments, for the help text
  const char* m_help;
  std::size_t m_least;  // arguments
  std::size_t m_most;
  bool m_can_be_raw;  // has --raw
  // Makes the request; gives what is wrong with the arguments, empty when nothing is. Null: the operations do it.
  std::string (*m_build)(const station_arguments_st& arguments, station_request_st* request);
  std::span<const station_operation_st> m_operations;  // without these either, the word only listens

  bool is_sending() const { return m_build != nullptr || !m_operations.empty(); }
};

// All of them, in the order of the help.
const std::vector<station_word_st>& station_words();

// Makes a word's request; gives what is wrong with the arguments, empty when nothing is.
std::string station_build(const station_word_st& word, const station_arguments_st& arguments,
                          station_request_st* request);
void station_start_frame(std::uint8_t command_id, station_request_st* request);

// The ids of the frames that answer a request, the one of success first.
std::array<std::uint8_t, 2> station_answer_ids(std::uint8_t request_id);

// What the answer says, for the last line of the output, several values with commas between them; none when it
// does not hold what was asked for. A value can be empty: nothing was ever written.
std::optional<std::string> station_value(const station_request_st& request, const station_answer_st& answer);

// The bytes of a request on a link of this form. Empty when the frame is too long to be wrapped.
std::vector<std::uint8_t> station_wire_bytes(const station_request_st& request, stream_form_en form);
