// Frames and messages from bytes written out by hand. Each lies on the heap in a block of exactly its size, so that a
// sanitizer sees every step outside.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "amt/amt-convert/frame.h"
#include "tests/hex.h"

using frame_owner = std::unique_ptr<amt_frame_st>;
using message_owner = std::unique_ptr<amt_message_st>;

// The bytes, then zeros.
inline frame_owner frame_of(const byte_string& bytes) {
  auto frame = std::make_unique<amt_frame_st>();
  frame->fill(0);
  std::copy(bytes.begin(), bytes.end(), frame->begin());
  return frame;
}

inline frame_owner frame_of(std::string_view hex) {
  return frame_of(bytes_from_hex(hex));
}

// The frame's bytes, as many as it states.
inline std::string text_of(const amt_frame_st& frame) {
  return to_hex(std::span(frame).first(amt_frame_total_length(&frame)));
}

inline message_owner message_of(const byte_string& bytes, std::uint32_t length) {
  auto message = std::make_unique<amt_message_st>();
  message->m_buf_len = length;
  message->m_buf_a.fill(0);
  std::copy(bytes.begin(), bytes.end(), message->m_buf_a.begin());
  return message;
}

inline message_owner message_of(const byte_string& bytes) {
  return message_of(bytes, static_cast<std::uint32_t>(bytes.size()));
}

inline byte_string first_bytes(const amt_frame_st& frame, std::size_t count) {
  return {frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(count)};
}

inline byte_string zeros(std::size_t count) {
  return byte_string(count, 0);
}
