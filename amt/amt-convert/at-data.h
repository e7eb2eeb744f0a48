// Radio requests travel to the modem as AT data: the frame without its heads. Both conversions, and the hexadecimal
// text in which AT data stands on the AT link. Pure functions on bytes; no I/O, no log, no state.
//
//   request   u8 command id, then the value of each atom as it stands in the frame (integers little-endian); only for
//             the transparent DSP control, the u16 length of each value, little-endian, precedes it
//   response  u8 command id, i32 result code (big-endian), then the fields of the command, integers big-endian, lengths
//             of byte strings little-endian
//
// The mix of byte orders is the modem's. Whatever the bytes say, nothing is read or written outside the buffers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "amt/amt-convert/frame.h"

// Why a conversion failed.
enum class amt_at_fault_en : std::uint8_t {
  NONE,
  COMMAND_HEAD,  // m_found is not a command head
  ATOM_HEAD,     // m_found stands where an atom should start
  ATOM_TYPE,     // m_found is not an atom type
  ATOM_LENGTH,   // an atom's value has m_found bytes, its type wants m_wanted
  EMPTY_BYTES,   // a byte string in a response has length 0
  OUTSIDE,       // an atom or a field reaches past its buffer
};

struct amt_at_result_st {
  amt_at_fault_en m_fault = amt_at_fault_en::NONE;
  std::uint32_t m_found = 0;
  std::uint32_t m_wanted = 0;
};

// Request frame to AT data. The sizes of the atoms must add up to the frame's data length. *length counts the bytes
// written, also on failure; the rest of out is zero.
amt_at_result_st amt_at_data_from_frame(const amt_frame_st& frame, std::span<std::uint8_t> out, std::size_t* length);

// Is given the name of each reader that is called, before the reader reads: the service logs it.
using amt_at_listener = void (*)(const char* reader);

// A read position in response AT data. Zeros follow the data, up to the 4096 bytes of its record: when a modem sends
// less than a command's fields, the rest of them reads as zero.
struct amt_at_cursor_st {
  std::span<const std::uint8_t> m_data;
  std::size_t m_position = 0;
  amt_at_listener m_listener = nullptr;
};

// The readers: each takes a field at the cursor, moves the cursor on, and appends the atom. OUTSIDE, with cursor and
// frame unchanged, when the field reaches past the record or the atom does not fit into the frame.
amt_at_result_st rsp_at_data_2_amt_data_atom_int(amt_at_cursor_st& cursor, amt_frame_st& frame, std::uint8_t atom_id);
amt_at_result_st rsp_at_data_2_amt_data_atom_bool(amt_at_cursor_st& cursor, amt_frame_st& frame, std::uint8_t atom_id);
// EMPTY_BYTES for a length of 0.
amt_at_result_st rsp_at_data_2_amt_data_atom_byte(amt_at_cursor_st& cursor, amt_frame_st& frame, std::size_t length,
                                                  std::uint8_t atom_id);

// Response AT data (at least one byte) to a frame. A response that ends with its result code, and one of a command
// without fields, becomes a frame with atom 1 alone.
amt_at_result_st amt_frame_from_at_data(std::span<const std::uint8_t> at_data, amt_frame_st& frame,
                                        amt_at_listener listener = nullptr);

// Two digits, upper case, for each byte; text has room for them.
void amt_hex_encode(std::span<const std::uint8_t> bytes, std::span<char> text);
// Fills bytes from text, two characters for each. A character that is not a digit counts as 0, and so does a character
// that text is too short for.
void amt_hex_decode(std::string_view text, std::span<std::uint8_t> bytes);
// The value of a hexadecimal digit of either case, or -1.
int amt_hex_digit(char character);
