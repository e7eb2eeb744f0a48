#include "amt/amt-convert/wrap.h"

#include <cstring>

#include "pub/result.h"

namespace {

constexpr std::uint32_t WRAP_MAGIC = 0xDDCCBBAA;
constexpr std::uint8_t WRAP_KIND = 2;

}  // namespace

std::uint32_t amt_wrap_checksum(std::span<const std::uint8_t> bytes) {
  std::uint32_t value = 0;
  const auto update = [&value](std::uint8_t byte) { value = g_tabCRC32[value >> 24] ^ ((value << 8) | byte); };
  for (const std::uint8_t byte : bytes) update(byte);
  for (int augment = 0; augment < 4; ++augment) update(0);
  return value;
}

bool amt_is_wrapped(std::span<const std::uint8_t> bytes) {
  return bytes.size() > AMT_WRAP_SIZE && amt_read_u32(bytes.data()) == WRAP_MAGIC;
}

result_code_en amt_wrap(amt_message_st* message) {
  if (message == nullptr) return ERR_ARGUMENT;
  const std::uint32_t length = message->m_buf_len != 0 ? message->m_buf_len : amt_frame_total_length(&message->m_buf_a);
  if (length == 0 || length > AMT_FRAME_SIZE - AMT_WRAP_SIZE) return ERR_ARGUMENT;

  std::uint8_t* bytes = message->m_buf_a.data();
  std::memmove(bytes + AMT_WRAP_HEAD_SIZE, bytes, length);
  std::memset(bytes, 0, AMT_WRAP_HEAD_SIZE);
  amt_write_u32(bytes, WRAP_MAGIC);
  amt_write_u32(bytes + 4, length + 8);
  bytes[8] = WRAP_KIND;

  const std::size_t covered = AMT_WRAP_HEAD_SIZE + length;
  amt_write_u32(bytes + covered, amt_wrap_checksum({bytes, covered}));
  message->m_buf_len = static_cast<std::uint32_t>(covered + AMT_WRAP_CHECKSUM_SIZE);
  return ERR_NONE;
}

result_code_en amt_unwrap(amt_message_st* message) {
  if (message == nullptr || message->m_buf_len == 0) return ERR_ARGUMENT;
  if (message->m_buf_len > AMT_FRAME_SIZE) return ERR_FAIL;
  std::uint8_t* bytes = message->m_buf_a.data();
  if (!amt_is_wrapped({bytes, message->m_buf_len})) return ERR_FAIL;

  std::memmove(bytes, bytes + AMT_WRAP_HEAD_SIZE, message->m_buf_len - AMT_WRAP_HEAD_SIZE);
  message->m_buf_len -= AMT_WRAP_SIZE;
  return ERR_NONE;
}
