// A station's result from the PC: recorded on the phone, and the modem's to answer.
#include "amt/amt-handle/pc/test-result.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/pc/dispatch.h"
#include "tests/unit/links.h"
#include "tests/unit/phone-root.h"

namespace {

constexpr char RESULT_FILE[] = "/amt/amt_result.txt";
// Request 91: station 3, result 1.
constexpr char WRITE_3_1[] = "18 00 BB 5B 12 00 EE 27 01 04 00 03 00 00 00 EE 24 01 04 00 01 00 00 00";

class PcTestResult : public context_test {
 protected:
  PcTestResult() {
    phone_root::remove("/amt");
    phone_root::write(RESULT_FILE, "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n");
  }
};

TEST_F(PcTestResult, Received_IsRecordedAndLeftToTheModem) {
  EXPECT_EQ(run(amt_modem_write_pc_test_result, WRITE_3_1, AMT_LINK_PC), ERR_NOT_HANDLED);
  EXPECT_EQ(phone_root::read(RESULT_FILE).substr(0, 8), "0\n0\n0\n1\n");
  EXPECT_TRUE(m_log.has("amt_modem_write_pc_test_result()"));
  EXPECT_TRUE(m_log.has("amt_modem_write_pc_test_result station_num=3,station_result=1"));
  EXPECT_EQ(m_pc.received() + m_modem.received(), "");
}

TEST_F(PcTestResult, NoPlaceForTheRecord_IsLeftToTheModemToo) {
  phone_root::remove("/amt");
  EXPECT_EQ(run(amt_modem_write_pc_test_result, WRITE_3_1, AMT_LINK_PC), ERR_NOT_HANDLED);
  EXPECT_TRUE(m_log.contains("write fail amt station_num: 3, station_result: 1\n"));
}

TEST_F(PcTestResult, Dispatched_GoesToTheModemWithoutPreResponse) {
  std::ignore = amt_handle_reg_handle_func(1, 91, amt_modem_write_pc_test_result, amt_pre_response_en::BY_HANDLER);
  const std::string block = from_hex(std::string("AABBCCDD 20000000 02000000") + WRITE_3_1 + "00000000");
  set_message(g_handle_context.m_request, block);
  EXPECT_EQ(handle_amt_pc_req(), 0);
  EXPECT_EQ(m_pc.received(), "");
  EXPECT_EQ(m_modem.received(), block);
  EXPECT_EQ(phone_root::read(RESULT_FILE).substr(0, 8), "0\n0\n0\n1\n");
}

}  // namespace
