// Bytes for every test: from text written by hand ("AABBCCDD 0600"), and back to text in which a difference is easy to
// see ("AA BB 0D"). The service's own conversion has no part in it.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using byte_string = std::vector<std::uint8_t>;

// From pairs of digits; blanks between them are for the reader. Anything else is the test's own mistake.
inline byte_string bytes_from_hex(std::string_view text) {
  byte_string bytes;
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] == ' ') {
      ++at;
      continue;
    }
    std::uint8_t byte = 0;
    const char* first = text.data() + at;
    const char* last = text.data() + std::min(at + 2, text.size());
    if (std::from_chars(first, last, byte, 16).ptr != first + 2) {
      throw std::invalid_argument("not hexadecimal: " + std::string(text));
    }
    bytes.push_back(byte);
    at += 2;
  }
  return bytes;
}

inline std::string from_hex(std::string_view text) {
  const byte_string bytes = bytes_from_hex(text);
  return {bytes.begin(), bytes.end()};
}

inline byte_string bytes_from_text(std::string_view text) {
  return {text.begin(), text.end()};
}

inline byte_string operator+(byte_string left, const byte_string& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// "AA BB 0D".
inline std::string to_hex(std::span<const std::uint8_t> bytes) {
  static constexpr char DIGITS[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += DIGITS[byte >> 4];
    text += DIGITS[byte & 15];
  }
  return text;
}

inline std::string to_hex(std::string_view bytes) {
  return to_hex(bytes_from_text(bytes));
}
