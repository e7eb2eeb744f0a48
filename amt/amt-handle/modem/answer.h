// What the modem answers on its AT link: an information line and a final result, for example
//
//   \r\n^DGSN: 860001020304050\r\n\r\nOK\r\n
//
// Pure parsers; any text is safe, what does not fit the expected form is "none".
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

inline constexpr std::string_view AMT_LINE_END = "\r\n";

// What ends an answer. Three places look for something other than the rest do, on purpose: modems in the field are used
// to it. Radio requests and the channel switch take an OK wherever it stands; the silencing of a link takes a numbered
// error only with its colon and blank.
bool amt_answer_is_ok(std::string_view answer);               // "\r\nOK\r\n"
bool amt_answer_has_ok(std::string_view answer);              // "OK"
bool amt_answer_is_error(std::string_view answer);            // "\r\n+CME ERROR", "\r\n+CMS ERROR" or "\r\nERROR\r\n"
bool amt_answer_is_whole_error(std::string_view answer);      // one of these up to its line end
bool amt_answer_is_silencing_error(std::string_view answer);  // "\r\n+CME ERROR: ", "\r\n+CMS ERROR: " or the third

// What follows a prefix and any blanks after it; none when the prefix is not in the text.
std::optional<std::string_view> amt_answer_after(std::string_view answer, std::string_view prefix);

// The value of a text that amt_answer_after gave: up to the final OK, less the line ends just before that. A line end
// is taken off only when at least `kept` characters precede it. None without an OK.
std::optional<std::string_view> amt_answer_value(std::string_view behind, std::size_t kept = 0);

// A version value, "<field>,<hexadecimal text>", for example "17,0D56312E300A0A" = "V1.0": the carriage return that
// opens the text does not count, nor does its padding from the first line feed on. Writes the bytes (at most half as
// many as the value has characters) and gives their count; none when there is no comma.
std::optional<std::size_t> amt_answer_version(std::string_view value, std::span<std::uint8_t> bytes);

// "^DATOMR: 12,1,RF pass": a station, its result, a description; each may be missing.
struct amt_station_result_st {
  std::int32_t m_station;
  std::int32_t m_result;
  std::string_view m_description;
};

// Reads a line's text into result; what is missing stays as it was there.
void amt_answer_station_result(std::string_view line, amt_station_result_st& result);
