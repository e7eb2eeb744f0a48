// A frame built of arbitrary atoms, wrapped as for the PC, and read back: nothing is lost on the way, and what does not
// fit changes nothing.
#include <algorithm>
#include <memory>

#include "amt/amt-convert/wrap.h"
#include "pub/result.h"
#include "tests/fuzz/fuzz.h"

namespace {

// Appends one atom; one that is appended is found again, if its id was free.
void append(fuzz_input& input, amt_frame_st& frame) {
  const amt_frame_st before = frame;
  const std::uint8_t id = input.byte();
  const bool is_new = !amt_frame_find_atom(&frame, id);
  const std::uint16_t count = input.u16();
  const fuzz_bytes value = input.block();
  const auto bytes = std::make_unique<std::uint8_t[]>(count);
  std::copy_n(value.begin(), std::min<std::size_t>(count, value.size()), bytes.get());
  if (!amt_frame_add_bytes(&frame, id, bytes.get(), count)) {
    FUZZ_CHECK(frame == before);
    return;
  }
  FUZZ_CHECK(amt_frame_total_length(&frame) == amt_frame_total_length(&before) + AMT_ATOM_HEAD_SIZE + count);
  const auto atom = amt_frame_find_atom(&frame, id);
  FUZZ_CHECK(atom && (!is_new || std::equal(atom->m_value.begin(), atom->m_value.end(), bytes.get(), &bytes[count])));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const auto message = std::make_unique<amt_message_st>();
  amt_frame_init(&message->m_buf_a, input.byte());
  const std::uint8_t atoms = input.byte();
  for (unsigned atom = 0; atom < atoms; ++atom) append(input, message->m_buf_a);
  amt_frame_add_int(&message->m_buf_a, input.byte(), input.u16());
  amt_frame_add_flag(&message->m_buf_a, input.byte(), input.byte());
  const std::uint32_t length = amt_frame_total_length(&message->m_buf_a);
  FUZZ_CHECK(length == AMT_FRAME_HEAD_SIZE + amt_frame_data_length(&message->m_buf_a));

  const auto bare = std::make_unique<amt_message_st>(*message);
  if (amt_wrap(message.get()) != ERR_NONE) {
    FUZZ_CHECK(length > AMT_FRAME_SIZE - AMT_WRAP_SIZE && message->m_buf_a == bare->m_buf_a);
    return 0;
  }
  FUZZ_CHECK(message->m_buf_len == length + AMT_WRAP_SIZE);
  const fuzz_bytes wrapped(message->m_buf_a.data(), message->m_buf_len);
  FUZZ_CHECK(amt_is_wrapped(wrapped) && amt_read_u32(&wrapped[4]) == length + 8);
  const std::size_t covered = wrapped.size() - AMT_WRAP_CHECKSUM_SIZE;
  FUZZ_CHECK(amt_read_u32(&wrapped[covered]) == amt_wrap_checksum(wrapped.first(covered)));
  FUZZ_CHECK(amt_unwrap(message.get()) == ERR_NONE && message->m_buf_len == length);
  FUZZ_CHECK(std::equal(message->m_buf_a.begin(), message->m_buf_a.begin() + length, bare->m_buf_a.begin()));
  return 0;
}
