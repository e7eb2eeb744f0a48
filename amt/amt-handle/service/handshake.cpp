#include "amt/amt-handle/service/handshake.h"

#include <cstring>

#include "amt/amt-device/battery.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/life/lifetime.h"
#include "amt/amt-handle/life/timer.h"
#include "amt/amt-record/amt1-flag.h"
#include "amt/amt-screen/banner.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/signals.h"
#include "pub/util/thread.h"

namespace {

constexpr std::int32_t USB_ENUM_SECONDS = 20;
constexpr std::int32_t HANDSHAKE_SECONDS = 5;
constexpr int FORWARDING_POLLS = 1000;
constexpr std::uint32_t FORWARDING_POLL_US = 20;

pub_thread_st g_banner_thread;

// A timer's thread may start just as the timer is deleted because its aim was reached. Then there is nothing to do.
void usb_enum_timed_out(union sigval) {
  pub_util_block_signals();  // whatever this platform's timer threads start with
  if (!amt_timer_expire(g_usbEnumTimer)) return;
  LOG_LINE("usb enum timeout. time:%d seconds.", USB_ENUM_SECONDS);
  amt_handle_exit_refused();
}

void handshake_timed_out(union sigval) {
  pub_util_block_signals();
  if (!amt_timer_expire(g_handShakeTimer)) return;
  LOG_LINE("timeout. time:%d seconds.", HANDSHAKE_SECONDS);
  amt_handle_exit_refused();
}

// A handshake without its timer would wait for ever: it is refused.
bool start_timer(amt_timer_st& timer, amt_timer_action action, std::int32_t seconds) {
  if (amt_timer_start(timer, action, seconds * 1000)) return true;
  pub_log_failure(k_log, ERR_SYSTEM, "no timer, the handshake is refused");
  return false;
}

// The modem reader may just be between forwarding and its own half: let it finish, but never keep the PC waiting.
void wait_for_modem_half() {
  for (int poll = 0; poll < FORWARDING_POLLS; ++poll) {
    if (g_modem_is_forwarding == 0) return;
    pub_util_sleep_us(FORWARDING_POLL_US);
  }
  LOG_LINE("index is over 1000. ");
  g_modem_is_forwarding = 0;
}

void show_banner() {
  amt_handle_load_image_for_handshake();
  pub_util_clear_thread(g_banner_thread);
}

void start_banner() {
  const int error = pub_util_start_thread(g_banner_thread, show_banner);
  if (error != 0) {
    pub_log_failure({k_log, 4350, "amt_handle_read_pc_loop"}, ERR_SYSTEM,
                    "pthread_create() amt_handle_load_image_for_handshake: %d - %s", error, std::strerror(error));
  } else {
    LOG_LINE("pthread_create() amt_handle_load_image_for_handshake success.");
  }
}

void complete() {
  g_handshake_done = 1;
  if (!amt_timer_delete(g_handShakeTimer)) return;  // just too late: the timer's action is ending the service
  LOG_LINE("handshake success.");
  start_banner();
  const std::int32_t charge = g_amt_mode == AMT_MODE_AMT4 ? 1 : 0;
  const result_code_en result = amt_usb_charge_ctrl(charge);
  LOG_LINE("call amt_usb_charge_ctrl. return:%d, current amt mode:%d, usb_charge_mode:%d.", result,
           std::int32_t{g_amt_mode}, charge);
}

void look_for_configured_usb() {
  char state[AMT_CONTENT_SIZE];
  if (amt_read_data_from_file(state, AMT_USB_STATE_FILE) != ERR_NONE) return;
  LOG_LINE("readed success from file(%s). value: %s.", AMT_USB_STATE_FILE, state);
  if (std::strstr(state, "CONFIGURED") != nullptr) amt_handshake_usb_configured();
}

}  // namespace

void amt_handshake_reset() {
  g_handshake_done = 0;
  g_usb_enumerated = 0;
  g_handShakeTimer.m_id = AMT_NO_TIMER;
  g_usbEnumTimer.m_id = AMT_NO_TIMER;
}

bool amt_handshake_start_usb_timer() {
  return start_timer(g_usbEnumTimer, usb_enum_timed_out, USB_ENUM_SECONDS);
}

void amt_handshake_pc_spoke() {
  if (g_handshake_done == 0) wait_for_modem_half();
  if (g_usb_enumerated == 0) amt_handshake_usb_configured();
  if (g_handshake_done == 0 && g_handShakeTimer.m_id != AMT_NO_TIMER) complete();
}

void amt_handshake_modem_begins() {
  if (g_handshake_done == 0) g_modem_is_forwarding = 1;
}

void amt_handshake_modem_spoke() {
  amt_handshake_modem_begins();
  if (g_usb_enumerated == 0) look_for_configured_usb();
  // The timer is read before the flag: a thread that sees it deleted by a completed handshake sees the flag set, too.
  if (g_usb_enumerated != 0 && g_handShakeTimer.m_id == AMT_NO_TIMER && g_handshake_done == 0) {
    LOG_LINE("will create timer.");
    if (!start_timer(g_handShakeTimer, handshake_timed_out, HANDSHAKE_SECONDS)) amt_handle_exit_refused();
  }
  g_modem_is_forwarding = 0;
}

void amt_handshake_usb_configured() {
  amt_timer_delete(g_usbEnumTimer);
  g_usb_enumerated = 1;
}

void amt_handshake_usb_disconnected() {
  g_usb_enumerated = 0;
}
