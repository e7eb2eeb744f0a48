// From normal mode into factory test, and the AMT1 flag.
#include <chrono>
#include <csignal>

#include "amt/amt-handle/modem/mode.h"
#include "pub/util/signals.h"
#include "tests/unit/modem/modem-test.h"
#include "tests/unit/phone-root.h"

namespace {

constexpr char TO_AMT_4[] = "0F 00 BB C3 09 00 EE C9 01 04 00 04 00 00 00";
constexpr char TO_AMT_FAILURE[] = "0F 00 BB C4 09 00 EE 01 01 04 00 0A 00 00 00";
constexpr char SWITCH_PROPERTY[] = "amt.normal.amt.switch_status";

volatile std::sig_atomic_t g_ends;

class NormalToAmt : public modem_test {
 protected:
  NormalToAmt() {
    phone_root::remove_properties();
    g_ends = 0;
    m_before = std::signal(SIGTERM, [](int) { g_ends = g_ends + 1; });
  }
  ~NormalToAmt() override { std::signal(SIGTERM, m_before); }
  void (*m_before)(int);
};

TEST_F(NormalToAmt, ModemSwitched_AnswersSetsThePropertiesAndEnds) {
  modem_says({"\r\nOK\r\n"});
  modem_says({"\r\nOK\r\n"});
  EXPECT_EQ(run(amt_handle_normal_to_amt, TO_AMT_4), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DMPCHN=0\rAT^DSWAMT=4\r");
  EXPECT_EQ(to_app(), "0F 00 BB C4 09 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_EQ(phone_root::get_property(SWITCH_PROPERTY), "1");
  EXPECT_EQ(phone_root::get_property("sys.usb.config"), "serial,adb");
  EXPECT_EQ(phone_root::get_property("ctl.stop"), "vx-kro-mla0");
  EXPECT_EQ(g_ends, 1);
  EXPECT_FALSE(m_log.contains("sys call: property_set()"));
}

// The answer needs time to get out.
TEST_F(NormalToAmt, End_ComesHalfASecondAfterTheAnswer) {
  modem_says({"\r\nOK\r\n"});
  modem_says({"\r\nOK\r\n"});
  const auto begin = std::chrono::steady_clock::now();
  run(amt_handle_normal_to_amt, TO_AMT_4);
  EXPECT_EQ(g_ends, 1);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
}

// The service holds signals back outside of its waits.
TEST_F(NormalToAmt, End_WithSignalsHeldBack_ComesBeforeAnotherRequestIsRead) {
  sigset_t before;
  pthread_sigmask(SIG_SETMASK, nullptr, &before);
  pub_util_block_signals();
  modem_says({"\r\nOK\r\n"});
  modem_says({"\r\nOK\r\n"});
  run(amt_handle_normal_to_amt, TO_AMT_4);
  EXPECT_EQ(g_ends, 1);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(NormalToAmt, Steps_ComeInTheirOrder) {
  modem_says({"\r\nOK\r\n"});
  modem_says({"\r\nOK\r\n"});
  run(amt_handle_normal_to_amt, TO_AMT_4);
  std::vector<std::string> seen;
  for (const auto& line : m_log.texts()) {
    for (const char* start : {"amt_handle_normal_to_amt ", "amt_change_band", "set property", "send APP rsp data",
                              "property-", "will ", "stop "}) {
      if (line.starts_with(start)) seen.push_back(line);
    }
  }
  EXPECT_THAT(seen,
              testing::ElementsAre("amt_handle_normal_to_amt amt_mode:4", "amt_change_band()", "amt_change_band band:0",
                                   "amt_change_band :\r\nOK\r\n", "amt_handle_normal_to_amt :\r\nOK\r\n",
                                   "set property(amt.normal.amt.switch_status) to 1.",
                                   "send APP rsp data: : (data_len = 15) -- 0F00BBC40900EE0101040000000000",
                                   "property-sys.usb.config value: @#no_set_config#@",
                                   "will set property(sys.usb.config) to serial,adb.", "will exit program.",
                                   "stop vx-kro-mla return: 0"));
}

TEST_F(NormalToAmt, UsbWithSerial_IsLeftAsItIs) {
  phone_root::set_property("sys.usb.config", "mtp,serial");
  modem_says({"\r\nOK\r\n"});
  modem_says({"\r\nOK\r\n"});
  run(amt_handle_normal_to_amt, TO_AMT_4);
  EXPECT_EQ(phone_root::get_property("sys.usb.config"), "mtp,serial");
  EXPECT_TRUE(m_log.has("already activate serial, do not reset. "));
}

TEST_F(NormalToAmt, UsbWithoutSerial_GetsIt) {
  phone_root::set_property("sys.usb.config", "mtp,adb");
  modem_says({"\r\nOK\r\n"});
  modem_says({"\r\nOK\r\n"});
  run(amt_handle_normal_to_amt, TO_AMT_4);
  EXPECT_EQ(phone_root::get_property("sys.usb.config"), "serial,adb");
}

TEST_F(NormalToAmt, NoModeAtom_IsModeZero) {
  modem_says({"\r\nOK\r\n"});
  modem_says({"\r\nOK\r\n"});
  run(amt_handle_normal_to_amt, "06 00 BB C3 00 00");
  EXPECT_EQ(to_modem(), "AT^DMPCHN=0\rAT^DSWAMT=0\r");
}

TEST_F(NormalToAmt, ApplicationGone_EndsAllTheSame) {
  set_link(g_handle_context.m_pty_app.m_ptm_fd, 0);
  modem_says({"\r\nOK\r\n"});
  modem_says({"\r\nOK\r\n"});
  EXPECT_EQ(run(amt_handle_normal_to_amt, TO_AMT_4), ERR_FAIL);
  EXPECT_EQ(g_ends, 1);
}

TEST_F(NormalToAmt, BandRefused_NothingElseIsSentOrSet) {
  modem_says({"\r\nERROR\r\n"});
  EXPECT_EQ(run(amt_handle_normal_to_amt, TO_AMT_4), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DMPCHN=0\r");
  EXPECT_EQ(to_app(), TO_AMT_FAILURE);
  EXPECT_TRUE(has_trace("amt_handle_normal_to_amt", ERR_FAIL));
  EXPECT_EQ(phone_root::get_property(SWITCH_PROPERTY), "");
  EXPECT_EQ(g_ends, 0);
}

TEST_F(NormalToAmt, ModeRefused_NothingIsSetOrEnded) {
  modem_says({"\r\nOK\r\n"});
  modem_says({"\r\n+CME ERROR: 3\r\n"});
  EXPECT_EQ(run(amt_handle_normal_to_amt, TO_AMT_4), ERR_NONE);
  EXPECT_EQ(to_app(), TO_AMT_FAILURE);
  EXPECT_TRUE(has_trace("amt_handle_normal_to_amt", ERR_FAIL));
  EXPECT_EQ(phone_root::get_property(SWITCH_PROPERTY), "");
  EXPECT_EQ(phone_root::get_property("ctl.stop"), "");
  EXPECT_EQ(g_ends, 0);
}

TEST_F(NormalToAmt, BadArgumentsAndNoModem_AreRefused) {
  expect_refusals(amt_handle_normal_to_amt, "amt_handle_normal_to_amt");
  expect_refusal_without_modem(amt_handle_normal_to_amt);
  EXPECT_EQ(g_ends, 0);
}

class AppAmt1Flag : public modem_test {
 protected:
  AppAmt1Flag() { phone_root::write("/amt/power_usb_amt.txt", "1"); }
};

TEST_F(AppAmt1Flag, OperationZero_WritesTheFlag) {
  EXPECT_EQ(run(amt_handle_damt1_cmd, "0F 00 BB DB 09 00 EE C0 01 04 00 00 00 00 00"), ERR_NONE);
  EXPECT_EQ(to_app(), "18 00 BB DC 12 00 EE C0 01 04 00 00 00 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_EQ(phone_root::read("/amt/power_usb_amt.txt"), "0");
  EXPECT_TRUE(m_log.has("amt_handle_damt1_cmd op_type:0"));
  EXPECT_TRUE(m_log.has("amt_handle_damt1_cmd op_type:0; flag:0; ret_val:0."));
}

TEST_F(AppAmt1Flag, OperationTwo_ReadsTheFlag) {
  EXPECT_EQ(run(amt_handle_damt1_cmd, "0F 00 BB DB 09 00 EE C0 01 04 00 02 00 00 00"), ERR_NONE);
  EXPECT_EQ(to_app(), "18 00 BB DC 12 00 EE C0 01 04 00 01 00 00 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(AppAmt1Flag, NoAtom_IsOperationZero) {
  EXPECT_EQ(run(amt_handle_damt1_cmd, "06 00 BB DB 00 00"), ERR_NONE);
  EXPECT_EQ(phone_root::read("/amt/power_usb_amt.txt"), "0");
}

TEST_F(AppAmt1Flag, UnknownOperation_IsAnsweredWithAnErrorResponse) {
  EXPECT_EQ(run(amt_handle_damt1_cmd, "0F 00 BB DB 09 00 EE C0 01 04 00 03 00 00 00"), ERR_NONE);
  EXPECT_EQ(to_app(), "0F 00 BB DC 09 00 EE 01 01 04 00 0A 00 00 00");
  EXPECT_TRUE(m_log.has("amt_handle_damt1_cmd op_type:3; flag:0; ret_val:-101."));
  EXPECT_TRUE(has_trace("amt_handle_damt1_cmd", ERR_ARGUMENT));
}

TEST_F(AppAmt1Flag, BadArgumentsAndNoModem_AreRefused) {
  expect_refusals(amt_handle_damt1_cmd, "amt_handle_damt1_cmd");
  expect_refusal_without_modem(amt_handle_damt1_cmd);
}

}  // namespace
