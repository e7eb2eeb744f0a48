// A station's result from the PC: recorded on the phone, and the modem's to answer.
#include "amt/amt-handle/modem/test-result.h"

#include <gtest/gtest.h>

#include <string>

#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/pc/dispatch.h"
#include "amt/amt-handle/pc/test-result.h"
#include "tests/unit/links.h"
#include "tests/unit/phone-root.h"

namespace {

constexpr char RESULT_FILE[] = "/amt/amt_result.txt";

class PcTestResult : public context_test {};

TEST_F(PcTestResult, Written_IsRecordedAndGoesToTheModemWithoutPreResponse) {
  phone_root::write(RESULT_FILE, "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n");
  std::ignore = amt_handle_reg_handle_func(1, 91, amt_modem_write_pc_test_result, amt_pre_response_en::BY_HANDLER);
  const std::string block = from_hex(
      "AA BB CC DD 20 00 00 00 02 00 00 00 18 00 BB 5B 12 00 EE 27 01 04 00 03 00 00 00 EE 24 01 04 00 01 00 00 00 "
      "00 00 00 00");
  set_message(g_handle_context.m_request, block);
  EXPECT_EQ(handle_amt_pc_req(), 0);
  EXPECT_EQ(m_pc.received(), "");
  EXPECT_EQ(m_modem.received(), block);
  EXPECT_EQ(phone_root::read(RESULT_FILE).substr(0, 8), "0\n0\n0\n1\n");
}

}  // namespace
