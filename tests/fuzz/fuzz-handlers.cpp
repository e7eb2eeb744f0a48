// Every registered handler on its link with arbitrary atoms: a code of the service, and whole frames for whoever asked.
// Forking, switching off and ending the service come to nothing here.
#include <algorithm>

#include "amt/amt-device/wifi.h"
#include "amt/amt-handle/service/registrations.h"
#include "pub/result.h"
#include "tests/fuzz/phone.h"

namespace {

constexpr std::uint8_t WRONG_LENGTH = 1;  // the head's lengths are the input's, not those of the data
constexpr std::uint8_t WIFI_RUNS = 2;     // an earlier request has started WiFi

void fill_request(amt_message_st& request, std::uint8_t id, std::uint8_t how, fuzz_bytes atoms) {
  amt_frame_init(&request.m_buf_a, id);
  const std::size_t count = std::min(atoms.size(), AMT_READ_LIMIT - AMT_FRAME_HEAD_SIZE);
  std::copy_n(atoms.begin(), count, request.m_buf_a.begin() + AMT_FRAME_HEAD_SIZE);
  amt_frame_add_length(&request.m_buf_a, static_cast<std::uint16_t>(count));
  request.m_buf_len = amt_frame_total_length(&request.m_buf_a);
  if ((how & WRONG_LENGTH) != 0 && count >= 2) {
    std::copy_n(atoms.begin(), 2, request.m_buf_a.begin());
    std::copy_n(atoms.begin(), 2, request.m_buf_a.begin() + 4);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const auto rows = amt_handle_registrations();
  const amt_registration_st& row = rows[input.byte() % rows.size()];
  const std::uint8_t faults = input.byte();
  const std::uint8_t how = input.byte();
  fuzz_phone phone(faults, input.block());
  phone.answer(input.block(), AMT_FRAME_SIZE);
  g_wifi_is_running = (how & WIFI_RUNS) != 0 ? 1 : 0;
  auto& context = g_handle_context;
  auto& request = row.m_link == AMT_LINK_PC ? context.m_request_copy : context.m_request;
  fill_request(request, row.m_request_id, how, input.rest());

  const std::int32_t result = row.m_handler(row.m_link, &request, &context.m_response);
  FUZZ_CHECK(fuzz_is_result_code(result) || result == 1);  // 1: the board library's own
  const auto to_pc = phone.sent_to_pc();
  const auto to_app = phone.sent_to_app();
  FUZZ_CHECK((row.m_link == AMT_LINK_PC ? to_app : to_pc).empty() && phone.sent_to_modem().empty());
  fuzz_check_frames(to_app);
  fuzz_check_stream(to_pc);
  return 0;
}
