#include "tests/unit/device/device-test.h"
#include "tests/unit/device/misc-fake.h"

namespace {

class Idle : public device_test {
 protected:
  Idle() { g_misc_fake = {}; }
};

TEST_F(Idle, Idle_LibraryAgrees_IsAnsweredOnBothLinks) {
  install_misc_library();
  EXPECT_EQ(pc(240), 0);
  EXPECT_EQ(app(240), 0);
  EXPECT_THAT(g_misc_fake.m_calls, ElementsAre("enter_idle()", "enter_idle()"));
  EXPECT_EQ(to_pc(), "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB F1 09 00 EE 01 01 04 00 00 00 00 00 6C A0 28 7B");
  EXPECT_EQ(to_app(), "0F 00 BB F1 09 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(
      m_log.has_in_a_row({"amt_make_ue_enter_idle()", "will call enter_idle.", "stop call enter_idle. return value:0.",
                          "enter_idle return OK.", "enter_idle return OK."}));
}

TEST_F(Idle, Idle_LibraryRefuses_GivesItsResult) {
  install_misc_library();
  g_misc_fake.m_result = 23;
  EXPECT_EQ(pc(240), 23);
  EXPECT_EQ(app(240), 23);
  EXPECT_TRUE(is_silent());
  EXPECT_EQ(m_log.count("stop call enter_idle. return value:23."), 2u);
  EXPECT_FALSE(m_log.has("enter_idle return OK."));
}

TEST_F(Idle, Idle_NoLibrary_IsASystemError) {
  EXPECT_EQ(pc(240), ERR_SYSTEM);
  EXPECT_EQ(app(240), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_make_ue_enter_idle", ERR_SYSTEM)).Times(2));
  EXPECT_TRUE(m_log.contains("call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so: "));
}

TEST_F(Idle, Idle_LibraryWithoutTheOperation_IsASystemError) {
  install_empty_misc_library();
  EXPECT_EQ(app(240), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_make_ue_enter_idle", ERR_SYSTEM)));
  EXPECT_TRUE(m_log.contains("call dlopen fail: - "));
  EXPECT_FALSE(m_log.contains("will call"));
}

}  // namespace
