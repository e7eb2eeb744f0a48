#include "amt/amt-handle/context/registry.h"

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "pub/result.h"

result_code_en amt_handle_reg_handle_func(std::uint8_t link, std::uint32_t request_id, amt_handle_func handler,
                                          amt_pre_response_en pre_response) {
  if (pub_log_bad_arguments({k_log, 5676}, {request_id >= AMT_HANDLER_COUNT})) return ERR_ARGUMENT;
  const bool is_pc = link == AMT_LINK_PC;
  auto& table = is_pc ? g_handle_context.m_handle_pc_func_a : g_handle_context.m_handle_app_func_a;
  if (handler == nullptr) LOG_WARNING("clean the handle function of request id: %d", request_id);
  if (table[request_id] != nullptr) LOG_WARNING("re-register the handle function of request id: %d", request_id);
  table[request_id] = handler;
  if (is_pc) g_handle_context.m_pc_pre_response_a[request_id] = pre_response;
  LOG_LINE("%s register command id: %d(0x%02x) - %s", is_pc ? "PC" : "APP", request_id, request_id,
           amt_command_name(static_cast<std::uint8_t>(request_id)));
  return ERR_NONE;
}

bool amt_handle_is_bad_request(const pub_log_site& site, std::uint8_t link, const amt_message_st* request,
                               const amt_message_st* response) {
  return pub_log_bad_arguments(
      site, {link == 255, request == nullptr, request != nullptr && request->m_buf_len == 0, response == nullptr});
}
