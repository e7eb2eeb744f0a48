// A modem behind a real UART, reopened for a block of the PC: its line speed is set.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "amt/amt-handle/pc/dispatch.h"
#include "tests/unit/links.h"
#include "tests/unit/phone-root.h"
#include "tests/unit/wait-for.h"

namespace {

constexpr char UART[] = "/dev/ttyS77";

class DispatchUart : public context_test {
 protected:
  DispatchUart() {
    phone_root::remove(UART);
    std::filesystem::create_symlink(m_line.name(), UART);
    set_device(g_amt_cfg.m_tty_modem_a, UART);
    set_link(g_handle_context.m_fd_modem, 0);
    set_message(g_handle_context.m_request, "ATI\r");
  }
  ~DispatchUart() override { close(m_line.service_end()); }
  speed_t speed() const {
    termios attributes = {};
    EXPECT_EQ(tcgetattr(m_line.service_end(), &attributes), 0);
    return cfgetospeed(&attributes);
  }

  pty_link m_line;
};

TEST_F(DispatchUart, Reopened_GetsTheSpeedOfFrames) {
  g_amt_cfg.m_modem_uart_amt_baudrate = 460800;
  EXPECT_EQ(handle_amt_pc_req(), 0);
  EXPECT_EQ(speed(), static_cast<speed_t>(B460800));
  EXPECT_TRUE(m_log.has("convert speed 460800 -> B460800"));
}

TEST_F(DispatchUart, AwayForAMoment_IsTriedAgainAfterASecond) {
  phone_root::remove(UART);
  std::thread return_of_the_modem([this] {
    EXPECT_TRUE(wait_for([this] { return m_log.contains("open device \"/dev/ttyS77\" fail: 2"); }));
    std::filesystem::create_symlink(m_line.name(), UART);
  });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(handle_amt_pc_req(), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1000));
  return_of_the_modem.join();
  EXPECT_TRUE(m_log.has("(1/60)try to open device \"/dev/ttyS77\""));
  EXPECT_FALSE(m_log.contains("(2/60)"));
  EXPECT_EQ(m_pc.received(), "");
}

TEST_F(DispatchUart, NotReopened_KeepsItsSpeed) {
  g_amt_cfg.m_modem_uart_amt_baudrate = 460800;
  socket_link modem;
  set_link(g_handle_context.m_fd_modem, modem.service_end());
  EXPECT_EQ(handle_amt_pc_req(), 0);
  EXPECT_EQ(speed(), static_cast<speed_t>(B38400));
}

}  // namespace
