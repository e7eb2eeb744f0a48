#include "amt/amt-handle/modem/checks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <optional>

#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/modem/at-query.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr std::uint8_t TEMPERATURE_RESPONSE_ID = 56;
constexpr std::uint8_t DATE_RESPONSE_ID = 66;
constexpr std::uint8_t SIM_RESPONSE_ID = 100;
constexpr std::uint8_t ATOM_TEMPERATURE = 22;
constexpr std::uint8_t ATOM_DATE = 27;
constexpr std::uint8_t ATOM_SIM = 41;

constexpr std::size_t SIM_VALUE_LIMIT = 38;   // "shorter than 39"
constexpr std::size_t DATE_VALUE_LIMIT = 14;  // "shorter than 15"
constexpr char UNWRITTEN_DATE = '\xFF';       // what the modem's store holds before a date is written

// Relative on purpose: it is resolved against the folder that init starts the service in.
constexpr char TEMPERATURE_FILE[] = "sys/class/power_supply/battery/temp";

std::int32_t send_failure(std::uint8_t link, amt_message_st* response, std::uint8_t response_id) {
  return amt_handle_send_rsp_err(link, response, response_id, AMT_ERROR_MODEM);
}

// The SIM's type, logged in any case; none when there is no line, or its value is too long.
std::optional<std::int32_t> find_sim_type(std::string_view answer) {
  const auto behind = amt_answer_behind(answer, "\r\n^DTOC:");
  auto value = behind ? amt_answer_value(*behind) : std::nullopt;
  if (value && value->size() > SIM_VALUE_LIMIT) value.reset();
  const std::string_view head = behind.value_or("");
  const std::string_view text = value.value_or("");
  const std::int32_t type = handle_amt_field_value(text);
  LOG_LINE("amt_dtoc_checkSIM head_ptr=%.*s", static_cast<int>(head.size()), head.data());
  LOG_LINE("amt_dtoc_checkSIM board_a=%.*s", static_cast<int>(text.size()), text.data());
  LOG_LINE("amt_dtoc_checkSIM simtype=%d", type);
  return value ? std::optional(type) : std::nullopt;
}

using date_st = std::array<char, DATE_VALUE_LIMIT + 2>;  // zero-terminated

std::optional<date_st> query_date() {
  amt_modem_prepare("AT^DMFD\?\?\r");
  if (amt_modem_exchange(amt_log_no_answer) != ERR_NONE) return std::nullopt;
  const auto behind = amt_answer_behind(amt_modem_answer(), "\r\n^DMFD:");
  const auto value = behind ? amt_answer_value(*behind) : std::nullopt;
  if (!value || value->size() > DATE_VALUE_LIMIT || value->starts_with(UNWRITTEN_DATE)) return std::nullopt;
  date_st date{};
  std::copy(value->begin(), value->end(), date.begin());
  return date;
}

std::optional<unsigned> read_temperature() {
  const pub_file file = pub_util_fopen(TEMPERATURE_FILE, "r");
  unsigned temperature = 0;
  const char* failed = !file ? "fopen" : std::fscanf(file.get(), "%u", &temperature) != 1 ? "fscanf" : nullptr;
  if (failed != nullptr) {
    const int error = errno;
    LOG_FAILURE_OF("amt_modem_handle_temperature", ERR_SYSTEM);
    LOG_LINE("%s error: errno=%d", failed, error);
    return std::nullopt;
  }
  LOG_LINE("Battery temperature: %u", temperature);
  return temperature;
}

}  // namespace

std::int32_t amt_dtoc_checkSIM(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  const std::int32_t refusal = AMT_CHECK_MODEM_REQUEST(link, request, response);
  if (refusal != ERR_NONE) return refusal;
  amt_modem_prepare("AT^DTOC\r");
  const bool is_answered = amt_modem_exchange(amt_log_answer_as(__func__)) == ERR_NONE;
  const auto type = is_answered ? find_sim_type(amt_modem_answer()) : std::nullopt;
  if (!type) {
    LOG_FAILURE(ERR_FAIL);
    return send_failure(link, response, SIM_RESPONSE_ID);
  }
  const bool is_known = *type == 1 || *type == 2;
  amt_handle_start_rsp(response, SIM_RESPONSE_ID);
  amt_frame_add_flag(&response->m_buf_a, ATOM_SIM, is_known ? 1 : 0);
  return amt_handle_send_rsp(link, response);
}

std::int32_t amt_modem_handle_read_outdate(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  const std::int32_t refusal = AMT_CHECK_MODEM_REQUEST(link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const auto date = query_date();
  if (!date) {
    LOG_FAILURE(ERR_FAIL);
    return send_failure(link, response, DATE_RESPONSE_ID);
  }
  amt_handle_start_rsp(response, DATE_RESPONSE_ID);
  amt_frame_add_string(&response->m_buf_a, ATOM_DATE, date->data());
  return amt_handle_finish_rsp(link, response);
}

std::int32_t amt_modem_handle_temperature(std::uint8_t link, amt_message_st*, amt_message_st* response) {
  LOG_ENTRY();
  const auto temperature = read_temperature();
  if (!temperature) return send_failure(link, response, TEMPERATURE_RESPONSE_ID);
  amt_handle_start_rsp(response, TEMPERATURE_RESPONSE_ID);
  amt_frame_add_int(&response->m_buf_a, ATOM_TEMPERATURE, *temperature);
  return amt_handle_finish_rsp(link, response);
}
