// The words for what a factory does with a phone: each operation of a word says how it is asked for as AT text and as a
// frame, on which link, and where the answer holds the value. Pure data and a few lines that fill it in.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>

struct station_word_st;
struct station_arguments_st;
struct station_request_st;

// Which links have a handler for the frame. AT text is for the PC link alone.
enum class station_links_en { NONE, PC, APP, BOTH };

// A parameter is a number from m_least to m_most, or text of at most so many characters: longer text would be cut by
// the phone without a word, so it is refused here. Text in a frame may be longer than in an AT command.
struct station_parameter_st {
  const char* m_name;
  bool m_is_text;
  std::int32_t m_least;  // of a number
  std::int32_t m_most;
  std::int32_t m_frame_most = std::numeric_limits<std::int32_t>::max();  // of text in a frame
};

// In m_at and m_atoms {0} to {3} stand for the parameters.
struct station_operation_st {
  const char* m_name;  // empty: the word's arguments are the parameters
  std::array<const station_parameter_st*, 4> m_parameters;
  const char* m_at;    // the text as it goes out, with its CR where it needs one; null: there is none
  const char* m_line;  // what the information line with the value begins with; null: there is no value
  station_links_en m_links;
  std::uint8_t m_frame_id;
  std::array<const char*, 4> m_atoms;          // as for station_add_atom
  std::array<std::uint8_t, 2> m_answer_atoms;  // the atoms that hold the value; 0: none
  std::size_t m_most_together = 0;             // characters of all parameters; 0: as many as they like
};

// The words, for the table of all words.
std::span<const station_word_st> station_operation_words();

// Makes the request that the arguments ask for; gives what is wrong with them, empty when nothing is.
std::string station_build_operation(const station_word_st& word, const station_arguments_st& arguments,
                                    station_request_st* request);
