#include "amt/amt-handle/modem/test-result.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/modem/at-query.h"
#include "amt/amt-record/item.h"
#include "pub/result.h"

namespace {

constexpr std::size_t DESCRIPTION_SIZE = 128;
constexpr std::int32_t ITEM_VALUES = 3;  // the values of an item are below this
constexpr std::string_view LINE_PREFIX = "\r\n^DATOMR: ";

std::int32_t get_number(const amt_message_st* request, std::uint8_t atom_id) {
  return static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, atom_id));
}

// A failure never stops the exchange with the modem, here and in amt_note_station_result. This line ends with "rtn:",
// the other one does not, on purpose: both have always been so.
void record_read_result(const pub_log_site& site, std::int32_t station, std::int32_t result) {
  const std::int32_t code = saveAmtTestItem(station, result);
  if (code != ERR_NONE) {
    LOG_LINE("[%s:L%d] write fail amt station_num: %d, station_result: %d. rtn:%d.\n", site.m_function, site.m_line,
             station, result, code);
  } else {
    LOG_LINE("write amt_result success amt station_num: %d, station_result: %d.\n", station, result);
  }
}

void log_command(const char* name) {
  const auto& command = g_handle_context.m_at_command;
  LOG_LINE("%s m_buf_a[%s] m_buf_len[%d]", name, command.m_buf_a.data(), command.m_buf_len);
}

void log_read(const char* name, result_code_en result, std::string_view answer) {
  LOG_LINE("%s  ret_val[%d] m_buf_a[%.*s]", name, result, static_cast<int>(answer.size()), answer.data());
}

void prepare_write(std::int32_t station, std::int32_t result, const char* description) {
  if (*description != '\0') {
    amt_modem_prepare("AT^DATOMW=%ld,%ld,%s\r", static_cast<long>(station), static_cast<long>(result), description);
  } else {
    amt_modem_prepare("AT^DATOMW=%ld,%ld\r", static_cast<long>(station), static_cast<long>(result));
  }
}

result_code_en judge_write(std::string_view answer) {
  const result_code_en result = amt_judge_ok_first(answer);
  if (result != ERR_NOT_HANDLED) LOG_LINE("amt_modem_write_test_result\tret_val[%d]", result);
  return result;
}

// What the modem keeps of a station. The description is a copy: the line stays in the receive record.
struct read_result_st {
  std::int32_t m_station;
  std::int32_t m_result = 0;
  char m_description[DESCRIPTION_SIZE] = {};
};

// Takes over the fields of the information line, once the line is whole.
void take_line(std::string_view answer, read_result_st& known) {
  const std::size_t at = answer.find(LINE_PREFIX);
  if (at == std::string_view::npos) return;
  const std::string_view behind = answer.substr(at + LINE_PREFIX.size());
  const std::size_t end = behind.find(AMT_LINE_END);
  if (end == std::string_view::npos) return;
  LOG_LINE("amt_modem_read_test_result head_ptr[%.*s]", static_cast<int>(behind.size()), behind.data());

  amt_station_result_st line{known.m_station, known.m_result, {}};
  amt_answer_station_result(behind.substr(0, end), line);
  known.m_station = line.m_station;
  known.m_result = line.m_result;
  LOG_LINE("amt_modem_read_test_result station_num[%d]", known.m_station);
  LOG_LINE("amt_modem_read_test_result station_result[%d]", known.m_result);
  if (line.m_description.data() == nullptr) return;  // no comma, so no description, not even an empty one
  const std::size_t length = std::min(line.m_description.size(), DESCRIPTION_SIZE - 1);
  std::copy_n(line.m_description.begin(), length, known.m_description);
  LOG_LINE("amt_modem_read_test_result test_description_a[%s]", known.m_description);
}

void log_outcome(result_code_en code, const read_result_st& known) {
  LOG_LINE("amt_modem_read_test_result ret_val[%d] station_num[%d] station_result[%d]", code, known.m_station,
           known.m_result);
}

// The answer is looked at after each read, unless it reports an error.
result_code_en query_station(read_result_st& known) {
  static constexpr char name[] = "amt_modem_read_test_result";
  amt_modem_prepare("AT^DATOMR=1,%ld\r", static_cast<long>(known.m_station));
  log_command(name);
  const result_code_en result = amt_modem_exchange(
      [&known](result_code_en code, std::string_view answer) {
        log_read(name, code, answer);
        if (code == ERR_NONE && !amt_answer_is_error(answer)) take_line(answer, known);
      },
      amt_judge_error_first);
  log_outcome(result, known);
  return result;
}

}  // namespace

