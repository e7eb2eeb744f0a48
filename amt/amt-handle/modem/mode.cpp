#include "amt/amt-handle/modem/mode.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>

#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/modem/at-link.h"
#include "amt/amt-handle/modem/at-query.h"
#include "amt/amt-handle/pc/amt1-flag.h"
#include "platform/property.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr std::uint8_t MODE_RESPONSE_ID = 196;
constexpr std::uint8_t SUPPORT_RESPONSE_ID = 198;
constexpr std::uint8_t DAMT1_RESPONSE_ID = 220;
constexpr std::uint8_t CHANNEL_REQUEST_ID = 232;
constexpr std::uint8_t CHANNEL_RESPONSE_ID = 233;
constexpr std::uint8_t ATOM_CHANNEL = 159;
constexpr std::uint8_t ATOM_FLAG = 192;
constexpr std::uint8_t ATOM_MODE = 201;
constexpr std::uint8_t ATOM_RADIO_TECHNOLOGY = 202;

constexpr char SWITCH_PROPERTY[] = "amt.normal.amt.switch_status";
constexpr char USB_PROPERTY[] = "sys.usb.config";
constexpr char USB_WITH_SERIAL[] = "serial,adb";
constexpr char STOP_PROPERTY[] = "ctl.stop";
constexpr char SIBLING_SERVICE[] = "vx-kro-mla0";
constexpr std::uint32_t END_PAUSE_MS = 500;

constexpr std::size_t SUPPORT_VALUE_LIMIT = 38;  // "shorter than 39"
constexpr std::size_t CHANNEL_TEXT_SIZE = 100;
constexpr std::uint32_t CHANNEL_COMMAND_LENGTH = 12;

std::int32_t send_failure(std::uint8_t link, amt_message_st* response, std::uint8_t response_id) {
  return amt_handle_send_rsp_err(link, response, response_id, AMT_ERROR_MODEM);
}

void set_property(const char* name, const char* value) {
  if (property_set(name, value) != 0) LOG_SYS_CALL("property_set");
  LOG_LINE("set property(%s) to %s.", name, value);
}

std::int32_t amt_change_band(std::int32_t band) {
  LOG_ENTRY();
  LOG_LINE("amt_change_band band:%d", band);
  amt_modem_prepare("AT^DMPCHN=%d\r", band);
  return amt_modem_exchange(amt_log_answer_as(__func__));
}

std::int32_t switch_modem(std::int32_t mode) {
  const std::int32_t result = amt_change_band(0);
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
  if (property_set(USB_PROPERTY, USB_WITH_SERIAL) != 0) LOG_SYS_CALL("property_set");
}

void end_service() {
  LOG_LINE("will exit program.");
  pub_util_sleep_ms(END_PAUSE_MS);
  const int result = property_set(STOP_PROPERTY, SIBLING_SERVICE);
  LOG_LINE("stop vx-kro-mla return: %d", result);
  kill(getpid(), SIGTERM);
  pub_util_sleep_ms(0);  // the signal acts here, before another request is read
}

// The fields of a value "<SIMs>,<standbys>,<RF sets>,<radio technology of standby 0>"; the last one's value.
std::optional<std::int32_t> find_radio_technology(std::string_view value) {
  static constexpr const char* NAMES[] = {"sim_num", "standby_num", "rf_set_num", "standby0_rat"};
  std::optional<std::string_view> field;
  for (const char* name : NAMES) {
    field = handle_amt_next_field(value);
    if (!field) {
      LOG_LINE("%s is null!!!", name);
      return std::nullopt;
    }
  }
  return handle_amt_field_value(*field);
}

std::optional<std::int32_t> query_radio_technology() {
  amt_modem_prepare("AT^DMCC?\r");
  if (amt_modem_exchange(amt_log_answer_as("amt_query_amt_support")) != ERR_NONE) return std::nullopt;
  const auto behind = amt_answer_behind(amt_modem_answer(), "\r\n^DMCC:");
  const auto value = behind ? amt_answer_value(*behind) : std::nullopt;
  if (!value || value->size() > SUPPORT_VALUE_LIMIT) return std::nullopt;
  LOG_LINE("amt_query_amt_support head_ptr=%.*s", static_cast<int>(behind->size()), behind->data());
  LOG_LINE("amt_query_amt_support parameter=%.*s", static_cast<int>(value->size()), value->data());
  return find_radio_technology(*value);
}

}  // namespace

