#include "amt/amt-handle/pc/at-reply.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/response.h"

result_code_en handle_amt_reply_ok(amt_message_st* response) {
  return amt_handle_send_at_rsp(response, "\r\nOK\r\n");
}

result_code_en handle_amt_reply_error(amt_message_st* response) {
  return amt_handle_send_at_rsp(response, "\r\nERROR\r\n");
}

result_code_en handle_amt_reply_cme_error(amt_message_st* response) {
  return amt_handle_send_at_rsp(response, "\r\n+CME ERROR: 100\r\n");
}

result_code_en handle_amt_reply(amt_message_st* response, const char* format, ...) {
  char text[AMT_READ_LIMIT + 1];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  const std::size_t count = std::min<std::size_t>(static_cast<std::size_t>(std::max(length, 0)), AMT_READ_LIMIT);
  return amt_handle_send_at_rsp(response, {text, count});
}
