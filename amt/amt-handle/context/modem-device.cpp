#include "amt/amt-handle/context/modem-device.h"

#include <string_view>

#include "amt/amt-cfg.h"
#include "amt/amt-handle/context/log-module.h"
#include "pub/util/device.h"

bool amt_modem_is_uart() {
  return std::string_view(g_amt_cfg.m_tty_modem_a).starts_with("/dev/ttyS");
}

void amt_modem_finish_opening(int fd) {
  LOG_LINE("pub_util_try_to_open_device, handle_context_st.m_fd_modem  = %d, amt_cfg_st.m_tty_modem_a = %s\n", fd,
           g_amt_cfg.m_tty_modem_a);
  if (fd > 0 && amt_modem_is_uart()) pub_util_set_serial_dev_attr(fd, g_amt_cfg.m_modem_uart_amt_baudrate);
}
