// The AMT frame: a six-byte head followed by typed, numbered atoms. Pure functions on bytes, shared by the service and
// the PC station; no I/O, no log, no state.
//
//   0 u16 total length = 6 + data length      3 u8  command id (the answer to request n is n + 1)
//   2 u8  command head 0xBB                   4 u16 data length      6 ... atoms, back to back
//
//   atom:  0 u8 head 0xEE   1 u8 atom id   2 u8 value type   3 u16 value length   5 ... value
//
// All numbers are little-endian. Whatever the lengths in the bytes say, no function reads or writes outside the frame
// buffer, and an append that does not fit changes nothing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

inline constexpr std::size_t AMT_FRAME_SIZE = 4096;     // the largest frame, and the size of every frame buffer
inline constexpr std::size_t AMT_FRAME_HEAD_SIZE = 6;   // bytes in front of the first atom
inline constexpr std::size_t AMT_ATOM_HEAD_SIZE = 5;    // bytes in front of an atom's value
inline constexpr std::uint8_t AMT_COMMAND_HEAD = 0xBB;  // byte 2 of every frame
inline constexpr std::uint8_t AMT_ATOM_HEAD = 0xEE;     // byte 0 of every atom

using amt_frame_st = std::array<std::uint8_t, AMT_FRAME_SIZE>;

enum amt_atom_type_en : std::uint8_t {
  AMT_ATOM_INT = 1,     // 4 bytes
  AMT_ATOM_STRING = 2,  // characters, no terminator
  AMT_ATOM_BYTES = 3,
  AMT_ATOM_FLAG = 4,  // 1 byte
};

// A received or built message: how many bytes of m_buf_a count, and the bytes. In a response under construction the
// length 0 means "as long as the frame says".
struct amt_message_st {
  std::uint32_t m_buf_len;
  amt_frame_st m_buf_a;
};
static_assert(sizeof(amt_message_st) == 4100);

// An atom found in a frame. m_value holds the value's bytes that lie inside the frame buffer; m_length is the length
// that the atom claims, which may be more.
struct amt_atom_st {
  std::uint8_t m_id;
  std::uint8_t m_type;
  std::uint16_t m_length;
  std::span<const std::uint8_t> m_value;
};

std::uint16_t amt_read_u16(const std::uint8_t* bytes);
std::uint32_t amt_read_u32(const std::uint8_t* bytes);
void amt_write_u16(std::uint8_t* bytes, std::uint16_t value);
void amt_write_u32(std::uint8_t* bytes, std::uint32_t value);

// Building. Each tolerates a null frame. The appenders return false, with the frame unchanged, when the atom does not
// fit into the buffer or its data is missing.
void amt_frame_init(amt_frame_st* frame, std::uint8_t command_id);
void amt_frame_add_length(amt_frame_st* frame, std::uint16_t count);
bool amt_frame_add_int(amt_frame_st* frame, std::uint8_t atom_id, std::uint32_t value);
bool amt_frame_add_flag(amt_frame_st* frame, std::uint8_t atom_id, std::uint8_t value);
bool amt_frame_add_bytes(amt_frame_st* frame, std::uint8_t atom_id, const std::uint8_t* data, std::size_t count);
bool amt_frame_add_string(amt_frame_st* frame, std::uint8_t atom_id, const char* text);

// Reading. A null frame has id 0, length 0 and no atoms.
std::uint8_t amt_frame_command_id(const amt_frame_st* frame);
std::uint16_t amt_frame_total_length(const amt_frame_st* frame);
std::uint16_t amt_frame_data_length(const amt_frame_st* frame);

// The first atom with the id; none when the frame's data length ends before it, or a byte that should open an atom is
// not 0xEE.
std::optional<amt_atom_st> amt_frame_find_atom(const amt_frame_st* frame, std::uint8_t atom_id);

// The atom at a byte offset of the frame, if one starts there. For walking a frame atom by atom.
std::optional<amt_atom_st> amt_frame_atom_at(const amt_frame_st* frame, std::size_t offset);

// Up to 4 value bytes as a number; 0 when the atom is absent.
std::uint32_t amt_frame_get_int(const amt_frame_st* frame, std::uint8_t atom_id);
// As amt_frame_get_int, but 1 when the atom is absent: on purpose, a missing on/off flag means on.
std::uint32_t amt_frame_get_flag(const amt_frame_st* frame, std::uint8_t atom_id);
// Zero-fills size bytes and copies the value, at most size bytes. Gives the count copied; the value's length when size
// is 0; 0 when the atom is absent or buffer is null.
std::size_t amt_frame_get_bytes(const amt_frame_st* frame, std::uint8_t atom_id, std::uint8_t* buffer,
                                std::size_t size);
// As amt_frame_get_bytes for text: a value longer than size is cut to size - 1 characters; a value of exactly size
// fills the buffer without a terminator (kept so: callers pass larger buffers). Size 0 gives value length + 1.
std::size_t amt_frame_get_string(const amt_frame_st* frame, std::uint8_t atom_id, char* buffer, std::size_t size);
