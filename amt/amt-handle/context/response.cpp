#include "amt/amt-handle/context/response.h"

#include <algorithm>
#include <tuple>

#include "amt/amt-convert/amt-convert.h"
#include "amt/amt-convert/ids.h"
#include "amt/amt-convert/wrap.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

bool is_bad_link(std::uint8_t link) {
  return link == 0 || link == 255;
}

result_code_en fail_send(result_code_en code) {
  return pub_fail({k_log, 5780, "amt_handle_send_rsp"}, code);
}

result_code_en write_response(int fd, const amt_message_st& response) {
  const ssize_t written = pub_util_write(fd, response.m_buf_a.data(), response.m_buf_len);
  if (written < 0) {
    pub_log_sys_call(k_log, "write");
    pub_log_failure({k_log, "amt_handle_send_rsp"}, ERR_WRITE);
    return ERR_SYSTEM;
  }
  if (static_cast<std::uint32_t>(written) != response.m_buf_len) {
    LOG_WARNING("write not completed: to write(%d) != written(%d)", response.m_buf_len, static_cast<int>(written));
    return ERR_INCOMPLETE;
  }
  return ERR_NONE;
}

result_code_en send_result(std::uint8_t link, amt_message_st* response, std::uint32_t response_id, std::uint32_t code) {
  amt_handle_start_rsp(response, static_cast<std::uint8_t>(response_id));
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_RESULT, code);
  if (link == AMT_LINK_PC) std::ignore = amt_convert_app_2_pc(response);  // so short a frame always fits
  return amt_handle_send_rsp(link, response);
}

}  // namespace

result_code_en amt_handle_send_rsp(std::uint8_t link, amt_message_st* response) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments({k_log, 5745}, {is_bad_link(link), response == nullptr})) return ERR_ARGUMENT;
  if (response->m_buf_len == 0) response->m_buf_len = amt_frame_total_length(&response->m_buf_a);
  if (pub_log_bad_arguments({k_log, 5755}, {response->m_buf_len == 0})) return ERR_ARGUMENT;
  if (response->m_buf_len > AMT_FRAME_SIZE) {
    LOG_LINE("length %u leaves the record", response->m_buf_len);
    return fail_send(ERR_ARGUMENT);
  }

  const bool is_pc = link == AMT_LINK_PC;
  // An answer that nobody waits for any more is not left to the next application.
  const int app_fd = g_handle_context.m_has_app_left ? 0 : int{g_handle_context.m_pty_app.m_ptm_fd};
  const int fd = is_pc ? int{g_handle_context.m_fd_pc} : app_fd;
  if (fd <= 0) {
    pub_log_failure({k_log, 5770}, ERR_FAIL, "invalid fd");
    return fail_send(ERR_FAIL);
  }
  const result_code_en result = write_response(fd, *response);
  if (result != ERR_NONE) return fail_send(result);

  pub_log_dump(k_log, is_pc ? "send PC rsp data: " : "send APP rsp data: ",
               std::span(response->m_buf_a).first(response->m_buf_len));
  amt_message_clear(*response);
  return ERR_NONE;
}

result_code_en amt_handle_send_rsp_ok(std::uint8_t link, amt_message_st* response, std::uint32_t response_id) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments({k_log, 5824}, {is_bad_link(link), response == nullptr})) return ERR_ARGUMENT;
  return send_result(link, response, response_id, 0);
}

result_code_en amt_handle_send_rsp_err(std::uint8_t link, amt_message_st* response, std::uint32_t response_id,
                                       std::uint32_t code) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments({k_log, 5886}, {is_bad_link(link), response == nullptr})) return ERR_ARGUMENT;
  return send_result(link, response, response_id, code);
}

result_code_en amt_handle_send_pre_rsp_for_pc(std::uint8_t link, amt_message_st* response) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments({k_log, 5947}, {link != AMT_LINK_PC, response == nullptr})) return ERR_ARGUMENT;
  amt_message_clear(*response);
  std::copy(AMT_PRE_RESPONSE.begin(), AMT_PRE_RESPONSE.end(), response->m_buf_a.begin());
  response->m_buf_len = AMT_PRE_RESPONSE.size();
  return amt_handle_send_rsp(link, response);
}

void amt_handle_start_rsp(amt_message_st* response, std::uint8_t response_id) {
  amt_message_clear(*response);
  amt_frame_init(&response->m_buf_a, response_id);
}

result_code_en amt_handle_finish_rsp(std::uint8_t link, amt_message_st* response) {
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_RESULT, 0);
  if (link == AMT_LINK_PC) {
    const result_code_en result = amt_convert_app_2_pc(response);
    if (result != ERR_NONE) return result;
  }
  return amt_handle_send_rsp(link, response);
}

result_code_en amt_handle_send_at_rsp(amt_message_st* response, std::string_view text) {
  amt_message_clear(*response);
  const std::size_t count = std::min(text.size(), AMT_READ_LIMIT);
  std::copy_n(text.begin(), count, response->m_buf_a.begin());
  response->m_buf_len = static_cast<std::uint32_t>(count);
  return amt_handle_send_rsp(AMT_LINK_PC, response);
}
