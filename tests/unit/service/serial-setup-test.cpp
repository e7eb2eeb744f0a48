// Bringing up the links to the PC and the modem, as far as that ends before their readers start.
#include "amt/amt-handle/service/serial-setup.h"

#include <cerrno>
#include <chrono>
#include <filesystem>

#include "tests/unit/failing-calls.h"
#include "tests/unit/links.h"
#include "tests/unit/signal-scope.h"

namespace {

std::size_t open_descriptors() {
  using files = std::filesystem::directory_iterator;
  return static_cast<std::size_t>(std::distance(files("/proc/self/fd"), files()));
}

class SerialSetup : public context_test {
 protected:
  // What the set-up itself opens counts, and nothing else.
  SerialSetup() {
    set_link(g_handle_context.m_fd_pc, 0);
    set_link(g_handle_context.m_fd_modem, 0);
    g_usb_state = AMT_USB_OTHER;
  }
  void expect_nothing_left(std::size_t descriptors) {
    EXPECT_EQ(g_handle_context.m_fd_pc, 0);
    EXPECT_EQ(g_handle_context.m_fd_modem, 0);
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_EQ(g_usb_state, AMT_USB_UNKNOWN);
    for (const auto* thread :
         {&g_handle_context.m_pc_thread, &g_handle_context.m_modem_thread, &g_handle_context.m_usb_thread}) {
      EXPECT_EQ(thread->m_tid, 0);
    }
  }
};

// A minute for the device, then a second to settle, as if it had come.
TEST_F(SerialSetup, PcDeviceThatDoesNotCome_IsTriedSixtyTimesASecondApart) {
  set_device(g_amt_cfg.m_tty_pc_a, "/no/such/tty");
  const auto descriptors = open_descriptors();
  const noted_sleeps sleeps;
  EXPECT_EQ(init_for_amt_1_4(), ERR_SYSTEM);
  EXPECT_EQ(sleeps.milliseconds(), std::vector<std::uint32_t>(61, 1000));
  EXPECT_TRUE(m_log.has("(59/60)try to open device \"/no/such/tty\""));
  EXPECT_FALSE(m_log.has("(60/60)try to open device \"/no/such/tty\""));
  EXPECT_FALSE(m_log.contains("m_fd_modem"));
  expect_nothing_left(descriptors);
}

TEST_F(SerialSetup, ModemDeviceThatDoesNotCome_IsTriedAsOftenAndThePcClosed) {
  const pty_link line;
  set_device(g_amt_cfg.m_tty_pc_a, line.name());
  set_device(g_amt_cfg.m_tty_modem_a, "/no/such/tty");
  const auto descriptors = open_descriptors();
  const noted_sleeps sleeps;
  EXPECT_EQ(init_for_amt_1_4(), ERR_SYSTEM);
  EXPECT_EQ(sleeps.milliseconds(), std::vector<std::uint32_t>(61, 1000));
  expect_nothing_left(descriptors);
}

class SerialTerminalCall : public SerialSetup, public testing::WithParamInterface<const char*> {};

TEST_P(SerialTerminalCall, Refused_EndsTheSetUpWithThePcClosed) {
  const pty_link line;
  set_device(g_amt_cfg.m_tty_pc_a, line.name());
  const auto descriptors = open_descriptors();
  const noted_sleeps sleeps;
  const failing_call refused(GetParam(), EIO);
  EXPECT_EQ(init_for_amt_1_4(), ERR_WRITE);
  EXPECT_TRUE(m_log.has("sys call: " + std::string(GetParam()) + "() failed! errno = 5"));
  EXPECT_FALSE(m_log.contains("m_fd_modem"));
  expect_nothing_left(descriptors);
}

INSTANTIATE_TEST_SUITE_P(Each, SerialTerminalCall,
                         testing::Values("tcgetattr", "cfsetispeed", "cfsetospeed", "tcsetattr"),
                         [](const auto& call) { return std::string(call.param); });

class SerialThread : public SerialSetup, public testing::WithParamInterface<int> {};

TEST_P(SerialThread, ThatCannotBeStarted_StopsTheOthersAndClosesBothLinks) {
  const signal_scope scope;
  const pty_link line;
  const pty_link modem;
  set_device(g_amt_cfg.m_tty_pc_a, line.name());
  set_device(g_amt_cfg.m_tty_modem_a, modem.name());
  const auto descriptors = open_descriptors();
  const failing_call refused("pthread_create", EAGAIN, "", GetParam());
  EXPECT_EQ(init_for_amt_1_4(), ERR_SYSTEM);
  // Apart: those who started before may log between the two.
  EXPECT_TRUE(m_log.contains("FUNC-init_for_amt_1_4(), error_code=-118, errno="));
  EXPECT_EQ(m_log.count("pthread_create(): 11 - Resource temporarily unavailable"), 1u);
  EXPECT_EQ(m_log.count("pub_util_kill_thread()"), static_cast<std::size_t>(GetParam()));
  expect_nothing_left(descriptors);
}

INSTANTIATE_TEST_SUITE_P(Each, SerialThread, testing::Values(0, 1, 2),
                         [](const auto& spared) { return "After" + std::to_string(spared.param); });

TEST_F(SerialSetup, PcDeviceThatIsNoTerminal_FailsAfterItHadTimeToSettle) {
  set_device(g_amt_cfg.m_tty_pc_a, "/dev/null");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(init_for_amt_1_4(), ERR_WRITE);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1000));
  EXPECT_TRUE(m_log.has("sys call: tcgetattr() failed! errno = 25"));
  EXPECT_FALSE(m_log.contains("m_fd_modem"));
  EXPECT_EQ(g_handle_context.m_fd_pc, 0);
  EXPECT_EQ(g_handle_context.m_pc_thread.m_tid, 0);
}

TEST_F(SerialSetup, ModemWithoutAName_FailsAndClosesThePc) {
  const pty_link line;
  termios cooked = {};
  ASSERT_EQ(tcgetattr(line.service_end(), &cooked), 0);
  cooked.c_iflag |= ICRNL | INLCR | IXON;
  cooked.c_oflag |= OPOST | ONLCR;
  cooked.c_lflag |= ICANON | ECHO | ISIG;
  ASSERT_EQ(tcsetattr(line.service_end(), TCSANOW, &cooked), 0);
  set_device(g_amt_cfg.m_tty_pc_a, line.name());
  EXPECT_EQ(init_for_amt_1_4(), ERR_ARGUMENT);
  EXPECT_EQ(g_handle_context.m_fd_pc, 0);
  termios raw = {};
  ASSERT_EQ(tcgetattr(line.service_end(), &raw), 0);
  close(line.service_end());
  EXPECT_EQ(raw.c_iflag & (IXON | ICRNL | INLCR), 0u);
  EXPECT_EQ(raw.c_oflag & OPOST, 0u);
  EXPECT_EQ(raw.c_lflag, 0u);
  EXPECT_EQ(cfgetispeed(&raw), static_cast<speed_t>(B115200));
  EXPECT_EQ(cfgetospeed(&raw), static_cast<speed_t>(B115200));
}

}  // namespace
