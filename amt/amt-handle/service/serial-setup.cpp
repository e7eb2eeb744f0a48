#include "amt/amt-handle/service/serial-setup.h"

#include <fcntl.h>
#include <termios.h>

#include <cstring>

#include "amt/amt-cfg.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/modem-device.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/life/lifetime.h"
#include "amt/amt-handle/service/handshake.h"
#include "amt/amt-handle/service/modem-link.h"
#include "amt/amt-handle/service/pc-link.h"
#include "amt/amt-handle/service/usb-monitor.h"
#include "pub/result.h"
#include "pub/util/device.h"
#include "pub/util/io.h"

namespace {

constexpr std::uint32_t OPEN_TRIES = 60;
constexpr std::uint32_t OPEN_PAUSE_MS = 1000;
constexpr std::uint32_t SETTLE_MS = 1000;

// The PC line is always 115200, raw; control flags and characters stay as they are.
result_code_en set_serial_dev_attr(int fd) {
  pub_log_entry(k_log);
  termios attributes = {};
  if (tcgetattr(fd, &attributes) != 0) return pub_fail_sys_call(k_log, ERR_WRITE, "tcgetattr");
  if (cfsetispeed(&attributes, B115200) != 0) return pub_fail_sys_call(k_log, ERR_WRITE, "cfsetispeed");
  if (cfsetospeed(&attributes, B115200) != 0) return pub_fail_sys_call(k_log, ERR_WRITE, "cfsetospeed");
  attributes.c_iflag &= ~static_cast<tcflag_t>(IXON | ICRNL | INLCR);
  attributes.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  attributes.c_lflag = 0;
  if (tcsetattr(fd, TCSANOW, &attributes) != 0) return pub_fail_sys_call(k_log, ERR_WRITE, "tcsetattr");
  return ERR_NONE;
}

result_code_en open_pc_link() {
  auto& fd = g_handle_context.m_fd_pc;
  const result_code_en result =
      pub_util_try_to_open_device(&fd, g_amt_cfg.m_tty_pc_a, O_RDWR, OPEN_TRIES, OPEN_PAUSE_MS);
  pub_util_sleep_ms(SETTLE_MS);
  return result == ERR_NONE ? set_serial_dev_attr(fd) : result;
}

result_code_en open_modem_link() {
  auto& fd = g_handle_context.m_fd_modem;
  const result_code_en result =
      pub_util_try_to_open_device(&fd, g_amt_cfg.m_tty_modem_a, O_RDWR, OPEN_TRIES, OPEN_PAUSE_MS);
  amt_modem_finish_opening(g_handle_context.m_fd_modem);
  return result;
}

result_code_en start_thread(pub_thread_st& thread, void (*entry)()) {
  const int error = pub_util_start_thread(thread, entry);
  if (error == 0) return ERR_NONE;
  return pub_fail({k_log, "init_for_amt_1_4"}, ERR_SYSTEM, "pthread_create(): %d - %s", error, std::strerror(error));
}

result_code_en start_threads() {
  auto& context = g_handle_context;
  result_code_en result = start_thread(context.m_pc_thread, amt_handle_read_pc_loop);
  if (result == ERR_NONE) result = start_thread(context.m_modem_thread, amt_handle_read_modem_loop);
  if (result != ERR_NONE) return result;
  g_usb_state = AMT_USB_UNKNOWN;
  return start_thread(context.m_usb_thread, amt_handle_monitor_usb_loop);
}

void clean_up() {
  auto& context = g_handle_context;
  g_usb_state = AMT_USB_UNKNOWN;
  for (pub_thread_st* thread : {&context.m_modem_thread, &context.m_pc_thread, &context.m_usb_thread}) {
    if (thread->m_tid != 0) pub_util_kill_thread(thread);
    pub_util_clear_thread(*thread);
  }
  context.m_fd_modem.close();
  context.m_fd_pc.close();
}

}  // namespace

result_code_en init_for_amt_1_4() {
  pub_log_entry(k_log);
  if (g_usb_activate != 0 && !amt_handshake_start_usb_timer()) {
    amt_handle_exit_refused();
    return ERR_FAIL;
  }
  result_code_en result = open_pc_link();
  if (result == ERR_NONE) result = open_modem_link();
  if (result == ERR_NONE) result = start_threads();
  if (result != ERR_NONE) clean_up();
  return result;
}
