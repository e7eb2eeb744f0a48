// What the value of an answer is: its parts, each a number with a unit or a text. Pure data and what reads and shows
// it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

enum class station_kind_en { NONE, NUMBER, TEXT };

// A number is kept and compared as the phone has it, in m_raw. People are shown number * m_scale in m_shown, too.
struct station_unit_st {
  const char* m_raw = "";    // empty: a count, a code or a switch
  const char* m_shown = "";  // empty: people use m_raw
  double m_scale = 1;
  int m_decimals = 0;  // of the number that people are shown
};

struct station_part_st {
  const char* m_name;  // what it is, in a word or two
  station_kind_en m_kind = station_kind_en::TEXT;
  station_unit_st m_unit{};
  bool m_may_be_empty = false;  // of a text
  const char* m_meaning = "";   // what the numbers stand for, where they are codes
};

using station_parts = std::span<const station_part_st>;

// The texts of the parts, out of "3,42"; a comma in the last part belongs to it. None when it is no such value: a
// number that is none, an empty text that must not be, too few parts.
std::optional<std::vector<std::string>> station_split_value(station_parts parts, std::string_view text);

// A decimal number of 64 bits with an optional sign, and nothing else.
std::optional<std::int64_t> station_read_number(std::string_view text);

// The value for people: "3.812 V (3812000 uV)"; "satellite 3, carrier to noise 42 dB-Hz". The text as it is where it
// does not fit the parts.
std::string station_show_value(station_parts parts, const std::string& text);