result_code_en amt_modem_write_test_result(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  const result_code_en refusal = amt_modem_check_request(k_log, link, request, response);
  if (refusal != ERR_NONE) return refusal;
  const std::int32_t station = get_number(request, AMT_ATOM_STATION);
  const std::int32_t result = get_number(request, AMT_ATOM_STATION_RESULT);
  char description[DESCRIPTION_SIZE] = {};
  amt_frame_get_string(&request->m_buf_a, AMT_ATOM_DESCRIPTION, description, sizeof description);
  description[DESCRIPTION_SIZE - 1] = '\0';  // a value of exactly 128 characters comes without a terminator
  if (!amt_modem_can_carry(description)) {
    return pub_fail(k_log, ERR_ARGUMENT, "control character in test description");
  }
  amt_note_station_result(k_log, station, result);

  prepare_write(station, result, description);
  log_command(__func__);
  const char* name = __func__;
  const result_code_en code = amt_modem_exchange(
      [name](result_code_en read_code, std::string_view answer) { log_read(name, read_code, answer); }, judge_write);
  if (code == ERR_NONE) return amt_handle_send_rsp_ok(link, response, AMT_WRITE_TEST_RESULT_RSPCMD);
  pub_log_failure(k_log, code);
  return amt_handle_send_rsp_err(link, response, AMT_WRITE_TEST_RESULT_RSPCMD, AMT_ERROR_MODEM);
}

result_code_en amt_modem_read_test_result(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  const result_code_en refusal = amt_modem_check_request(k_log, link, request, response);
  if (refusal != ERR_NONE) return refusal;
  read_result_st known{get_number(request, AMT_ATOM_STATION)};
  const result_code_en code = query_station(known);
  if (code != ERR_NONE) {
    pub_log_failure(k_log, code);
    return amt_handle_send_rsp_err(link, response, AMT_READ_TEST_RESULT_RSPCMD, AMT_ERROR_MODEM);
  }
  record_read_result(k_log, known.m_station, known.m_result);

  amt_handle_start_rsp(response, AMT_READ_TEST_RESULT_RSPCMD);
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_STATION, static_cast<std::uint32_t>(known.m_station));
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_STATION_RESULT, static_cast<std::uint32_t>(known.m_result));
  amt_frame_add_string(&response->m_buf_a, AMT_ATOM_DESCRIPTION, known.m_description);
  return amt_handle_finish_rsp(link, response);
}

result_code_en amt_item_write_test_result(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const std::int32_t station = get_number(request, AMT_ATOM_STATION);
  const std::int32_t result = get_number(request, AMT_ATOM_STATION_RESULT);
  LOG_LINE("amt_item_write_test_result station_num[%d] station_result[%d]", station, result);
  const auto index = static_cast<std::int32_t>(static_cast<std::uint32_t>(station) - 1);
  if (saveProductTestItem(index, result) != ERR_NONE) {
    pub_print("[%s:L%d] write fail station_num: %d, station_result: %d\n", __func__, __LINE__, station, result);
    pub_log_failure(k_log, ERR_INCOMPLETE, "amt_item_write_test_result write_item ret_val[%d]", ERR_INCOMPLETE);
    return amt_handle_send_rsp_err(link, response, AMT_WRITE_ITEM_RSPCMD, AMT_ERROR_MODEM);
  }
  LOG_LINE("amt_item_write_test_result write_item ret_val[%d]", ERR_NONE);
  return amt_handle_send_rsp_ok(link, response, AMT_WRITE_ITEM_RSPCMD);
}

result_code_en amt_item_read_test_result(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const std::int32_t station = get_number(request, AMT_ATOM_STATION);
  const std::int32_t value = readProductTestItem(station);
  LOG_LINE("amt_item_read_test_result station_num[%d] station_result[%d]", station, value);
  if (value < 0 || value >= ITEM_VALUES) {
    pub_log_failure(k_log, ERR_NOT_HANDLED, "amt_item_read_test_result read_item ret_val[%d]", ERR_NOT_HANDLED);
    return amt_handle_send_rsp_err(link, response, AMT_READ_ITEM_RSPCMD, AMT_ERROR_MODEM);
  }
  LOG_LINE("amt_item_read_test_result read_item ret_val[%d]", ERR_NONE);
  amt_handle_start_rsp(response, AMT_READ_ITEM_RSPCMD);
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_STATION, static_cast<std::uint32_t>(station));
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_STATION_RESULT, static_cast<std::uint32_t>(value));
  return amt_handle_finish_rsp(link, response);
}
