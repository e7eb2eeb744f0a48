#include "amt/amt-handle/modem/checks.h"

#include <algorithm>
#include <array>
#include <optional>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/modem/at-query.h"
#include "pub/result.h"

namespace {

constexpr std::size_t SIM_VALUE_LIMIT = 38;   // "shorter than 39"
constexpr std::size_t DATE_VALUE_LIMIT = 14;  // "shorter than 15"
constexpr char UNWRITTEN_DATE = '\xFF';       // what the modem's store holds before a date is written

// The SIM's type, logged in any case; none when there is no line, or its value is too long.
std::optional<std::int32_t> find_sim_type(std::string_view answer) {
  const auto behind = amt_answer_after(answer, "\r\n^DTOC:");
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
  const auto behind = amt_answer_after(amt_modem_answer(), "\r\n^DMFD:");
  const auto value = behind ? amt_answer_value(*behind) : std::nullopt;
  if (!value || value->size() > DATE_VALUE_LIMIT || value->starts_with(UNWRITTEN_DATE)) return std::nullopt;
  date_st date{};
  std::copy(value->begin(), value->end(), date.begin());
  return date;
}

}  // namespace

result_code_en amt_dtoc_checkSIM(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  const result_code_en refusal = amt_modem_check_request(k_log, link, request, response);
  if (refusal != ERR_NONE) return refusal;
  amt_modem_prepare("AT^DTOC\r");
  const bool is_answered = amt_modem_exchange(amt_log_answer_as(__func__)) == ERR_NONE;
  const auto type = is_answered ? find_sim_type(amt_modem_answer()) : std::nullopt;
  if (!type) {
    pub_log_failure(k_log, ERR_FAIL);
    return amt_handle_send_rsp_err(link, response, AMT_USIMCHECK_RSPCMD, AMT_ERROR_MODEM);
  }
  const bool is_known = *type == 1 || *type == 2;
  amt_handle_start_rsp(response, AMT_USIMCHECK_RSPCMD);
  amt_frame_add_flag(&response->m_buf_a, AMT_ATOM_SIM, is_known ? 1 : 0);
  return amt_handle_send_rsp(link, response);
}

result_code_en amt_modem_handle_read_outdate(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  const result_code_en refusal = amt_modem_check_request(k_log, link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const auto date = query_date();
  if (!date) {
    pub_log_failure(k_log, ERR_FAIL);
    return amt_handle_send_rsp_err(link, response, AMT_READ_OUTDATE_RSPCMD, AMT_ERROR_MODEM);
  }
  amt_handle_start_rsp(response, AMT_READ_OUTDATE_RSPCMD);
  amt_frame_add_string(&response->m_buf_a, AMT_ATOM_DATE, date->data());
  return amt_handle_finish_rsp(link, response);
}
