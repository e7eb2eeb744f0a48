#include "amt/amt-handle/pc/at-reply.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/response.h"

std::int32_t handle_amt_reply_ok() {
  return amt_handle_send_at_rsp(&g_handle_context.m_response, "\r\nOK\r\n");
}

std::int32_t handle_amt_reply_error() {
  return amt_handle_send_at_rsp(&g_handle_context.m_response, "\r\nERROR\r\n");
}

std::int32_t handle_amt_reply_cme_error() {
  return amt_handle_send_at_rsp(&g_handle_context.m_response, "\r\n+CME ERROR: 100\r\n");
}

std::int32_t handle_amt_reply(const char* format, ...) {
  char text[AMT_READ_LIMIT + 1];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  const std::size_t count = std::min<std::size_t>(static_cast<std::size_t>(std::max(length, 0)), AMT_READ_LIMIT);
  return amt_handle_send_at_rsp(&g_handle_context.m_response, {text, count});
}
