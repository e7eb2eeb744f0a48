// The dispatcher on an arbitrary block: it is answered, or carried to the modem byte for byte. After it comes a block
// of the modem, which may confirm what was captured.
#include <algorithm>
#include <memory>

#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/pc/capture.h"
#include "amt/amt-handle/pc/dispatch.h"
#include "pub/result.h"
#include "tests/fuzz/phone.h"

namespace {

void dispatch(fuzz_phone& phone, fuzz_bytes block, bool has_modem) {
  auto& request = g_handle_context.m_request;
  request.m_buf_len = static_cast<std::uint32_t>(std::min(block.size(), AMT_READ_LIMIT));
  std::copy_n(block.begin(), request.m_buf_len, request.m_buf_a.begin());
  const auto before = std::make_unique<amt_message_st>(request);
  const std::int32_t result = handle_amt_pc_req();

  FUZZ_CHECK(result == (block.empty() ? ERR_ARGUMENT : ERR_NONE));  // the PC can always be answered
  FUZZ_CHECK(request.m_buf_len == before->m_buf_len && request.m_buf_a == before->m_buf_a);
  const auto to_pc = phone.sent_to_pc();
  const auto to_modem = phone.sent_to_modem();
  const fuzz_bytes sent(before->m_buf_a.data(), before->m_buf_len);
  FUZZ_CHECK(to_modem.empty() || (has_modem && std::ranges::equal(to_modem, sent)));
  FUZZ_CHECK(block.empty() || !to_pc.empty() || !to_modem.empty());
  if (!handle_amt_text_after(amt_message_text(g_handle_context.m_request), "AT^"))
    fuzz_check_stream(to_pc);  // no command is answered with text
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const std::uint8_t faults = input.byte();
  const fuzz_bytes file = input.block();
  const fuzz_bytes confirmation = input.block();
  fuzz_phone phone(faults, file);
  fuzz_register_handlers();
  dispatch(phone, input.rest(), (faults & FUZZ_NO_MODEM) == 0);
  const auto block = std::make_unique<amt_message_st>();
  std::copy(confirmation.begin(), confirmation.end(), block->m_buf_a.begin());
  block->m_buf_len = static_cast<std::uint32_t>(confirmation.size());
  handle_amt_imei_and_sn_rsp(*block);
  return 0;
}
