// Bytes as text ("AA BB 0D"), so that a difference can be read.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "amt/amt-convert/frame.h"
#include "tests/unit/links.h"

using byte_string = std::vector<std::uint8_t>;

inline byte_string bytes_of(std::string_view hex) {
  const std::string text = from_hex(hex);
  return {text.begin(), text.end()};
}

inline std::string text_of(std::span<const std::uint8_t> bytes) {
  return hex_of(std::string(bytes.begin(), bytes.end()));
}

// A frame buffer that starts with these bytes.
inline amt_frame_st frame_of(std::span<const std::uint8_t> bytes) {
  amt_frame_st frame{};
  std::copy(bytes.begin(), bytes.end(), frame.begin());
  return frame;
}

// The frame's bytes, as many as it states.
inline std::string text_of(const amt_frame_st& frame) {
  return text_of(std::span(frame).first(amt_frame_total_length(&frame)));
}
