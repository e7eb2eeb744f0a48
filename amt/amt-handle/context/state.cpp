#include "amt/amt-handle/context/state.h"

relaxed<std::int32_t> g_usb_activate;
relaxed<std::int32_t> g_amt_mode;
std::atomic<std::uint8_t> g_cur_treat_cmd_type;
relaxed<std::int32_t> g_power_supply_is_ac;
relaxed<std::int32_t> g_usb_enumerated;
relaxed<std::int32_t> g_handshake_done;
relaxed<std::int32_t> g_modem_is_forwarding;
relaxed<std::uint8_t> g_usb_state;
relaxed<std::int32_t> g_no_modem;
relaxed<std::int32_t> g_run_mode;

std::int32_t amt_handle_get_run_mode() {
  return g_run_mode;
}
