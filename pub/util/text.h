// Searching texts. Pure.
#pragma once

#include <string_view>

inline bool pub_text_contains(std::string_view text, std::string_view word) {
  return text.find(word) != std::string_view::npos;
}
