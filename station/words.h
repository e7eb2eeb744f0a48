// The words of the command line that send something: each is a row of one table and a few lines that make the request.
// A word knows neither the port nor the output.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "amt/amt-convert/frame.h"
#include "station/stream.h"

struct station_request_st {
  bool m_is_frame = false;
  amt_message_st m_frame{};  // the bare frame, when it is one
  std::string m_text;        // AT text as it goes out, otherwise
};

// What came back for a request.
struct station_answer_st {
  std::optional<amt_frame_st> m_frame;  // the frame that answered it
  std::vector<std::string> m_lines;     // the lines of text, the final result included
};

struct station_arguments_st {
  std::vector<std::string> m_words;  // as many as the row allows
  bool m_is_raw = false;
};

struct station_word_st {
  const char* m_name;
  const char* m_usage;  // the arguments, for the help text
  const char* m_help;
  std::size_t m_least;  // arguments
  std::size_t m_most;
  bool m_can_be_raw;  // has --raw
  // Makes the request; gives what is wrong with the arguments, empty when nothing is. Null: the word only listens.
  std::string (*m_build)(const station_arguments_st& arguments, station_request_st* request);
  // What the answer says, for the last line of the output; null when the answer speaks for itself.
  std::string (*m_present)(const station_answer_st& answer);
};

std::span<const station_word_st> station_words();

// The bytes of a request on a link of this form. Empty when the frame is too long to be wrapped.
std::vector<std::uint8_t> station_wire_bytes(const station_request_st& request, stream_form_en form);
