#include "amt/amt-handle/modem/identity.h"

#include <algorithm>
#include <optional>
#include <span>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/modem/at-query.h"
#include "pub/result.h"

namespace {

constexpr std::size_t VALUE_SIZE = 40;  // a value of up to 38 characters: it "must be shorter than 39"
constexpr std::size_t VALUE_LIMIT = VALUE_SIZE - 2;

struct identity_st {
  const char* m_handler;
  const char* m_query;
  std::string_view m_prefix;
  std::uint8_t m_response_id;
};

constexpr identity_st IMEI{"amt_modem_handle_read_imei", "AT^DGSN?\r", "\r\n^DGSN: ", 8};
constexpr identity_st BOARD{"amt_modem_handle_read_board", "AT^DMSN\r", "\r\n^DMSN:", 86};
constexpr identity_st SERIAL{"amt_read_serial_number", "AT^DMSN\r", "\r\n^DMSN:", 235};

// A value, zero-terminated.
struct value_st {
  std::array<char, VALUE_SIZE> m_text{};
  std::size_t m_length = 0;
};

template <typename AfterRead>
std::optional<value_st> read_identity(const identity_st& identity, AfterRead after_read) {
  amt_modem_prepare("%s", identity.m_query);
  if (amt_modem_exchange(after_read) != ERR_NONE) return std::nullopt;
  const auto behind = amt_answer_after(amt_modem_answer(), identity.m_prefix);
  const auto value = behind ? amt_answer_value(*behind) : std::nullopt;
  if (!value || value->size() > VALUE_LIMIT) return std::nullopt;
  value_st result;
  std::copy(value->begin(), value->end(), result.m_text.begin());
  result.m_length = value->size();
  return result;
}

result_code_en send_failure(const identity_st& identity, std::uint8_t link, amt_message_st* response) {
  pub_log_failure({k_log, identity.m_handler}, ERR_FAIL);
  return amt_handle_send_rsp_err(link, response, identity.m_response_id, AMT_ERROR_MODEM);
}

result_code_en send_text(const identity_st& identity, std::uint8_t atom_id, std::uint8_t link,
                         amt_message_st* response) {
  const auto value = read_identity(identity, amt_log_no_answer);
  if (!value) return send_failure(identity, link, response);
  amt_handle_start_rsp(response, identity.m_response_id);
  amt_frame_add_string(&response->m_buf_a, atom_id, value->m_text.data());
  return amt_handle_finish_rsp(link, response);
}

}  // namespace

result_code_en amt_modem_handle_read_imei(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  const result_code_en refusal = amt_modem_check_request(k_log, link, request, response);
  return refusal == ERR_NONE ? send_text(IMEI, AMT_ATOM_IMEI, link, response) : refusal;
}

result_code_en amt_modem_handle_read_board(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  const result_code_en refusal = amt_modem_check_request(k_log, link, request, response);
  return refusal == ERR_NONE ? send_text(BOARD, AMT_ATOM_BOARD, link, response) : refusal;
}

// The board number once more, but as bytes and under an atom of its own.
result_code_en amt_read_serial_number(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  const result_code_en refusal = amt_modem_check_request(k_log, link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const auto value = read_identity(SERIAL, amt_log_answer_as(__func__));
  if (!value) return send_failure(SERIAL, link, response);
  LOG_LINE("get serial-number success. serial-number:[len:%d content:%s]", static_cast<int>(value->m_length),
           value->m_text.data());
  amt_handle_start_rsp(response, SERIAL.m_response_id);
  std::array<std::uint8_t, VALUE_SIZE> bytes{};
  std::copy_n(value->m_text.begin(), value->m_length, bytes.begin());
  amt_frame_add_bytes(&response->m_buf_a, AMT_ATOM_SERIAL_NUMBER, bytes.data(), value->m_length);
  return amt_handle_finish_rsp(link, response);
}
