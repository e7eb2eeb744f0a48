#include "amt/amt-handle/modem/mode.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/modem/at-link.h"
#include "amt/amt-handle/modem/at-query.h"
#include "amt/amt-record/amt1-flag.h"
#include "platform/property.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr char USB_PROPERTY[] = "sys.usb.config";
constexpr char USB_WITH_SERIAL[] = "serial,adb";
constexpr char STOP_PROPERTY[] = "ctl.stop";
constexpr char SIBLING_SERVICE[] = "vx-kro-mla0";
constexpr std::uint32_t END_PAUSE_MS = 500;

constexpr std::size_t SUPPORT_VALUE_LIMIT = 38;  // "shorter than 39"
constexpr std::size_t CHANNEL_TEXT_SIZE = 100;
constexpr std::uint32_t CHANNEL_COMMAND_LENGTH = 12;

void set_property(const char* name, const char* value) {
  if (property_set(name, value) != 0) pub_log_sys_call(k_log, "property_set");
  LOG_LINE("set property(%s) to %s.", name, value);
}

result_code_en amt_change_band(std::int32_t band) {
  pub_log_entry(k_log);
  LOG_LINE("amt_change_band band:%d", band);
  amt_modem_prepare("AT^DMPCHN=%d\r", band);
  return amt_modem_exchange(amt_log_answer_as(__func__));
}

result_code_en switch_modem(std::int32_t mode) {
  const result_code_en result = amt_change_band(0);
  if (result != ERR_NONE) return result;
  amt_modem_prepare("AT^DSWAMT=%d\r", mode);
  return amt_modem_exchange(amt_log_answer_as("amt_handle_normal_to_amt"));
}

// The PC reaches the restarted service over USB's serial function.
void activate_usb_serial() {
  char value[PROPERTY_VALUE_MAX] = "";
  const int length = property_get(USB_PROPERTY, value, "@#no_set_config#@");
  LOG_LINE("property-%s value: %s", USB_PROPERTY, value);
  if (length > 0 && std::strstr(value, "serial") != nullptr) {
    LOG_LINE("already activate serial, do not reset. ");
    return;
  }
  LOG_LINE("will set property(%s) to %s.", USB_PROPERTY, USB_WITH_SERIAL);
  if (property_set(USB_PROPERTY, USB_WITH_SERIAL) != 0) pub_log_sys_call(k_log, "property_set");
}

void end_service() {
  LOG_LINE("will exit program.");
  pub_util_sleep_ms(END_PAUSE_MS);
  const int result = property_set(STOP_PROPERTY, SIBLING_SERVICE);
  LOG_LINE("stop vx-kro-mla return: %d", result);
  kill(getpid(), SIGTERM);
  pub_util_sleep_ms(0);  // the signal acts here, before another request is read
}

std::nullopt_t miss(const char* name) {
  LOG_LINE("%s is null!!!", name);
  return std::nullopt;
}

// The last field of a value "<SIMs>,<standbys>,<RF sets>,<radio technology of standby 0>". Any other one may be empty.
std::optional<std::int32_t> find_radio_technology(std::string_view value) {
  auto rest = value.empty() ? std::nullopt : std::optional(value);
  for (const char* name : {"sim_num", "standby_num", "rf_set_num"}) {
    if (!handle_amt_next_field_or_empty(rest)) return miss(name);
  }
  const auto technology = handle_amt_next_field_or_empty(rest);
  if (!technology || technology->empty()) return miss("standby0_rat");
  return handle_amt_field_value(*technology);
}

std::optional<std::int32_t> query_radio_technology() {
  amt_modem_prepare("AT^DMCC?\r");
  if (amt_modem_exchange(amt_log_answer_as("amt_query_amt_support")) != ERR_NONE) return std::nullopt;
  const auto behind = amt_answer_after(amt_modem_answer(), "\r\n^DMCC:");
  const auto value = behind ? amt_answer_value(*behind) : std::nullopt;
  if (!value || value->size() > SUPPORT_VALUE_LIMIT) return std::nullopt;
  LOG_LINE("amt_query_amt_support head_ptr=%.*s", static_cast<int>(behind->size()), behind->data());
  LOG_LINE("amt_query_amt_support parameter=%.*s", static_cast<int>(value->size()), value->data());
  return find_radio_technology(*value);
}

}  // namespace