std::int32_t amt_handle_normal_to_amt(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  const std::int32_t refusal = AMT_CHECK_MODEM_REQUEST(link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const auto mode = static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, ATOM_MODE));
  LOG_LINE("amt_handle_normal_to_amt amt_mode:%d", mode);
  const std::int32_t switched = switch_modem(mode);
  if (switched != ERR_NONE) {
    LOG_FAILURE(switched);
    return send_failure(link, response, MODE_RESPONSE_ID);
  }

  // The order matters: the restarted service finds the switch set, and the application has its answer before USB and
  // this process go.
  set_property(SWITCH_PROPERTY, "1");
  const std::int32_t result = amt_handle_send_rsp_ok(link, response, MODE_RESPONSE_ID);
  activate_usb_serial();
  end_service();
  return result;
}

std::int32_t amt_query_amt_support(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  const std::int32_t refusal = AMT_CHECK_MODEM_REQUEST(link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const auto technology = query_radio_technology();
  if (!technology) {
    LOG_FAILURE(ERR_FAIL);
    return send_failure(link, response, SUPPORT_RESPONSE_ID);
  }
  LOG_LINE("getted nstandby0_rat:%d.", *technology);
  amt_handle_start_rsp(response, SUPPORT_RESPONSE_ID);
  amt_frame_add_int(&response->m_buf_a, ATOM_RADIO_TECHNOLOGY, static_cast<std::uint32_t>(*technology));
  return amt_handle_finish_rsp(link, response);
}

// Unlike every other exchange: always 12 characters go out, so that a channel of two digits loses its carriage return
// (modems in the field are used to it), and one read decides.
std::int32_t amt_channel_switch(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (amt_modem_is_missing()) return ERR_NO_MODEM;
  amt_handle_start_rsp(response, CHANNEL_RESPONSE_ID);
  const auto channel = static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, ATOM_CHANNEL));
  std::array<char, CHANNEL_TEXT_SIZE> text{};
  std::snprintf(text.data(), text.size(), "AT^DMPCHN=%d\r", channel);
  std::int32_t result = write_at(text.data(), CHANNEL_COMMAND_LENGTH);
  if (result != ERR_NONE) return result;

  text = {};
  std::uint32_t count = 0;
  result = read_at(text.data(), static_cast<std::uint32_t>(text.size()), &count);
  if (result != ERR_NONE) return result;
  const std::string_view answer(text.data(), count);
  if (answer.find("OK") != std::string_view::npos) return amt_handle_finish_rsp(link, response);
  LOG_FAILURE(ERR_FAIL);
  LOG_LINE("%.*s", static_cast<int>(answer.size()), answer.data());
  return ERR_FAIL;
}

std::int32_t amt_at_to_modem(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  if (amt_frame_command_id(&request->m_buf_a) != CHANNEL_REQUEST_ID) return ERR_NONE;
  return amt_channel_switch(link, request, response);
}

std::int32_t amt_handle_damt1_cmd(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  const std::int32_t refusal = AMT_CHECK_MODEM_REQUEST(link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const auto operation = static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, ATOM_FLAG));
  LOG_LINE("amt_handle_damt1_cmd op_type:%d", operation);
  std::int32_t flag = 0;
  const std::int32_t result = handle_amt_damt1_operation(operation, &flag);
  LOG_LINE("amt_handle_damt1_cmd op_type:%d; flag:%d; ret_val:%d.", operation, flag, result);
  if (result != ERR_NONE) {
    LOG_FAILURE(result);
    return send_failure(link, response, DAMT1_RESPONSE_ID);
  }
  amt_handle_start_rsp(response, DAMT1_RESPONSE_ID);
  amt_frame_add_int(&response->m_buf_a, ATOM_FLAG, static_cast<std::uint32_t>(flag));
  return amt_handle_finish_rsp(link, response);
}
