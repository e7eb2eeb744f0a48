// What a word of the command line is made of, and the arguments of a run. A word knows neither the port nor the output.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "capture/stream.h"
#include "station/wire/request.h"
#include "station/wire/value.h"

// Which links have a handler for the frame. AT text is for the PC link alone.
enum class station_links_en { NONE, PC, APP, BOTH };

// A parameter is a number from m_least to m_most, or text of at most m_most characters: the phone would cut longer text
// without any report, so it is refused here. Text in a frame may be longer than in an AT command.
struct station_parameter_st {
  const char* m_name;
  bool m_is_text;
  std::int32_t m_least;  // of a number
  std::int32_t m_most;
  std::int32_t m_frame_most = std::numeric_limits<std::int32_t>::max();  // of text in a frame
  const char* m_unit = "";                                               // of a number, as the phone takes it
  std::string (*m_check)(const std::string& text) = nullptr;             // what is wrong with the text; empty: nothing
};

// An atom of a request: its id, and type and value as for station_add_atom ("int=1").
struct station_atom_st {
  std::uint8_t m_id = 0;
  const char* m_value = nullptr;
};

// How a write is checked: the words that read it back, without the word's own, and what they must give.
struct station_read_back_st {
  std::vector<std::string> m_words;
  std::string m_expected;
};

// {0} to {3} in m_at and m_atoms stand for the parameters.
struct station_operation_st {
  const char* m_name;  // empty: the word's arguments are the parameters
  std::array<const station_parameter_st*, 4> m_parameters;
  const char* m_at;    // the text as it goes out, with its CR where it needs one; null: there is none
  const char* m_line;  // the start of the information line that holds the value; null: there is no value
  station_links_en m_links;
  std::uint8_t m_frame_id;
  station_atom_st m_atoms[4];                  // those of the request
  std::array<std::uint8_t, 2> m_answer_atoms;  // the atoms that hold the value; 0: none
  station_parts m_parts{};                     // of the value; none: what is asked for is done, and nothing given
  station_read_back_st (*m_read_back)(std::span<const std::string> parameters) = nullptr;  // null: it cannot be
  bool m_is_identity = false;       // a write of the phone's own: always read back, unless the user forbids it
  std::size_t m_most_together = 0;  // most characters of all parameters; 0: no limit

  constexpr station_kind_en kind() const {
    if (m_parts.empty()) return station_kind_en::NONE;
    return m_parts.size() == 1 ? m_parts[0].m_kind : station_kind_en::TEXT;
  }
  // Of a number, as the phone gives it.
  constexpr const char* unit() const { return kind() == station_kind_en::NUMBER ? m_parts[0].m_unit.m_raw : ""; }
};

struct station_arguments_st {
  std::vector<std::string> m_words;  // as many as the row allows
  bool m_is_raw = false;
  bool m_is_frame = false;   // send a frame even where there is AT text
  bool m_is_forced = false;  // send values that are known to be wrong
  stream_form_en m_form = stream_form_en::WRAPPED;
};

struct station_word_st {
  const char* m_name;
  const char* m_usage;  // the arguments, for the help text
  const char* m_help;
  std::size_t m_least;  // arguments
  std::size_t m_most;
  bool m_can_be_raw;  // has --raw
  // Makes the request. Returns what is wrong with the arguments; empty when nothing is. Null: the operations do it.
  std::string (*m_build)(const station_arguments_st& arguments, station_request_st* request);
  std::span<const station_operation_st> m_operations;  // without these either, the word only listens
  const char* m_hint = "";                             // where to look when the phone refuses
  bool m_is_modems = false;                            // its text goes on to the modem, which answers in its own time

  bool is_sending() const { return m_build != nullptr || !m_operations.empty(); }
};