result_code_en amt_handle_normal_to_amt(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  const result_code_en refusal = amt_modem_check_request(k_log, link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const auto mode = static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, AMT_ATOM_MODE));
  LOG_LINE("amt_handle_normal_to_amt amt_mode:%d", mode);
  const result_code_en switched = switch_modem(mode);
  if (switched != ERR_NONE) {
    pub_log_failure(k_log, switched);
    return amt_handle_send_rsp_err(link, response, AMT_NORMAL_TO_AMT_RSPCMD, AMT_ERROR_MODEM);
  }

  // The order matters: the restarted service finds the switch set, and the application has its answer before USB and
  // this process go.
  set_property(AMT_SWITCH_PROPERTY, "1");
  const result_code_en result = amt_handle_send_rsp_ok(link, response, AMT_NORMAL_TO_AMT_RSPCMD);
  activate_usb_serial();
  end_service();
  return result;
}

result_code_en amt_query_amt_support(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  const result_code_en refusal = amt_modem_check_request(k_log, link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const auto technology = query_radio_technology();
  if (!technology) {
    pub_log_failure(k_log, ERR_FAIL);
    return amt_handle_send_rsp_err(link, response, AMT_NORMAL_TO_AMT_SUPPORT_RSPCMD, AMT_ERROR_MODEM);
  }
  LOG_LINE("getted nstandby0_rat:%d.", *technology);
  amt_handle_start_rsp(response, AMT_NORMAL_TO_AMT_SUPPORT_RSPCMD);
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_RADIO_TECHNOLOGY, static_cast<std::uint32_t>(*technology));
  return amt_handle_finish_rsp(link, response);
}

// Two things differ from every other exchange. Always 12 characters go out, so that a channel of two digits loses its
// carriage return: modems in the field are used to it. And one read decides.
result_code_en amt_channel_switch(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_modem_is_missing()) return ERR_NO_MODEM;
  amt_handle_start_rsp(response, AMT_CHANNEL_SWITCH_RSPCMD);
  const auto channel = static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, AMT_ATOM_MODEM_CHANNEL));
  std::array<char, CHANNEL_TEXT_SIZE> text{};
  std::snprintf(text.data(), text.size(), "AT^DMPCHN=%d\r", channel);
  result_code_en result = write_at(text.data(), CHANNEL_COMMAND_LENGTH);
  if (result != ERR_NONE) return result;

  text = {};
  std::uint32_t count = 0;
  result = read_at(text.data(), static_cast<std::uint32_t>(text.size()), &count);
  if (result != ERR_NONE) return result;
  const std::string_view answer(text.data(), count);
  if (amt_answer_has_ok(answer)) {
    amt_at_take_final_result();
    return amt_handle_finish_rsp(link, response);
  }
  return pub_fail(k_log, ERR_FAIL, "%.*s", static_cast<int>(answer.size()), answer.data());
}

result_code_en amt_at_to_modem(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  if (amt_frame_command_id(&request->m_buf_a) != AMT_CHANNEL_SWITCH_CMD) return ERR_NONE;
  return amt_channel_switch(link, request, response);
}

result_code_en amt_handle_damt1_cmd(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  const result_code_en refusal = amt_modem_check_request(k_log, link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const auto operation = static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, AMT_ATOM_AMT1_FLAG));
  LOG_LINE("amt_handle_damt1_cmd op_type:%d", operation);
  std::int32_t flag = 0;
  const result_code_en result = handle_amt_damt1_operation(operation, &flag);
  LOG_LINE("amt_handle_damt1_cmd op_type:%d; flag:%d; ret_val:%d.", operation, flag, result);
  if (result != ERR_NONE) {
    pub_log_failure(k_log, result);
    return amt_handle_send_rsp_err(link, response, AMT_DAMT1_RSPCMD, AMT_ERROR_MODEM);
  }
  amt_handle_start_rsp(response, AMT_DAMT1_RSPCMD);
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_AMT1_FLAG, static_cast<std::uint32_t>(flag));
  return amt_handle_finish_rsp(link, response);
}
