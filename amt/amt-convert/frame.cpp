#include "amt/amt-convert/frame.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t TOTAL_LENGTH_AT = 0;
constexpr std::size_t COMMAND_HEAD_AT = 2;
constexpr std::size_t COMMAND_ID_AT = 3;
constexpr std::size_t DATA_LENGTH_AT = 4;

// Opens an atom after the last one and returns where its value goes; null when it does not fit.
std::uint8_t* append_atom(amt_frame_st* frame, std::uint8_t atom_id, amt_atom_type_en type, std::size_t value_length) {
  if (frame == nullptr) return nullptr;
  const std::size_t end = amt_frame_total_length(frame);
  if (end < AMT_FRAME_HEAD_SIZE || end + AMT_ATOM_HEAD_SIZE > AMT_FRAME_SIZE) return nullptr;
  if (value_length > AMT_FRAME_SIZE - end - AMT_ATOM_HEAD_SIZE) return nullptr;

  std::uint8_t* atom = frame->data() + end;
  atom[0] = AMT_ATOM_HEAD;
  atom[1] = atom_id;
  atom[2] = type;
  amt_write_u16(atom + 3, static_cast<std::uint16_t>(value_length));
  amt_frame_add_length(frame, static_cast<std::uint16_t>(AMT_ATOM_HEAD_SIZE + value_length));
  return atom + AMT_ATOM_HEAD_SIZE;
}

bool append_bytes(amt_frame_st* frame, std::uint8_t atom_id, amt_atom_type_en type, const void* data,
                  std::size_t count) {
  if (data == nullptr) return false;
  std::uint8_t* value = append_atom(frame, atom_id, type, count);
  if (value == nullptr) return false;
  std::memcpy(value, data, count);
  return true;
}

std::uint32_t value_as_number(const amt_atom_st& atom) {
  std::uint8_t word[4] = {};
  std::copy_n(atom.m_value.begin(), std::min<std::size_t>(atom.m_value.size(), sizeof word), word);
  return amt_read_u32(word);
}

}  // namespace

std::uint16_t amt_read_u16(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}

std::uint32_t amt_read_u32(const std::uint8_t* bytes) {
  return static_cast<std::uint32_t>(amt_read_u16(bytes)) | (static_cast<std::uint32_t>(amt_read_u16(bytes + 2)) << 16);
}

void amt_write_u16(std::uint8_t* bytes, std::uint16_t value) {
  bytes[0] = static_cast<std::uint8_t>(value);
  bytes[1] = static_cast<std::uint8_t>(value >> 8);
}

void amt_write_u32(std::uint8_t* bytes, std::uint32_t value) {
  amt_write_u16(bytes, static_cast<std::uint16_t>(value));
  amt_write_u16(bytes + 2, static_cast<std::uint16_t>(value >> 16));
}

void amt_frame_init(amt_frame_st* frame, std::uint8_t command_id) {
  if (frame == nullptr) return;
  frame->fill(0);
  (*frame)[COMMAND_HEAD_AT] = AMT_COMMAND_HEAD;
  (*frame)[COMMAND_ID_AT] = command_id;
  amt_write_u16(frame->data() + TOTAL_LENGTH_AT, AMT_FRAME_HEAD_SIZE);
}

void amt_frame_add_length(amt_frame_st* frame, std::uint16_t count) {
  if (frame == nullptr) return;
  const auto total = static_cast<std::uint16_t>(amt_frame_total_length(frame) + count);
  amt_write_u16(frame->data() + TOTAL_LENGTH_AT, total);
  amt_write_u16(frame->data() + DATA_LENGTH_AT, static_cast<std::uint16_t>(total - AMT_FRAME_HEAD_SIZE));
}

bool amt_frame_add_int(amt_frame_st* frame, std::uint8_t atom_id, std::uint32_t value) {
  std::uint8_t bytes[4];
  amt_write_u32(bytes, value);
  return append_bytes(frame, atom_id, AMT_ATOM_INT, bytes, sizeof bytes);
}

bool amt_frame_add_flag(amt_frame_st* frame, std::uint8_t atom_id, std::uint8_t value) {
  return append_bytes(frame, atom_id, AMT_ATOM_FLAG, &value, 1);
}

