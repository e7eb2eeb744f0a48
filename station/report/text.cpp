#include "station/report/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace {

constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";

// The length of the character at the front and its code point; a length of 0: it is none.
std::size_t first_character(std::string_view text, std::uint32_t* code) {
  const auto byte = [&](std::size_t n) { return static_cast<std::uint8_t>(text[n]); };
  const std::uint8_t first = byte(0);
  const std::size_t length = first < 0x80 ? 1 : first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
  if (length == 0 || first > 0xF4 || text.size() < length) return 0;
  *code = length == 1 ? first : first & (0xFFU >> (length + 1));
  for (std::size_t n = 1; n < length; ++n) {
    if ((byte(n) & 0xC0U) != 0x80) return 0;
    *code = *code << 6 | (byte(n) & 0x3FU);
  }
  static constexpr std::uint32_t SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000};
  return *code < SMALLEST[length] ? 0 : length;
}

bool is_allowed(std::uint32_t code) {
  if (code < 0x20) return code == '\t' || code == '\n';
  const bool is_control = code >= 0x7F && code < 0xA0;
  const bool is_surrogate = code >= 0xD800 && code < 0xE000;
  const bool is_none = (code >= 0xFDD0 && code < 0xFDF0) || (code & 0xFFFE) == 0xFFFE || code > 0x10FFFF;
  return !is_control && !is_surrogate && !is_none;
}

bool is_number(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() && std::isfinite(value);
}

}  // namespace

std::string report_clean(std::string_view text) {
  std::string clean;
  while (!text.empty()) {
    std::uint32_t code = 0;
    const std::size_t length = first_character(text, &code);
    clean += length != 0 && is_allowed(code) ? text.substr(0, length) : REPLACEMENT;
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return clean;
}

std::string report_csv_cell(std::string_view text) {
  std::string cell;
  if (!text.empty() && std::string_view("=+-@\t\r").find(text.front()) != std::string_view::npos && !is_number(text)) {
    cell = "'";
  }
  cell += text;
  if (cell.find_first_of(",\"\r\n") == std::string::npos) return cell;
  std::string quoted = "\"";
  for (const char one : cell) {
    if (one == '"') quoted += '"';
    quoted += one;
  }
  return quoted + '"';
}

std::string report_duration(double milliseconds) {
  if (milliseconds < 1000) return fmt::format("{:.0f} ms", milliseconds);
  const double seconds = std::round(milliseconds / 100) / 10;
  if (seconds < 60) return fmt::format("{:.1f} s", seconds);
  const double minutes = std::floor(seconds / 60);
  return fmt::format("{:.0f} min {:.1f} s", minutes, seconds - minutes * 60);
}
