// Bringing up the links to the PC and the modem, as far as that ends before their readers start.
#include "amt/amt-handle/service/serial-setup.h"

#include <chrono>

#include "tests/unit/links.h"

namespace {

class SerialSetup : public context_test {};

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
