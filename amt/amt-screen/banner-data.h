// The banner's picture as it is built into the service: a gzip member, made by make-banner. Owns the bytes, nothing
// else.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

inline constexpr std::uint32_t BANNER_WIDTH = 346;   // pixels
inline constexpr std::uint32_t BANNER_HEIGHT = 390;  // rows
inline constexpr std::size_t BANNER_MEMBER_SIZE = 1969;
// What the loader is given. The last byte is held back on purpose: inflate then stops inside the length trailer with
// Z_OK, the only result that the loader takes for success. The whole member ends with Z_STREAM_END, a failure to it.
inline constexpr std::uint32_t BANNER_LENGTH = 1968;

extern const std::array<std::uint8_t, BANNER_MEMBER_SIZE> BANNER_MEMBER;
