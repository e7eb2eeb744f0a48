#include "amt/amt-handle/service/init.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <tuple>

#include "amt/amt-cfg.h"
#include "amt/amt-device/battery.h"
#include "amt/amt-device/misc-library.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/life/lifetime.h"
#include "amt/amt-handle/pc/capture.h"
#include "amt/amt-handle/service/handshake.h"
#include "amt/amt-handle/service/platform-setup.h"
#include "amt/amt-handle/service/registrations.h"
#include "amt/amt-handle/service/serial-setup.h"
#include "amt/amt-record/amt1-flag.h"
#include "amt/amt-record/wifi-address.h"
#include "platform/property.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr int CHARGE_MODE_TRIES = 20;
constexpr std::uint32_t CHARGE_MODE_PAUSE_MS = 1000;

// Asks until the supply is known. A phone whose supply stays unknown is treated as fed by an AC charger, on purpose.
std::int32_t find_charge_mode() {
  result_code_en result = ERR_NONE;
  std::int32_t mode = AMT_CHARGE_NOT_VALID;
  for (int tries = 0; tries < CHARGE_MODE_TRIES; ++tries) {
    result = amt_get_charge_mode(&mode);
    LOG_LINE("after amt_get_charge_mode. return:%d, mode:%d.", result, mode);
    if (result == ERR_NONE && (mode == AMT_CHARGE_AC || mode == AMT_CHARGE_USB)) return mode;
    LOG_LINE("return mode is not valid or return error. will recall get function. return:%d, mode:%d.", result, mode);
    pub_util_sleep_ms(CHARGE_MODE_PAUSE_MS);
  }
  LOG_LINE("through (%d) time's try. do not get valid mode, will exit as ac charge. return:%d, mode:%d.",
           CHARGE_MODE_TRIES, result, mode);
  return AMT_CHARGE_AC;
}

// Whether a start on USB insertion may enter factory test. ERR_FAIL, with the process about to end, when not.
result_code_en admit_handshake() {
  LOG_LINE("will treat handshake.");
  amt_handshake_reset();
  if (find_charge_mode() == AMT_CHARGE_AC) {
    LOG_LINE("power-supply is ac, do not enter amt by handshake. will exit");
    g_power_supply_is_ac = 1;
    amt_handle_exit_refused();
    return ERR_FAIL;
  }
  if (!amt_is_handshake_permitted_by_file()) {
    LOG_LINE("do not permit to enter amt by handshake. will exit");
    amt_handle_exit_refused();
    return ERR_FAIL;
  }
  LOG_LINE("permit to enter amt by handshake.");
  return ERR_NONE;
}

void make_record_folders() {
  if (amt_make_folder("/amt/BT") == ERR_NONE) std::ignore = amt_make_folder("/amt/WIFI");
}

void reset_context() {
  amt_handle_clear_context();
  auto& mapping = g_handle_context.m_pty_app.m_pts_mapping_name_a;
  static_assert(sizeof mapping == sizeof g_amt_cfg.m_tty_app_a);
  std::copy(std::begin(g_amt_cfg.m_tty_app_a), std::end(g_amt_cfg.m_tty_app_a), mapping);
}

void register_handlers() {
  for (const auto& row : amt_handle_registrations()) {
    // The table cannot hold an id that is refused.
    std::ignore = amt_handle_reg_handle_func(row.m_link, row.m_request_id, row.m_handler, row.m_pre_response);
  }
}

bool is_serial_setup_wanted(std::int32_t normal_mode) {
  if (normal_mode == 0) return true;
  char value[PROPERTY_VALUE_MAX] = "";
  if (property_get(AMT_SWITCH_PROPERTY, value, "@##@") > 0)
    LOG_LINE("property-%s value: %s", AMT_SWITCH_PROPERTY, value);
  if (std::strcmp(value, "1") != 0) return false;
  LOG_LINE("will create amt1/4 thread. ");
  return true;
}

void run_on_folder(const char* command_format, const char* path) {
  char command[99];
  std::snprintf(command, sizeof command, "%s %s", command_format, path);
  if (pub_util_run_command(command) != 0) LOG_LINE("%s failed", command);
}

}  // namespace

result_code_en amt_handle_init(std::int32_t normal_mode) {
  pub_log_entry(k_log);
  g_power_supply_is_ac = 0;
  g_amt_mode = AMT_MODE_AMT1;
  amt_device_init_library_paths();
  g_modem_is_forwarding = 0;
  if (g_usb_activate != 0) {
    const result_code_en admission = admit_handshake();
    if (admission != ERR_NONE) return admission;
  }
  handle_amt_clear_capture();
  make_record_folders();
  std::ignore = amt_write_wifi_to_nvram_file();  // logged; a phone without WiFi is tested all the same
  reset_context();
  register_handlers();
  g_no_modem = 0;
  const result_code_en result = is_serial_setup_wanted(normal_mode) ? init_for_amt_1_4() : init_for_amt_2_3();
  if (result == ERR_NONE) g_run_mode = normal_mode;
  return result;
}

result_code_en amt_make_folder(const char* path) {
  pub_log_entry(k_log);
  if (access(path, F_OK) == 0) {
    LOG_LINE("amt_make_folder: %s exist.\r\n", path);
    return ERR_NONE;
  }
  if (errno != ENOENT && errno != ENOTDIR) {  // whether it exists is not known
    return pub_fail(k_log, ERR_SYSTEM, "amt_make_folder access(%s) faild errno[%d] strerror[%s]", path, errno,
                    std::strerror(errno));
  }
  LOG_LINE("amt_make_folder: %s does not exist.\r\n", path);
  if (mkdir(path, 0777) != 0) {
    return pub_fail(k_log, ERR_SYSTEM, "amt_make_folder mkdir(%s) faild errno[%d] strerror[%s]", path, errno,
                    std::strerror(errno));
  }
  LOG_LINE("amt_make_folder mkdir(%s) successfully", path);
  run_on_folder("chgrp -R radio", path);
  run_on_folder("chmod 766", path);
  return ERR_NONE;
}
