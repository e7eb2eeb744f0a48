#include "amt/amt-device/dev-info.h"

#include "tests/unit/device/device-test.h"
#include "tests/unit/device/misc-fake.h"

namespace {

constexpr char ANSWER[] =
    "20 00 BB EF 1A 00 EE C8 02 0C 00 56 58 35 32 31 30 0A 72 65 76 20 33 EE 01 01 04 00 00 00 00 00";

class DevInfo : public device_test {
 protected:
  DevInfo() {
    g_misc_fake = {};
    g_misc_fake.m_device_information = "VX5210\nrev 3";
  }
};

TEST_F(DevInfo, DevInfo_FromTheLibrary_IsAnswered) {
  install_misc_library();
  EXPECT_EQ(app(238), 0);
  EXPECT_THAT(g_misc_fake.m_calls, ElementsAre("create_devinfo(4055)"));
  EXPECT_EQ(to_app(), ANSWER);
  EXPECT_TRUE(m_log.has_in_a_row({"will call create_devinfo.", "stop call create_devinfo. return value:0.",
                                  "create_devinfo return OK. VX5210\nrev 3"}));
}

// The request is registered for the test application alone; the handler never wraps.
TEST_F(DevInfo, DevInfo_OnThePcLink_IsABareFrame) {
  install_misc_library();
  EXPECT_EQ(ask_handler(amt_read_dev_info, AMT_LINK_PC, 238, ""), 0);
  EXPECT_EQ(to_pc(), ANSWER);
}

TEST_F(DevInfo, DevInfo_LongestText_FitsTheFrame) {
  install_misc_library();
  g_misc_fake.m_device_information = std::string(4055, 'x');
  EXPECT_EQ(app(238), 0);
  const std::string answer = m_app.received();
  ASSERT_EQ(answer.size(), 4075u);
  EXPECT_EQ(to_hex(answer.substr(0, 12)), "EB 0F BB EF E5 0F EE C8 02 D7 0F 78");
  EXPECT_EQ(answer.substr(11, 4055), std::string(4055, 'x'));
  EXPECT_EQ(to_hex(answer.substr(4066)), "EE 01 01 04 00 00 00 00 00");
}

// One character more than it was asked for, and so no terminator anywhere in the buffer.
TEST_F(DevInfo, DevInfo_TextThatFillsTheBuffer_IsCutToItsLimit) {
  install_misc_library();
  g_misc_fake.m_device_information = std::string(4055, 'x') + "y";
  EXPECT_EQ(app(238), 0);
  const std::string answer = m_app.received();
  ASSERT_EQ(answer.size(), 4075u);
  EXPECT_EQ(answer.substr(11, 4055), std::string(4055, 'x'));
  EXPECT_EQ(to_hex(answer.substr(4066)), "EE 01 01 04 00 00 00 00 00");
}

TEST_F(DevInfo, DevInfo_NoText_IsAnEmptyAtom) {
  install_misc_library();
  g_misc_fake.m_device_information = "";
  EXPECT_EQ(app(238), 0);
  EXPECT_EQ(to_app(), "14 00 BB EF 0E 00 EE C8 02 00 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(DevInfo, DevInfo_LibraryFails_GivesItsResult) {
  install_misc_library();
  g_misc_fake.m_result = -2;
  EXPECT_EQ(app(238), -2);
  EXPECT_TRUE(is_silent());
  EXPECT_EQ(m_log.texts().back(), "stop call create_devinfo. return value:-2.");
}

TEST_F(DevInfo, DevInfo_NoLibrary_IsASystemError) {
  EXPECT_EQ(app(238), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_read_dev_info", ERR_SYSTEM)));
  EXPECT_TRUE(m_log.contains("call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so: "));
}

TEST_F(DevInfo, DevInfo_LibraryWithoutTheOperation_IsASystemError) {
  install_empty_misc_library();
  EXPECT_EQ(app(238), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_read_dev_info", ERR_SYSTEM)));
  EXPECT_FALSE(m_log.contains("will call"));
}

}  // namespace
