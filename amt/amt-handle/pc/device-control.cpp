// Each command is answered OK or ERROR; only one that lacks its first field gives ERR_ARGUMENT instead, and the
// dispatcher answers it with its error frame. A sequence that fails half-way is left as it is: the station stops what
// it started.
#include "amt/amt-handle/pc/device-control.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "amt/amt-device/hwt-call.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "platform/hwt.h"
#include "pub/result.h"

namespace {

constexpr std::uint8_t FIRST_RX_CHANNEL = 6;
constexpr std::int32_t STOP = 0;
constexpr std::int32_t START = 1;
constexpr std::int32_t GPS_START_AND_READ = 2;

relaxed<std::uint8_t> g_wifi_rx_channel = FIRST_RX_CHANNEL;  // of the last receive test that started

void log_command(const char* function) {
  const std::string_view text = handle_amt_request_text();
  LOG_ENTRY_OF(function);
  LOG_LINE("received at command:%.*s", static_cast<int>(text.size()), text.data());
}

std::int32_t reply(std::int32_t result) {
  return result == ERR_NONE ? handle_amt_reply_ok() : handle_amt_reply_error();
}

// The value of the next comma field; none, logged, when there is no further field.
std::optional<std::int32_t> take_value(const char* function, std::string_view& rest, const char* name) {
  const auto field = handle_amt_next_field(rest);
  if (field) return handle_amt_field_value(*field);
  LOG_FAILURE_OF(function, ERR_ARGUMENT);
  LOG_LINE("%s is null!!!", name);
  return std::nullopt;
}

std::optional<std::int32_t> take_only_value(const char* prefix) {
  amt_parameter_text text;
  if (handle_amt_take_at_para(prefix, text) != ERR_NONE) return std::nullopt;
  return handle_amt_field_value(text);
}

std::int32_t check_wifi(const char* function) {
  // The error line names the Bluetooth operation: on purpose, field tools look for it.
  const amt_hwt_step_st step{&k_log, __LINE__, function, "wifi connectivity check", "hwt_btCtrl"};
  return amt_device_call_hwt(step, hwt_wifiCheck);
}

std::int32_t check_gps(const char* function) {
  const amt_hwt_step_st step{&k_log, __LINE__, function, "GPS connectivity check", "hwt_gpsCheck"};
  return amt_device_call_hwt(step, hwt_gpsCheck);
}

std::int32_t check_bt(const char* function) {
  const amt_hwt_step_st step{&k_log, __LINE__, function, "BT hardware check", "hwt_btCheck"};
  return amt_device_call_hwt(step, hwt_btCheck);
}

std::int32_t handle_amt_device_conn_chk(const char* prefix, std::string_view) {
  log_command(__func__);
  const auto device = take_only_value(prefix);
  if (device == 0) return reply(check_wifi(__func__));
  if (device == 1) return reply(check_gps(__func__));
  if (device == 3) return reply(check_bt(__func__));
  return handle_amt_reply_error();
}

std::int32_t handle_amt_device_bt_ctrl(const char* prefix, std::string_view) {
  log_command(__func__);
  const auto control = take_only_value(prefix);
  if (control == STOP) {
    return reply(amt_device_call_hwt(AMT_HWT_STEP("BT-stop", "hwt_btCtrl"), [] { return hwt_btCtrl(0); }));
  }
  if (control == START) {
    return reply(amt_device_call_hwt(AMT_HWT_STEP("BT-start", "hwt_btCtrl"), [] { return hwt_btCtrl(1); }));
  }
  return handle_amt_reply_error();
}

// GPS is started, then one satellite is read; it is left running.
std::int32_t start_and_read_gps(const char* function, std::string_view rest) {
  const amt_hwt_step_st start{&k_log, __LINE__, function, "GPS-start", "hwt_gpsCtrl", "start gps firstly, "};
  if (amt_device_call_hwt(start, [] { return hwt_gpsCtrl(1, 0, nullptr, nullptr); }) != ERR_NONE) {
    return handle_amt_reply_error();
  }
  const auto index = take_value(function, rest, "index");
  if (!index) return handle_amt_reply_error();

  int svid = 0;
  int cnr = 0;
  const amt_hwt_step_st read{&k_log, __LINE__, function, "GPS-READ-SIGNAL", "hwt_gpsCtrl"};
  const std::int32_t result = amt_device_call_hwt(
      read, amt_hwt_detail(". index:%d", *index), [&] { return hwt_gpsCtrl(2, *index, &svid, &cnr); },
      [&] { return amt_hwt_detail("; index:%d; svid:%d; cnr:%d", *index, svid, cnr); });
  if (result != ERR_NONE) return handle_amt_reply_error();
  return handle_amt_reply("\r\n^DGPSCTRL: %d,%d\r\n\r\nOK\r\n", svid, cnr);
}

std::int32_t handle_amt_device_gps_ctrl(const char*, std::string_view rest) {
  log_command(__func__);
  const auto flag = take_value(__func__, rest, "flag");
  if (!flag) return ERR_ARGUMENT;
  LOG_LINE("getted flag:%d.", *flag);
  if (*flag == STOP) {
    return reply(amt_device_call_hwt(AMT_HWT_STEP("GPS-stop", "hwt_gpsCtrl"),
                                     [] { return hwt_gpsCtrl(0, 0, nullptr, nullptr); }));
  }
  if (*flag == GPS_START_AND_READ) return start_and_read_gps(__func__, rest);
  return handle_amt_reply_error();
}

std::int32_t start_wifi(const char* function) {
  const amt_hwt_step_st step{&k_log, __LINE__, function, "WIFI-start", "hwt_wifiCtrl", "start wifi firstly, "};
  return amt_device_call_hwt(step, [] { return hwt_wifiCtrl(1); });
}

std::int32_t stop_wifi(const char* function) {
  const amt_hwt_step_st step{&k_log, __LINE__, function, "WIFI-stop", "hwt_wifiCtrl", "then will stop wifi, "};
  return amt_device_call_hwt(step, [] { return hwt_wifiCtrl(0); });
}

std::int32_t start_tx(const char* function, std::string_view rest) {
  if (start_wifi(function) != ERR_NONE) return ERR_FAIL;
  const auto channel_value = take_value(function, rest, "channel");
  const auto rate_value = channel_value ? take_value(function, rest, "rate") : std::nullopt;
  const auto power_value = rate_value ? take_value(function, rest, "power") : std::nullopt;
  if (!power_value) return ERR_ARGUMENT;

  const auto channel = static_cast<std::uint8_t>(*channel_value);
  const auto rate = static_cast<std::uint16_t>(*rate_value);
  const auto power = static_cast<std::int16_t>(*power_value);
  const amt_hwt_step_st step{&k_log, __LINE__, function, "WIFI-TX-start", "hwt_TxTest"};
  return amt_device_call_hwt(step,
                             amt_hwt_detail(". channel:%d; power:%d; rate:%d(will multi 100)", channel, power, rate),
                             [=] { return hwt_TxTest(1, power, rate, channel); });
}

std::int32_t stop_tx(const char* function) {
  const amt_hwt_step_st step{&k_log, __LINE__, function, "WIFI-TX-stop", "hwt_TxTest"};
  const std::int32_t result = amt_device_call_hwt(step, amt_hwt_detail(". "), [] { return hwt_TxTest(0, 0, 0, 0); });
  return result == ERR_NONE ? stop_wifi(function) : result;
}

std::int32_t start_rx(const char* function, std::string_view rest) {
  if (start_wifi(function) != ERR_NONE) return ERR_FAIL;
  const auto channel_value = take_value(function, rest, "channel");
  const auto rate_value = channel_value ? take_value(function, rest, "rate") : std::nullopt;
  if (!rate_value) return ERR_ARGUMENT;

  const auto channel = static_cast<std::uint8_t>(*channel_value);
  const auto rate = static_cast<std::uint16_t>(*rate_value);
  const amt_hwt_step_st step{&k_log, __LINE__, function, "WIFI-RX-start", "hwt_RxTest"};
  const std::int32_t result =
      amt_device_call_hwt(step, amt_hwt_detail(". channel:%d; rate:%d(will multi 100)", channel, rate),
                          [=] { return hwt_RxTest(1, channel, rate, nullptr); });
  if (result == ERR_NONE) g_wifi_rx_channel = channel;
  return result;
}

// How many packets came is for the log only.
std::int32_t stop_rx(const char* function) {
  int count = 0;
  const std::uint8_t channel = g_wifi_rx_channel;
  const amt_hwt_step_st step{&k_log, __LINE__, function, "WIFI-RX-stop", "hwt_RxTest"};
  const std::int32_t result = amt_device_call_hwt(
      step, amt_hwt_detail(". channel:%d", channel), [&] { return hwt_RxTest(0, channel, 0, &count); },
      [&] { return amt_hwt_detail("; cnt:%d", count); });
  return result == ERR_NONE ? stop_wifi(function) : result;
}

std::int32_t handle_amt_device_wifi_tx_ctrl(const char*, std::string_view rest) {
  log_command(__func__);
  const auto control = take_value(__func__, rest, "control");
  if (!control) return ERR_ARGUMENT;
  LOG_LINE("getted control:%d.", *control);
  if (*control == START) return reply(start_tx(__func__, rest));
  if (*control == STOP) return reply(stop_tx(__func__));
  return handle_amt_reply_error();
}

std::int32_t handle_amt_device_wifi_rx_ctrl(const char*, std::string_view rest) {
  log_command(__func__);
  const auto control = take_value(__func__, rest, "control");
  if (!control) return ERR_ARGUMENT;
  LOG_LINE("getted control:%d.", *control);
  if (*control == START) return reply(start_rx(__func__, rest));
  if (*control == STOP) return reply(stop_rx(__func__));
  return handle_amt_reply_error();
}

struct command_st {
  const char* m_prefix;
  std::int32_t (*m_handler)(const char* prefix, std::string_view behind);
};

constexpr command_st COMMANDS[] = {
    {"AT^DDEVCONNCHK=", handle_amt_device_conn_chk}, {"AT^DBTCTRL=", handle_amt_device_bt_ctrl},
    {"AT^DGPSCTRL=", handle_amt_device_gps_ctrl},    {"AT^DWLTSD=", handle_amt_device_wifi_tx_ctrl},
    {"AT^DWLTRD=", handle_amt_device_wifi_rx_ctrl},
};

}  // namespace

std::int32_t handle_amt_device_at() {
  LOG_ENTRY();
  for (const auto& command : COMMANDS) {
    const auto behind = handle_amt_text_behind(command.m_prefix);
    if (behind) return command.m_handler(command.m_prefix, *behind);
  }
  return ERR_NOT_HANDLED;
}