bool amt_frame_add_bytes(amt_frame_st* frame, std::uint8_t atom_id, const std::uint8_t* data, std::size_t count) {
  return append_bytes(frame, atom_id, AMT_ATOM_BYTES, data, count);
}

bool amt_frame_add_string(amt_frame_st* frame, std::uint8_t atom_id, const char* text) {
  return text != nullptr && append_bytes(frame, atom_id, AMT_ATOM_STRING, text, std::strlen(text));
}

std::uint8_t amt_frame_command_id(const amt_frame_st* frame) {
  return frame == nullptr ? 0 : (*frame)[COMMAND_ID_AT];
}

std::uint16_t amt_frame_total_length(const amt_frame_st* frame) {
  return frame == nullptr ? 0 : amt_read_u16(frame->data() + TOTAL_LENGTH_AT);
}

std::uint16_t amt_frame_data_length(const amt_frame_st* frame) {
  return frame == nullptr ? 0 : amt_read_u16(frame->data() + DATA_LENGTH_AT);
}

std::optional<amt_atom_st> amt_frame_atom_at(const amt_frame_st* frame, std::size_t offset) {
  if (frame == nullptr || offset > AMT_FRAME_SIZE - AMT_ATOM_HEAD_SIZE) return std::nullopt;
  const std::uint8_t* atom = frame->data() + offset;
  if (atom[0] != AMT_ATOM_HEAD) return std::nullopt;
  const std::uint16_t length = amt_read_u16(atom + 3);
  const std::size_t available = AMT_FRAME_SIZE - offset - AMT_ATOM_HEAD_SIZE;
  return amt_atom_st{atom[1], atom[2], length, {atom + AMT_ATOM_HEAD_SIZE, std::min<std::size_t>(length, available)}};
}

std::optional<amt_atom_st> amt_frame_find_atom(const amt_frame_st* frame, std::uint8_t atom_id) {
  const std::uint16_t data_length = amt_frame_data_length(frame);
  if (data_length == 0) return std::nullopt;

  std::size_t offset = AMT_FRAME_HEAD_SIZE;
  std::uint16_t consumed = 0;  // 16 bits, as the lengths in the frame are
  for (;;) {
    const auto atom = amt_frame_atom_at(frame, offset);
    if (!atom || atom->m_id == atom_id) return atom;
    const std::size_t step = AMT_ATOM_HEAD_SIZE + atom->m_length;
    offset += step;
    consumed = static_cast<std::uint16_t>(consumed + step);
    if (consumed >= data_length) return std::nullopt;
  }
}

std::uint32_t amt_frame_get_int(const amt_frame_st* frame, std::uint8_t atom_id) {
  const auto atom = amt_frame_find_atom(frame, atom_id);
  return atom ? value_as_number(*atom) : 0;
}

std::uint32_t amt_frame_get_flag(const amt_frame_st* frame, std::uint8_t atom_id) {
  const auto atom = amt_frame_find_atom(frame, atom_id);
  return atom ? value_as_number(*atom) : 1;
}

std::size_t amt_frame_get_bytes(const amt_frame_st* frame, std::uint8_t atom_id, std::uint8_t* buffer,
                                std::size_t size) {
  const auto atom = amt_frame_find_atom(frame, atom_id);
  if (!atom) return 0;
  if (size == 0) return atom->m_length;
  if (buffer == nullptr) return 0;
  std::memset(buffer, 0, size);
  const std::size_t count = std::min(atom->m_value.size(), size);
  std::copy_n(atom->m_value.begin(), count, buffer);
  return count;
}

std::size_t amt_frame_get_string(const amt_frame_st* frame, std::uint8_t atom_id, char* buffer, std::size_t size) {
  const auto atom = amt_frame_find_atom(frame, atom_id);
  if (!atom) return 0;
  if (size == 0) return atom->m_length + std::size_t{1};
  if (buffer == nullptr) return 0;
  std::memset(buffer, 0, size);
  const std::size_t room = size < atom->m_length ? size - 1 : size;
  const std::size_t count = std::min(atom->m_value.size(), room);
  std::copy_n(atom->m_value.begin(), count, buffer);
  return count;
}
