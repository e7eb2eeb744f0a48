// Every request that asks the modem, with an arbitrary answer in arbitrary pieces: the query comes to an end, and the
// application gets whole frames.
#include <algorithm>

#include "amt/amt-handle/modem/checks.h"
#include "amt/amt-handle/modem/forward.h"
#include "amt/amt-handle/modem/identity.h"
#include "amt/amt-handle/modem/mode.h"
#include "amt/amt-handle/modem/test-result.h"
#include "amt/amt-handle/modem/version.h"
#include "pub/result.h"
#include "tests/fuzz/phone.h"

namespace {

struct query_st {
  std::uint8_t m_id;
  amt_handle_func m_handler;
};

constexpr query_st QUERIES[] = {
    {1, amt_modem_handle_req},           {151, amt_modem_handle_req},       {7, amt_modem_handle_read_imei},
    {85, amt_modem_handle_read_board},   {234, amt_read_serial_number},     {45, handle_amt_req_version},
    {89, amt_modem_read_test_result},    {91, amt_modem_write_test_result}, {99, amt_dtoc_checkSIM},
    {65, amt_modem_handle_read_outdate}, {197, amt_query_amt_support},      {232, amt_at_to_modem},
    {195, amt_handle_normal_to_amt},     {219, amt_handle_damt1_cmd},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const query_st& query = QUERIES[input.byte() % std::size(QUERIES)];
  fuzz_phone phone(input.byte(), {});
  const std::size_t piece = 1 + std::size_t{input.byte()} * 16;
  const fuzz_bytes atoms = input.block();
  phone.answer(input.rest(), piece);

  auto& request = g_handle_context.m_request;
  amt_frame_init(&request.m_buf_a, query.m_id);
  std::copy(atoms.begin(), atoms.end(), request.m_buf_a.begin() + AMT_FRAME_HEAD_SIZE);
  amt_frame_add_length(&request.m_buf_a, static_cast<std::uint16_t>(atoms.size()));
  request.m_buf_len = amt_frame_total_length(&request.m_buf_a);
  const std::int32_t result = query.m_handler(AMT_LINK_APP, &request, &g_handle_context.m_response);
  FUZZ_CHECK(fuzz_is_result_code(result));
  fuzz_check_frames(phone.sent_to_app());
  FUZZ_CHECK(phone.sent_to_pc().empty() && phone.sent_to_modem().empty());
  return 0;
}
