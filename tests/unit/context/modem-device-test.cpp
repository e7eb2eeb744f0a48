#include "amt/amt-handle/context/modem-device.h"

#include <gtest/gtest.h>
#include <termios.h>

#include <string>

#include "tests/unit/links.h"

namespace {

constexpr char UART[] = "/dev/ttyS77";

class ModemDevice : public context_test {
 protected:
  ModemDevice() {
    set_device(g_amt_cfg.m_tty_modem_a, UART);
    g_amt_cfg.m_modem_uart_amt_baudrate = 460800;
  }
  ~ModemDevice() override { close(m_line.service_end()); }
  speed_t speed() const {
    termios attributes = {};
    EXPECT_EQ(tcgetattr(m_line.service_end(), &attributes), 0);
    return cfgetospeed(&attributes);
  }
  static std::string opening_line(int fd, const std::string& name) {
    return "pub_util_try_to_open_device, handle_context_st.m_fd_modem  = " + std::to_string(fd) +
           ", amt_cfg_st.m_tty_modem_a = " + name + "\n";
  }

  pty_link m_line;
};

TEST_F(ModemDevice, Name_OfAUart_IsKnown) {
  EXPECT_TRUE(amt_modem_is_uart());
  for (const char* name : {"/dev/ttyMODEM", "/dev/ttys0", "/dev/tty", "", "ttyS0"}) {
    set_device(g_amt_cfg.m_tty_modem_a, name);
    EXPECT_FALSE(amt_modem_is_uart()) << name;
  }
}

TEST_F(ModemDevice, OpenedUart_IsLoggedAndGetsItsSpeed) {
  amt_modem_finish_opening(m_line.service_end());
  EXPECT_EQ(m_log.texts().at(0), opening_line(m_line.service_end(), UART));
  EXPECT_TRUE(m_log.has("convert speed 460800 -> B460800"));
  EXPECT_EQ(speed(), static_cast<speed_t>(B460800));
}

TEST_F(ModemDevice, OpenedOtherDevice_KeepsItsSpeed) {
  set_device(g_amt_cfg.m_tty_modem_a, "/dev/ttyMODEM");
  amt_modem_finish_opening(m_line.service_end());
  EXPECT_EQ(m_log.texts(), std::vector<std::string>{opening_line(m_line.service_end(), "/dev/ttyMODEM")});
  EXPECT_EQ(speed(), static_cast<speed_t>(B38400));
}

TEST_F(ModemDevice, OpeningThatFailed_IsLoggedOnly) {
  for (const int fd : {0, -1}) {
    m_log.clear();
    amt_modem_finish_opening(fd);
    EXPECT_EQ(m_log.texts(), std::vector<std::string>{opening_line(fd, UART)});
  }
}

}  // namespace
