// Searching texts, and numbers in them. Pure.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

inline bool pub_text_contains(std::string_view text, std::string_view word) {
  return text.find(word) != std::string_view::npos;
}

// The decimal number at the begin of a text: blanks skipped, a sign, digits up to the first other character; 0 without
// one. A larger number stops at the ends of 64 bits, and is cut to 32 then: the same on every processor, where the C
// library's functions go by the width of a long.
inline std::int32_t pub_text_number(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  const bool is_negative = text.starts_with('-');
  if (is_negative || text.starts_with('+')) text.remove_prefix(1);
  std::int64_t value = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9') break;
    const int addend = is_negative ? '0' - digit : digit - '0';
    if (__builtin_mul_overflow(value, 10, &value) || __builtin_add_overflow(value, addend, &value)) {
      value = is_negative ? INT64_MIN : INT64_MAX;
      break;
    }
  }
  return static_cast<std::int32_t>(value);
}
