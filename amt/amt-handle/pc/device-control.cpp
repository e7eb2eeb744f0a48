// Each command is answered OK or ERROR; only one that lacks its first field gives ERR_ARGUMENT instead, and the
// dispatcher answers it with its error frame. A sequence that fails half-way is left as it is: the station stops what
// it started.
#include "amt/amt-handle/pc/device-control.h"

#include <optional>

#include "amt/amt-device/radio.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/pc/at-parameter.h"
#include "amt/amt-handle/pc/at-reply.h"

namespace {

using enum amt_radio_words_en;

constexpr std::uint8_t FIRST_RX_CHANNEL = 6;
constexpr std::int32_t STOP = 0;
constexpr std::int32_t START = 1;
constexpr std::int32_t GPS_START_AND_READ = 2;

relaxed<std::uint8_t> g_wifi_rx_channel = FIRST_RX_CHANNEL;  // of the last receive test that started

// What a command's handler works on.
struct command_call_st {
  std::string_view m_received;
  const char* m_prefix;
  std::string_view m_rest;  // what follows the prefix, less the fields taken
  amt_message_st* m_response;
};

void log_command(const command_call_st& call, const char* function) {
  const std::string_view text = handle_amt_text(call.m_received);
  pub_log_entry({k_log, function});
  LOG_LINE("received at command:%.*s", static_cast<int>(text.size()), text.data());
}

result_code_en reply(const command_call_st& call, result_code_en result) {
  return result == ERR_NONE ? handle_amt_reply_ok(call.m_response) : handle_amt_reply_error(call.m_response);
}

// The value of the next comma field; none, logged, when there is no further field.
std::optional<std::int32_t> take_value(const char* function, command_call_st& call, const char* name) {
  const auto field = handle_amt_next_field(call.m_rest);
  if (field) return handle_amt_field_value(*field);
  pub_log_failure({k_log, function}, ERR_ARGUMENT, "%s is null!!!", name);
  return std::nullopt;
}

std::optional<std::int32_t> take_only_value(const command_call_st& call) {
  amt_parameter_text text;
  if (handle_amt_take_at_para(call.m_received, call.m_prefix, text) != ERR_NONE) return std::nullopt;
  return handle_amt_field_value(text);
}

result_code_en handle_amt_device_conn_chk(command_call_st& call) {
  log_command(call, __func__);
  const auto device = take_only_value(call);
  if (device == 0) return reply(call, amt_radio_check_wifi(k_log));
  if (device == 1) return reply(call, amt_radio_check_gps(k_log));
  if (device == 3) return reply(call, amt_radio_check_bt(k_log));
  return handle_amt_reply_error(call.m_response);
}

result_code_en handle_amt_device_bt_ctrl(command_call_st& call) {
  log_command(call, __func__);
  const auto control = take_only_value(call);
  if (control == STOP) return reply(call, amt_radio_switch_bt({k_log, "BT-stop"}, 0));
  if (control == START) return reply(call, amt_radio_switch_bt({k_log, "BT-start"}, 1));
  return handle_amt_reply_error(call.m_response);
}

// GPS is started, then one satellite is read; it is left running.
result_code_en start_and_read_gps(const char* function, command_call_st& call) {
  if (amt_radio_start_gps({{k_log, function}, "GPS-start", "start gps firstly, "}) != ERR_NONE) {
    return handle_amt_reply_error(call.m_response);
  }
  const auto index = take_value(function, call, "index");
  if (!index) return handle_amt_reply_error(call.m_response);

  amt_satellite_st satellite{};
  if (amt_radio_read_gps({k_log, function}, AT, *index, &satellite) != ERR_NONE) {
    return handle_amt_reply_error(call.m_response);
  }
  return handle_amt_reply(call.m_response, "\r\n^DGPSCTRL: %d,%d\r\n\r\nOK\r\n", satellite.m_id,
                          satellite.m_carrier_to_noise);
}

result_code_en handle_amt_device_gps_ctrl(command_call_st& call) {
  log_command(call, __func__);
  const auto flag = take_value(__func__, call, "flag");
  if (!flag) return ERR_ARGUMENT;
  LOG_LINE("getted flag:%d.", *flag);
  if (*flag == STOP) return reply(call, amt_radio_stop_gps({k_log, "GPS-stop"}));
  if (*flag == GPS_START_AND_READ) return start_and_read_gps(__func__, call);
  return handle_amt_reply_error(call.m_response);
}

result_code_en start_wifi(const char* function) {
  return amt_radio_switch_wifi({{k_log, function}, "WIFI-start", "start wifi firstly, "}, 1);
}

result_code_en stop_wifi(const char* function) {
  return amt_radio_switch_wifi({{k_log, function}, "WIFI-stop", "then will stop wifi, "}, 0);
}

result_code_en start_tx(const char* function, command_call_st& call) {
  if (start_wifi(function) != ERR_NONE) return ERR_FAIL;
  const auto channel = take_value(function, call, "channel");
  const auto rate = channel ? take_value(function, call, "rate") : std::nullopt;
  const auto power = rate ? take_value(function, call, "power") : std::nullopt;
  if (!power) return ERR_ARGUMENT;
  return amt_radio_start_tx({k_log, function}, AT, static_cast<std::uint8_t>(*channel),
                            static_cast<std::uint16_t>(*rate), static_cast<std::int16_t>(*power));
}

result_code_en stop_tx(const char* function) {
  const result_code_en result = amt_radio_stop_tx({k_log, function});
  return result == ERR_NONE ? stop_wifi(function) : result;
}

result_code_en start_rx(const char* function, command_call_st& call) {
  if (start_wifi(function) != ERR_NONE) return ERR_FAIL;
  const auto channel_value = take_value(function, call, "channel");
  const auto rate = channel_value ? take_value(function, call, "rate") : std::nullopt;
  if (!rate) return ERR_ARGUMENT;
  const auto channel = static_cast<std::uint8_t>(*channel_value);
  const result_code_en result = amt_radio_start_rx({k_log, function}, AT, channel, static_cast<std::uint16_t>(*rate));
  if (result == ERR_NONE) g_wifi_rx_channel = channel;
  return result;
}

// How many packets came is for the log only.
result_code_en stop_rx(const char* function) {
  int count = 0;
  const result_code_en result = amt_radio_stop_rx({k_log, function}, g_wifi_rx_channel, &count);
  return result == ERR_NONE ? stop_wifi(function) : result;
}

result_code_en handle_amt_device_wifi_tx_ctrl(command_call_st& call) {
  log_command(call, __func__);
  const auto control = take_value(__func__, call, "control");
  if (!control) return ERR_ARGUMENT;
  LOG_LINE("getted control:%d.", *control);
  if (*control == START) return reply(call, start_tx(__func__, call));
  if (*control == STOP) return reply(call, stop_tx(__func__));
  return handle_amt_reply_error(call.m_response);
}

result_code_en handle_amt_device_wifi_rx_ctrl(command_call_st& call) {
  log_command(call, __func__);
  const auto control = take_value(__func__, call, "control");
  if (!control) return ERR_ARGUMENT;
  LOG_LINE("getted control:%d.", *control);
  if (*control == START) return reply(call, start_rx(__func__, call));
  if (*control == STOP) return reply(call, stop_rx(__func__));
  return handle_amt_reply_error(call.m_response);
}

struct command_st {
  const char* m_prefix;
  result_code_en (*m_handler)(command_call_st& call);
};

constexpr command_st COMMANDS[] = {
    {"AT^DDEVCONNCHK=", handle_amt_device_conn_chk}, {"AT^DBTCTRL=", handle_amt_device_bt_ctrl},
    {"AT^DGPSCTRL=", handle_amt_device_gps_ctrl},    {"AT^DWLTSD=", handle_amt_device_wifi_tx_ctrl},
    {"AT^DWLTRD=", handle_amt_device_wifi_rx_ctrl},
};

}  // namespace

result_code_en handle_amt_device_at(std::string_view received, amt_message_st* response) {
  pub_log_entry(k_log);
  for (const auto& command : COMMANDS) {
    const auto rest = handle_amt_text_after(received, command.m_prefix);
    if (!rest) continue;
    command_call_st call{received, command.m_prefix, *rest, response};
    return command.m_handler(call);
  }
  return ERR_NOT_HANDLED;
}
