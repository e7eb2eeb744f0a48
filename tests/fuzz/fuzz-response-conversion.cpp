// Response AT data to frames, and the hexadecimal text in which it travels: the result is a whole frame or none, and
// the text goes both ways.
#include <algorithm>
#include <memory>

#include "amt/amt-convert/amt-convert.h"
#include "amt/amt-convert/at-data.h"
#include "amt/amt-convert/ids.h"
#include "pub/result.h"
#include "tests/fuzz/fuzz.h"

namespace {

void check_frame(const amt_frame_st& frame, fuzz_bytes at_data) {
  FUZZ_CHECK(frame[2] == AMT_COMMAND_HEAD && amt_frame_command_id(&frame) == at_data[0]);
  const std::size_t end = amt_frame_total_length(&frame);
  FUZZ_CHECK(end <= frame.size() && end == AMT_FRAME_HEAD_SIZE + amt_frame_data_length(&frame));
  std::size_t offset = AMT_FRAME_HEAD_SIZE;
  std::size_t atoms = 0;
  for (; offset < end; ++atoms) {
    const auto atom = amt_frame_atom_at(&frame, offset);
    FUZZ_CHECK(atom && atom->m_value.size() == atom->m_length);
    offset += AMT_ATOM_HEAD_SIZE + atom->m_length;
  }
  FUZZ_CHECK(offset == end && atoms >= 1 && atoms <= 3 && frame[7] == AMT_ATOM_RESULT);
}

void check_text(fuzz_bytes bytes) {
  const auto text = std::make_unique<char[]>(2 * bytes.size());
  amt_hex_encode(bytes, {text.get(), 2 * bytes.size()});
  const auto back = std::make_unique<std::uint8_t[]>(bytes.size());
  amt_hex_decode({text.get(), 2 * bytes.size()}, {back.get(), bytes.size()});
  FUZZ_CHECK(std::equal(bytes.begin(), bytes.end(), back.get()));
  amt_hex_decode(fuzz_text(bytes), {back.get(), bytes.size()});  // any text: more is wanted than it holds
  FUZZ_CHECK(std::all_of(&back[(bytes.size() + 1) / 2], &back[bytes.size()], [](std::uint8_t b) { return b == 0; }));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto frame = std::make_unique<amt_frame_st>();
  const auto exact = std::make_unique<std::uint8_t[]>(size);
  std::copy_n(data, size, exact.get());
  const std::int32_t result =
      amt_convert_rsp_at_data_2_amt_data(exact.get(), static_cast<std::uint32_t>(size), frame.get(), AMT_FRAME_SIZE);
  FUZZ_CHECK(result == ERR_NONE || result == ERR_ARGUMENT || result == ERR_FAIL);
  FUZZ_CHECK(size != 0 || result == ERR_ARGUMENT);
  if (result == ERR_NONE) check_frame(*frame, {exact.get(), size});
  check_text({exact.get(), size});
  return 0;
}
