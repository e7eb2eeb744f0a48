// Request frames to AT data: whatever the frame holds, nothing outside the two buffers is touched.
#include <algorithm>
#include <memory>
#include <vector>

#include "amt/amt-convert/amt-convert.h"
#include "amt/amt-convert/at-data.h"
#include "amt/amt-convert/ids.h"
#include "pub/result.h"
#include "tests/fuzz/fuzz.h"

namespace {

// The values of the frame's atoms, read one by one from the frame.
std::vector<std::uint8_t> expected(const amt_frame_st& frame) {
  const bool has_lengths = amt_frame_command_id(&frame) == AMT_DSP_TRANSPARENT_CONTROL_CMD;
  std::vector<std::uint8_t> data{amt_frame_command_id(&frame)};
  std::size_t offset = AMT_FRAME_HEAD_SIZE;
  while (offset < AMT_FRAME_HEAD_SIZE + amt_frame_data_length(&frame)) {
    const auto atom = amt_frame_atom_at(&frame, offset);
    FUZZ_CHECK(atom && atom->m_value.size() == atom->m_length);
    if (has_lengths) data.insert(data.end(), {frame[offset + 3], frame[offset + 4]});
    data.insert(data.end(), atom->m_value.begin(), atom->m_value.end());
    offset += AMT_ATOM_HEAD_SIZE + atom->m_length;
  }
  return data;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const std::uint32_t room = input.u16() % (AMT_FRAME_SIZE + 1);
  const fuzz_bytes bytes = input.rest();
  const auto frame = std::make_unique<amt_frame_st>();
  std::copy_n(bytes.begin(), std::min(bytes.size(), frame->size()), frame->begin());
  const auto before = std::make_unique<amt_frame_st>(*frame);
  const auto out = std::make_unique<std::uint8_t[]>(room);
  std::fill_n(out.get(), room, std::uint8_t{0xA5});
  std::uint32_t length = 0;
  const std::int32_t result = amt_convert_req_amt_data_2_at_data(frame.get(), out.get(), room, &length);
  FUZZ_CHECK(*frame == *before && length <= room);
  if (room == 0) {
    FUZZ_CHECK(result == ERR_ARGUMENT);
    return 0;
  }
  FUZZ_CHECK(result == ERR_NONE || result == ERR_FAIL);
  FUZZ_CHECK(std::all_of(&out[length], &out[room], [](std::uint8_t byte) { return byte == 0; }));
  if (result == ERR_NONE) {
    const std::vector<std::uint8_t> wanted = expected(*frame);
    FUZZ_CHECK(std::equal(out.get(), &out[length], wanted.begin(), wanted.end()));
  }
  return 0;
}
