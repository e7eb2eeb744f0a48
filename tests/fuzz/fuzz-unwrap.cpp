// Unwrapping of what a station sends, and every way to read the frame in it.
#include <algorithm>
#include <memory>

#include "amt/amt-convert/wrap.h"
#include "pub/result.h"
#include "tests/fuzz/fuzz.h"

namespace {

// An atom that is found lies inside the frame, and the getters agree with it.
void check_atom(const amt_frame_st& frame, std::uint8_t id) {
  const auto atom = amt_frame_find_atom(&frame, id);
  const std::size_t room = id;
  const auto buffer = std::make_unique<char[]>(room);
  auto* bytes = reinterpret_cast<std::uint8_t*>(buffer.get());
  const std::size_t count = amt_frame_get_bytes(&frame, id, bytes, room);
  if (!atom) {
    FUZZ_CHECK(amt_frame_get_int(&frame, id) == 0 && amt_frame_get_flag(&frame, id) == 1 && count == 0);
    FUZZ_CHECK(amt_frame_get_string(&frame, id, buffer.get(), room) == 0);
    return;
  }
  FUZZ_CHECK(atom->m_id == id && atom->m_value.size() <= atom->m_length);
  FUZZ_CHECK(atom->m_value.data() >= frame.data() + AMT_FRAME_HEAD_SIZE + AMT_ATOM_HEAD_SIZE);
  FUZZ_CHECK(atom->m_value.data() + atom->m_value.size() <= frame.data() + frame.size());
  FUZZ_CHECK(amt_frame_get_int(&frame, id) == amt_frame_get_flag(&frame, id));
  FUZZ_CHECK(amt_frame_get_bytes(&frame, id, nullptr, 0) == atom->m_length);
  FUZZ_CHECK(amt_frame_get_string(&frame, id, nullptr, 0) == atom->m_length + std::size_t{1});
  if (room == 0) return;
  FUZZ_CHECK(count == std::min(atom->m_value.size(), room));
  FUZZ_CHECK(std::equal(bytes, bytes + count, atom->m_value.begin()));
  FUZZ_CHECK(std::all_of(bytes + count, bytes + room, [](std::uint8_t byte) { return byte == 0; }));
  const std::size_t length = amt_frame_get_string(&frame, id, buffer.get(), room);
  FUZZ_CHECK(length <= count && (atom->m_length <= room || buffer[room - 1] == '\0'));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = std::make_unique<amt_message_st>();
  std::copy_n(data, std::min(size, AMT_FRAME_SIZE), message->m_buf_a.begin());
  message->m_buf_len = static_cast<std::uint32_t>(size);  // one that is too long is refused
  const std::int32_t result = amt_unwrap(message.get());
  FUZZ_CHECK(result == ERR_NONE || result == (size == 0 ? ERR_ARGUMENT : ERR_FAIL));
  FUZZ_CHECK(message->m_buf_len == (result == ERR_NONE ? size - AMT_WRAP_SIZE : size));
  if (result == ERR_NONE) FUZZ_CHECK(std::equal(data + AMT_WRAP_HEAD_SIZE, data + size, message->m_buf_a.begin()));
  check_atom(message->m_buf_a, 0);
  for (std::size_t at = 1; at < std::min(size, AMT_FRAME_SIZE); ++at) {
    if (data[at - 1] == AMT_ATOM_HEAD) check_atom(message->m_buf_a, data[at]);
  }
  return 0;
}
