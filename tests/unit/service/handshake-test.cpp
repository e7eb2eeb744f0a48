#include "amt/amt-handle/service/handshake.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <thread>

#include "amt/amt-handle/life/timer.h"
#include "tests/unit/failing-calls.h"
#include "tests/unit/links.h"
#include "tests/unit/phone-root.h"

namespace {

constexpr char STATE_FILE[] = "/sys/class/android_usb/android0/state";

void time_out(union sigval) {
  ADD_FAILURE() << "the timer of a test ran out";
}

class Handshake : public context_test {
 protected:
  Handshake() {
    phone_root::remove(STATE_FILE);
    amt_handshake_reset();
    g_usb_activate = 1;
    amt_timer_create(g_usbEnumTimer, time_out);
    amt_timer_set(g_usbEnumTimer, 60000);
    m_log.clear();
  }
  ~Handshake() override {
    amt_timer_delete(g_usbEnumTimer);
    amt_timer_delete(g_handShakeTimer);
  }
  static void set_usb_state(const char* state) { phone_root::write(STATE_FILE, state); }
  static bool waits_for_usb() { return g_usbEnumTimer.m_id != AMT_NO_TIMER; }
  static bool waits_for_pc() { return g_handShakeTimer.m_id != AMT_NO_TIMER; }
};

TEST_F(Handshake, Reset_Everything_IsForgotten) {
  g_handshake_done = 1;
  g_usb_enumerated = 1;
  amt_timer_delete(g_usbEnumTimer);
  amt_handshake_reset();
  EXPECT_EQ(g_handshake_done, 0);
  EXPECT_EQ(g_usb_enumerated, 0);
  EXPECT_FALSE(waits_for_usb());
  EXPECT_FALSE(waits_for_pc());
}

// A PC may answer before the modem reader has come back from its write.
TEST_F(Handshake, PcAnswersWithinTheModemsWrite_IsWaitedFor) {
  set_usb_state("CONFIGURED\n");
  amt_handshake_modem_begins();
  EXPECT_EQ(g_modem_is_forwarding, 1);
  std::thread modem([] {
    usleep(2000);
    amt_handshake_modem_spoke();
  });
  amt_handshake_pc_spoke();
  modem.join();
  EXPECT_EQ(g_handshake_done, 1);
  EXPECT_TRUE(m_log.has("handshake success."));
}

TEST_F(Handshake, ModemBeginsAfterTheHandshake_RaisesNoFlag) {
  g_handshake_done = 1;
  amt_handshake_modem_begins();
  EXPECT_EQ(g_modem_is_forwarding, 0);
}

volatile std::sig_atomic_t g_ends;

// Without its timers a -u start would wait for ever.
TEST_F(Handshake, NoTimerToBeHad_IsRefused) {
  set_usb_state("CONFIGURED\n");
  g_ends = 0;
  auto* const before = std::signal(SIGTERM, [](int) { g_ends = g_ends + 1; });
  rlimit limit = {};
  getrlimit(RLIMIT_SIGPENDING, &limit);
  const rlimit none = {0, limit.rlim_max};
  setrlimit(RLIMIT_SIGPENDING, &none);
  EXPECT_FALSE(amt_handshake_start_usb_timer());
  EXPECT_EQ(g_ends, 0);
  amt_handshake_modem_spoke();
  setrlimit(RLIMIT_SIGPENDING, &limit);
  std::signal(SIGTERM, before);
  EXPECT_EQ(g_ends, 1);
  EXPECT_EQ(m_log.count("no timer, the handshake is refused"), 2u);
  EXPECT_EQ(g_modem_is_forwarding, 0);
}

TEST_F(Handshake, PcSpeaksFirst_CountsAsUsbButNotAsHandshake) {
  amt_handshake_pc_spoke();
  EXPECT_EQ(g_usb_enumerated, 1);
  EXPECT_FALSE(waits_for_usb());
  EXPECT_EQ(g_handshake_done, 0);
  EXPECT_FALSE(m_log.has("handshake success."));
}

TEST_F(Handshake, ModemSpeaks_WithoutStateFile_ArmsNothing) {
  amt_handshake_modem_spoke();
  EXPECT_EQ(g_usb_enumerated, 0);
  EXPECT_TRUE(waits_for_usb());
  EXPECT_FALSE(waits_for_pc());
  EXPECT_EQ(g_modem_is_forwarding, 0);
}

TEST_F(Handshake, ModemSpeaks_UsbOnlyConnected_ArmsNothing) {
  set_usb_state("CONNECTED\n");
  amt_handshake_modem_spoke();
  EXPECT_TRUE(m_log.has("readed success from file(/sys/class/android_usb/android0/state). value: CONNECTED\n."));
  EXPECT_TRUE(waits_for_usb());
  EXPECT_FALSE(waits_for_pc());
  EXPECT_EQ(g_modem_is_forwarding, 0);
}

TEST_F(Handshake, ModemSpeaks_UsbConfigured_WaitsForThePc) {
  set_usb_state("CONFIGURED\n");
  amt_handshake_modem_spoke();
  EXPECT_EQ(g_usb_enumerated, 1);
  EXPECT_FALSE(waits_for_usb());
  EXPECT_TRUE(waits_for_pc());
  EXPECT_TRUE(m_log.has("will create timer."));
  EXPECT_TRUE(m_log.contains("], timeMSec:5000. "));
  EXPECT_EQ(g_modem_is_forwarding, 0);
}

TEST_F(Handshake, ModemSpeaksAgain_KeepsTheFirstTimer) {
  set_usb_state("CONFIGURED\n");
  amt_handshake_modem_spoke();
  m_log.clear();
  amt_handshake_modem_spoke();
  EXPECT_FALSE(m_log.has("will create timer."));
  EXPECT_TRUE(waits_for_pc());
}

TEST_F(Handshake, PcAnswersTheModem_IsTheHandshake) {
  set_usb_state("CONFIGURED\n");
  amt_handshake_modem_spoke();
  amt_handshake_pc_spoke();
  EXPECT_EQ(g_handshake_done, 1);
  EXPECT_FALSE(waits_for_pc());
  EXPECT_TRUE(m_log.has("handshake success."));
  EXPECT_TRUE(m_log.has("pthread_create() amt_handle_load_image_for_handshake success."));
  EXPECT_TRUE(m_log.has("will call amt_usb_charger_enable , type:0."));
  EXPECT_TRUE(m_log.has("call amt_usb_charge_ctrl. return:-118, current amt mode:1, usb_charge_mode:0."));
}

TEST_F(Handshake, BannerThatCannotBeStarted_IsLoggedAndTheHandshakeStands) {
  set_usb_state("CONFIGURED\n");
  amt_handshake_modem_spoke();
  {
    const failing_call refused("pthread_create", EAGAIN);
    amt_handshake_pc_spoke();
  }
  EXPECT_EQ(g_handshake_done, 1);
  EXPECT_TRUE(m_log.has("handshake success."));
  EXPECT_TRUE(
      has_failure("amt_handle_read_pc_loop", ERR_SYSTEM,
                  "pthread_create() amt_handle_load_image_for_handshake: 11 - Resource temporarily unavailable"));
  EXPECT_FALSE(m_log.has("pthread_create() amt_handle_load_image_for_handshake success."));
}

TEST_F(Handshake, PcAnswersInAmt4_ChargesFromUsb) {
  g_amt_mode = AMT_MODE_AMT4;
  g_usb_enumerated = 1;
  amt_handshake_modem_spoke();
  amt_handshake_pc_spoke();
  EXPECT_TRUE(m_log.has("will call amt_usb_charger_enable , type:1."));
  EXPECT_TRUE(m_log.has("call amt_usb_charge_ctrl. return:-118, current amt mode:4, usb_charge_mode:1."));
}

TEST_F(Handshake, BothSpeakAfterwards_NothingIsArmedAgain) {
  set_usb_state("CONFIGURED\n");
  amt_handshake_modem_spoke();
  amt_handshake_pc_spoke();
  m_log.clear();
  amt_handshake_modem_spoke();
  amt_handshake_pc_spoke();
  EXPECT_FALSE(waits_for_pc());
  EXPECT_FALSE(m_log.has("will create timer."));
  EXPECT_FALSE(m_log.has("handshake success."));
}

TEST_F(Handshake, PcSpeaksWhileTheModemHalfHangs_WaitsABoundedTime) {
  g_modem_is_forwarding = 1;
  amt_handshake_pc_spoke();
  EXPECT_TRUE(m_log.has("index is over 1000. "));
  EXPECT_EQ(g_modem_is_forwarding, 0);
}

TEST_F(Handshake, KernelReports_FollowTheCable) {
  amt_handshake_usb_configured();
  EXPECT_EQ(g_usb_enumerated, 1);
  EXPECT_FALSE(waits_for_usb());
  amt_handshake_usb_disconnected();
  EXPECT_EQ(g_usb_enumerated, 0);
}

}  // namespace
