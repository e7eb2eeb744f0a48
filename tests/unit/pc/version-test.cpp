#include "amt/amt-handle/pc/version.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/failure-line.h"
#include "tests/unit/links.h"
#include "tests/unit/phone-root.h"

namespace {

constexpr char PRE_RESPONSE[] = "AA BB CC DD 08 00 00 00 02 02 00 00 76 4A EE 1D";
// A carriage return, "Android4.2,2013-01-21", 42 line feeds.
constexpr char BLOCK[] =
    "0D 41 6E 64 72 6F 69 64 34 2E 32 2C 32 30 31 33 2D 30 31 2D 32 31 "
    "0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A "
    "0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A";

class PcVersion : public context_test {
 protected:
  PcVersion() { phone_root::remove_properties(); }
  std::int32_t request(const std::string& atoms, std::uint8_t link = 1) {
    const auto length = static_cast<char>((atoms.size() + 1) / 3);
    std::string frame = from_hex("00 00 BB 2D 00 00") + from_hex(atoms);
    frame[0] = static_cast<char>(6 + length);
    frame[4] = length;
    set_message(g_handle_context.m_request_copy, frame);
    m_log.clear();
    return handle_amt_pc_req_version(link, &g_handle_context.m_request_copy, &g_handle_context.m_response);
  }
};

TEST_F(PcVersion, WholeModule_GetsThePreResponseAndTheFixedBlock) {
  EXPECT_EQ(request("EE 13 01 04 00 40 00 00 00"), 0);
  EXPECT_EQ(m_pc.received_hex(),
            std::string(PRE_RESPONSE) +
                " AA BB CC DD 65 00 00 00 02 00 00 00 5D 00 BB 2E 57 00 EE 13 01 04 00 40 00 00 00 EE 12 03 40 00 " +
                BLOCK + " EE 01 01 04 00 00 00 00 00 91 6B 9D 05");
  EXPECT_TRUE(m_log.has("handle_amt_pc_req_version()"));
  EXPECT_TRUE(m_log.has("version type: 0x40 - AMT_WHOLE_MODULE"));
}

TEST_F(PcVersion, ProductModule_GetsTheSameBlock) {
  EXPECT_EQ(request("EE 13 01 04 00 01 00 00 00"), 0);
  EXPECT_EQ(m_pc.received_hex(),
            std::string(PRE_RESPONSE) +
                " AA BB CC DD 65 00 00 00 02 00 00 00 5D 00 BB 2E 57 00 EE 13 01 04 00 01 00 00 00 EE 12 03 40 00 " +
                BLOCK + " EE 01 01 04 00 00 00 00 00 57 DD 24 90");
}

TEST_F(PcVersion, EveryFixedModule_IsAnsweredUnderItsOwnCode) {
  for (const char* code : {"01", "13", "14", "20", "40"}) {
    EXPECT_EQ(request(std::string("EE 13 01 04 00 ") + code + " 00 00 00"), 0) << code;
    EXPECT_NE(m_pc.received_hex().find(std::string("EE 13 01 04 00 ") + code + " 00 00 00 EE 12 03 40 00 0D 41 6E"),
              std::string::npos)
        << code;
  }
}

TEST_F(PcVersion, SoftwareModule_IsThePhonesOwnVersion) {
  phone_root::set_property("ro.build.customer", "orvito");
  phone_root::set_property("ro.build.version.incremental", "7.1.5");
  phone_root::set_property("ro.build.display.vx.id", "B123");
  EXPECT_EQ(request("EE 13 01 04 00 10 00 00 00"), 0);
  EXPECT_EQ(m_pc.received_hex(),
            std::string(PRE_RESPONSE) +
                " AA BB CC DD 35 00 00 00 02 00 00 00 2D 00 BB 2E 27 00 EE 13 01 04 00 10 00 00 00 EE 12 03 10 00 54 "
                "45 4C 55 20 37 2E 31 2E 35 28 42 31 32 33 29 EE 01 01 04 00 00 00 00 00 40 BE 1F 1E");
  EXPECT_TRUE(m_log.has("set_ap_sw_version_rsp()"));
}

TEST_F(PcVersion, ModulesOfTheModem_AreDeclinedWithNothingSent) {
  EXPECT_EQ(request("EE 13 01 04 00 11 00 00 00"), -104);
  EXPECT_TRUE(m_log.has("version type: 0x11 - AMT_L1_MODULE"));
  EXPECT_EQ(request("EE 13 01 04 00 12 00 00 00"), -104);
  EXPECT_TRUE(m_log.has("version type: 0x12 - AMT_HLS_MODULE"));
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(PcVersion, UnknownModule_FailsWithNothingSent) {
  EXPECT_EQ(request("EE 13 01 04 00 02 00 00 00"), -100);
  EXPECT_TRUE(m_log.has("version type: 0x02 - (undefined)"));
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-handle", "handle_amt_pc_req_version", -100)));
  EXPECT_EQ(m_log.last(), "unknown version type: 0x02");
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(PcVersion, RequestWithoutModule_IsModule0) {
  EXPECT_EQ(request("EE 14 01 04 00 40 00 00 00"), -100);
  EXPECT_EQ(m_log.last(), "unknown version type: 0x00");
}

TEST_F(PcVersion, AllFourBytesOfTheModule_Count) {
  EXPECT_EQ(request("EE 13 01 04 00 40 00 00 01"), -100);
  EXPECT_EQ(m_log.last(), "unknown version type: 0x1000040");
}

TEST_F(PcVersion, BadArguments_AreRefusedWithNothingSent) {
  auto& request_record = g_handle_context.m_request_copy;
  auto& response = g_handle_context.m_response;
  amt_message_st empty = {};
  EXPECT_EQ(request("EE 13 01 04 00 40 00 00 00", 255), -101);
  EXPECT_TRUE(m_log.has("1, 0, 0, 0"));
  EXPECT_EQ(handle_amt_pc_req_version(1, nullptr, &response), -101);
  EXPECT_EQ(handle_amt_pc_req_version(1, &empty, &response), -101);
  EXPECT_EQ(handle_amt_pc_req_version(1, &request_record, nullptr), -101);
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(PcVersion, PcGone_IsTheSendersResult) {
  set_link(g_handle_context.m_fd_pc, 0);
  EXPECT_EQ(request("EE 13 01 04 00 40 00 00 00"), -100);
}

TEST_F(PcVersion, NoModem_MakesNoDifference) {
  g_no_modem = 1;
  EXPECT_EQ(request("EE 13 01 04 00 40 00 00 00"), 0);
  EXPECT_NE(m_pc.received(), "");
}

}  // namespace
