#include "amt/amt-handle/pc/amt1-flag.h"

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "amt/amt-record/amt1-flag.h"

result_code_en handle_amt_not_permit_handshake_at(std::string_view received, amt_message_st* response) {
  LOG_LINE("handle_amt_not_permit_handshake_at. start.");
  auto rest = handle_amt_text_after(received, "AT^DAMT1=");
  if (!rest) return ERR_NOT_HANDLED;
  const auto field = handle_amt_next_field(*rest);
  if (!field) return pub_fail(k_log, ERR_ARGUMENT, "type is null!!!");
  const std::int32_t type = handle_amt_field_value(*field);
  std::int32_t value = 0;
  if (handle_amt_damt1_operation(type, &value) != ERR_NONE) return handle_amt_reply_error(response);
  if (type != AMT_FLAG_READ) return handle_amt_reply_ok(response);
  return handle_amt_reply(response, "\r\n^DAMT1: %d\r\n\r\nOK\r\n", value);
}

result_code_en amt_handle_not_permit_handshake(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  std::int32_t value = 0;
  const result_code_en result = handle_amt_damt1_operation(AMT_FLAG_FORBID, &value);
  return result == ERR_NONE ? amt_handle_send_rsp_ok(link, response, AMT_DAMT1_RSPCMD) : result;
}
