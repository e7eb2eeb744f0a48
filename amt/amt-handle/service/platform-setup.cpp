#include "amt/amt-handle/service/platform-setup.h"

#include <fcntl.h>

#include <tuple>

#include "amt/amt-cfg.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/modem/at-link.h"
#include "amt/amt-handle/service/app-link.h"
#include "pub/pty/pty.h"
#include "pub/result.h"
#include "pub/util/device.h"
#include "pub/util/io.h"
#include "pub/util/thread.h"

namespace {

constexpr std::uint32_t OPEN_TRIES = 30;
constexpr std::uint32_t OPEN_PAUSE_MS = 1000;

// Any answer to the silencing, an error too, comes from a modem.
bool is_modem_there() {
  auto& fd = g_handle_context.m_fd_at;
  if (pub_util_try_to_open_device(&fd, g_amt_cfg.m_tty_at_mux_a, O_RDWR, OPEN_TRIES, OPEN_PAUSE_MS) != ERR_NONE) {
    return false;
  }
  return disable_unsolicited_code(fd) != ERR_TIMEOUT;
}

void open_modem() {
  if (is_modem_there()) return;
  g_no_modem = 1;
  LOG_WARNING("The AT device is not opened with modem.");
}

result_code_en start_reader() {
  const int error = pub_util_start_thread(g_handle_context.m_app_thread, amt_handle_read_app_loop);
  if (error == 0) return ERR_NONE;
  return pub_fail({k_log, "init_for_amt_2_3"}, ERR_SYSTEM, "pthread_create() fail: %d", error);
}

// The reader is started last: when this runs, there is no reader to stop.
void clean_up() {
  g_handle_context.m_fd_at.close();
  std::ignore = pub_pty_close(&g_handle_context.m_pty_app);
}

}  // namespace

result_code_en init_for_amt_2_3() {
  pub_log_entry(k_log);
  result_code_en result = pub_pty_open(&g_handle_context.m_pty_app);
  if (result == ERR_NONE) {
    open_modem();
    result = start_reader();
  }
  if (result != ERR_NONE) {
    clean_up();
    return result;
  }
  g_amt_mode = AMT_MODE_PLATFORM;
  return ERR_NONE;
}
