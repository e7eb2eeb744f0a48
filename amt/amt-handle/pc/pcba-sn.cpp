#include "amt/amt-handle/pc/pcba-sn.h"

#include <algorithm>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "amt/amt-record/serial-number.h"

namespace {

// Of the frame's operation atom and of the AT command's type.
constexpr std::uint8_t OPERATION_READ = 1;
constexpr std::uint8_t OPERATION_WRITE = 2;

result_code_en read_for_frame(const pub_log_site& site, amt_message_st* response) {
  char serial[AMT_PCBA_SN_SIZE];
  if (amt_read_pcba_sn(serial) != ERR_NONE) return pub_fail(site, ERR_FAIL, "read error.");
  LOG_LINE("readed pcba-sn: %s.", serial);
  amt_frame_add_string(&response->m_buf_a, AMT_ATOM_PCBA_SERIAL, serial);
  return ERR_NONE;
}

result_code_en write_from_frame(const pub_log_site& site, const amt_message_st* request) {
  char serial[AMT_PCBA_SN_SIZE] = {};
  amt_frame_get_string(&request->m_buf_a, AMT_ATOM_PCBA_SERIAL, serial, sizeof serial);
  serial[AMT_PCBA_SN_SIZE - 1] = '\0';  // a value of exactly 30 characters comes without a terminator
  LOG_LINE("getted pcba-sn: %s.", serial);
  if (amt_write_pcba_sn(serial, AMT_PCBA_SN_FILE) != ERR_NONE) return pub_fail(site, ERR_FAIL, "write error.");
  LOG_LINE("Writed to file success.pcba-sn: %s.", serial);
  return ERR_NONE;
}

result_code_en reply_failure(const pub_log_site& site, amt_message_st* response, const char* text) {
  pub_log_failure(site, ERR_FAIL, "%s", text);
  return handle_amt_reply_error(response);
}

result_code_en read_for_text(const pub_log_site& site, amt_message_st* response) {
  char serial[AMT_PCBA_SN_SIZE];
  if (amt_read_pcba_sn(serial) != ERR_NONE) return reply_failure(site, response, "read error.");
  LOG_LINE("readed pcba-sn: %s.", serial);
  return handle_amt_reply(response, "\r\n^DPCBACTRL: %s\r\n\r\nOK\r\n", serial);
}

// The carriage return that ends the command is part of the serial number, on purpose: what is read back has it, too.
result_code_en write_from_text(const pub_log_site& site, std::string_view rest, amt_message_st* response) {
  const auto field = handle_amt_next_field(rest);
  if (!field) return pub_fail(site, ERR_ARGUMENT, "pcba-sn is null!!!");
  char serial[AMT_PCBA_SN_SIZE] = {};
  if (field->size() > sizeof serial - 1) return reply_failure(site, response, "pcba-sn is too long.");
  std::copy(field->begin(), field->end(), serial);
  if (amt_write_pcba_sn(serial, AMT_PCBA_SN_FILE) != ERR_NONE) return reply_failure(site, response, "write error.");
  LOG_LINE("Writed pcba-sn: %s.", serial);
  return handle_amt_reply_ok(response);
}

}  // namespace

result_code_en amt_handle_board_pcba_ctrl(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  amt_handle_start_rsp(response, AMT_BOARD_PCBA_CTRL_RSPCMD);
  std::uint8_t operation = 0;
  amt_frame_get_bytes(&request->m_buf_a, AMT_ATOM_PCBA_OPERATION, &operation, sizeof operation);
  LOG_LINE("pcba op-type: %d.", operation);

  result_code_en result = ERR_NONE;
  if (operation == OPERATION_READ) {
    result = read_for_frame(k_log, response);
  } else if (operation == OPERATION_WRITE) {
    result = write_from_frame(k_log, request);
  } else {
    result = pub_fail(k_log, ERR_ARGUMENT, "unknown operation type: %u", operation);
  }
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}

result_code_en handle_amt_pcba_sn_at(std::string_view received, amt_message_st* response) {
  pub_log_entry(k_log);
  auto rest = handle_amt_text_after(received, "AT^DPCBACTRL=");
  if (!rest) return ERR_NOT_HANDLED;
  const auto field = handle_amt_next_field(*rest);
  if (!field) return pub_fail(k_log, ERR_ARGUMENT, "type is null!!!");
  const auto type = static_cast<std::uint8_t>(handle_amt_field_value(*field));
  if (type == OPERATION_READ) return read_for_text(k_log, response);
  if (type == OPERATION_WRITE) return write_from_text(k_log, *rest, response);
  pub_log_failure(k_log, ERR_ARGUMENT, "unknown operation type: %u", type);
  return handle_amt_reply_error(response);
}
