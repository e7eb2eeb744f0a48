// Every request that asks the modem, with an arbitrary answer in arbitrary pieces: the query comes to an end, and the
// application gets whole frames.
#include <algorithm>

#include "amt/amt-handle/modem/at-link.h"
#include "pub/result.h"
#include "tests/fuzz/phone.h"

namespace {

constexpr std::uint8_t REOPENED = 0;  // no request: what a link that was opened anew is asked
constexpr std::uint8_t IDS[] = {REOPENED, 1, 151, 7, 85, 234, 45, 89, 91, 99, 65, 197, 232, 195, 219};

std::int32_t ask(std::uint8_t id) {
  auto& context = g_handle_context;
  if (id == REOPENED) return disable_unsolicited_code(context.m_fd_at);
  return context.m_handle_app_func_a[id](AMT_LINK_APP, &context.m_request, &context.m_response);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const std::uint8_t id = IDS[input.byte() % std::size(IDS)];
  fuzz_phone phone(input.byte(), {});
  fuzz_register_handlers();
  const std::size_t piece = 1 + std::size_t{input.byte()} * 16;
  const fuzz_bytes atoms = input.block();
  phone.answer(input.rest(), piece);

  auto& request = g_handle_context.m_request;
  amt_frame_init(&request.m_buf_a, id);
  std::copy(atoms.begin(), atoms.end(), request.m_buf_a.begin() + AMT_FRAME_HEAD_SIZE);
  amt_frame_add_length(&request.m_buf_a, static_cast<std::uint16_t>(atoms.size()));
  request.m_buf_len = amt_frame_total_length(&request.m_buf_a);
  FUZZ_CHECK(fuzz_is_result_code(ask(id)));
  fuzz_check_frames(phone.sent_to_app());
  FUZZ_CHECK(phone.sent_to_pc().empty() && phone.sent_to_modem().empty());
  return 0;
}
