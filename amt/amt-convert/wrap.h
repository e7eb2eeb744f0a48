// The wrapped form of a frame, used on the PC link and by the modem behind it: a 12-byte header before the frame, a
// checksum after it. Pure functions on bytes, shared by the service and the PC station.
//
//   0       u32  magic, the bytes AA BB CC DD
//   4       u32  frame length + 8
//   8       u8   kind, always 2
//   9       u8   sub-kind
//   10           two zero bytes
//   12           the bare frame, n bytes
//   12 + n  u32  checksum over all before it
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

inline constexpr std::size_t AMT_WRAP_HEAD_SIZE = 12;
inline constexpr std::size_t AMT_WRAP_CHECKSUM_SIZE = 4;
inline constexpr std::size_t AMT_WRAP_SIZE = AMT_WRAP_HEAD_SIZE + AMT_WRAP_CHECKSUM_SIZE;  // bytes that wrapping adds

namespace amt_wrap_detail {
constexpr std::array<std::uint32_t, 256> make_table() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t n = 0; n < table.size(); ++n) {
    std::uint32_t value = n;
    for (int round = 0; round < 8; ++round) value = (value & 1) != 0 ? (value >> 1) ^ 0xEDB88320u : value >> 1;
    table[n] = value;
  }
  return table;
}
}  // namespace amt_wrap_detail

// The table of the reflected CRC-32 polynomial.
inline constexpr std::array<std::uint32_t, 256> g_tabCRC32 = amt_wrap_detail::make_table();
static_assert(g_tabCRC32[1] == 0x77073096u && g_tabCRC32[255] == 0x2D02EF8Du);

// The checksum of the wrapped form. It is not the standard CRC-32, on purpose: it runs the reflected table through a
// most-significant-byte-first update, starts at 0 and inverts nothing. Stations and modems compute exactly this.
std::uint32_t amt_wrap_checksum(std::span<const std::uint8_t> bytes);

// The message that confirms to the PC that its request arrived, sent before the answer: an envelope around nothing.
inline constexpr auto AMT_PRE_RESPONSE = std::to_array<std::uint8_t>(
    {0xAA, 0xBB, 0xCC, 0xDD, 0x08, 0x00, 0x00, 0x00, 0x02, 0x02, 0x00, 0x00, 0x76, 0x4A, 0xEE, 0x1D});

// Whether bytes are a wrapped frame: the magic and more than 16 bytes. Nothing else is checked on input, neither the
// length field, nor the kind, nor the checksum.
bool amt_is_wrapped(std::span<const std::uint8_t> bytes);

// Bare frame to wrapped frame, in place. A length of 0 takes the frame's own total length. ERR_ARGUMENT, with the
// message unchanged, when message is null, there is nothing to wrap, or the result would not fit the record.
result_code_en amt_wrap(amt_message_st* message);

// Wrapped frame to bare frame, in place; the bytes after the shortened data stay as they were. ERR_ARGUMENT when
// message is null or empty, ERR_FAIL when it is not a wrapped frame.
result_code_en amt_unwrap(amt_message_st* message);
