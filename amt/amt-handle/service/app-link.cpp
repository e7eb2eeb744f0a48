#include "amt/amt-handle/service/app-link.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <tuple>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/response.h"
#include "pub/pty/pty.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/signals.h"
#include "pub/util/thread.h"

namespace {

constexpr std::uint32_t EMPTY_READ_PAUSE_MS = 200;

// The application has closed its side: opens a new terminal under the same name. False when that fails. What the old
// one sent is forgotten: the next application gets no answer to it.
bool reconnect(pub_pty_st& pty) {
  g_handle_context.m_has_app_left = false;
  amt_message_clear(g_handle_context.m_request);
  LOG_LINE("pty disconnect: pts name(%s), pts mapping name(%s)", pty.m_pts_name_a, pty.m_pts_mapping_name_a);
  std::ignore = pub_pty_close(&pty);
  return pub_pty_open(&pty) == ERR_NONE;
}

void log_lost_link(const pub_pty_st& pty) {
  pub_log_sys_call(k_log, "read");
  pub_log_failure({k_log, 4203, "amt_handle_read_app_loop"}, ERR_WRITE,
                  "pty disconnect: pts name(%s), pts mapping name(%s), thread id(%d), PTM fd(%d)", pty.m_pts_name_a,
                  pty.m_pts_mapping_name_a, gettid(), int{pty.m_ptm_fd});
}

// Reads one block after what the request record holds. False: the link is lost.
bool read_block() {
  auto& pty = g_handle_context.m_pty_app;
  auto& request = g_handle_context.m_request;
  for (;;) {
    if (g_handle_context.m_has_app_left && !reconnect(pty)) return false;
    const ssize_t count =
        pub_util_read(pty.m_ptm_fd, request.m_buf_a.data() + request.m_buf_len, AMT_READ_LIMIT - request.m_buf_len);
    if (count > 0) {
      request.m_buf_len += static_cast<std::uint32_t>(count);
      pub_log_dump(k_log, "handle APP req data: ", std::span(request.m_buf_a).first(request.m_buf_len));
      return true;
    }
    if (count == 0) {  // also when the record is full of requests whose error answers could not be sent
      LOG_WARNING("app read empty data");
      pub_util_sleep_ms(EMPTY_READ_PAUSE_MS);
    } else if (errno != EIO) {
      log_lost_link(pty);
      return false;
    } else if (!reconnect(pty)) {
      return false;
    }
  }
}

result_code_en refuse(int line, const char* why, std::uint8_t id) {
  return pub_fail({k_log, line, "handle_amt_app_req"}, ERR_FAIL, "%s AMT request id: %d", why, id);
}

result_code_en run_handler(std::uint8_t id) {
  auto& context = g_handle_context;
  if (id >= AMT_HANDLER_COUNT) return refuse(3606, "unknown", id);
  const amt_handle_func handler = context.m_handle_app_func_a[id];
  if (handler == nullptr) return refuse(3610, "unregistered", id);
  return handler(AMT_LINK_APP, &context.m_request, &context.m_response);
}

// The record stays as it is only when not even the error answer could be sent: the next block is then appended to it,
// unless the application has left.
void handle_amt_app_req() {
  pub_log_entry(k_log);
  auto& context = g_handle_context;
  if (pub_log_bad_arguments({k_log, 3590}, {false, false, context.m_request.m_buf_len == 0, false})) return;

  const std::uint8_t id = amt_frame_command_id(&context.m_request.m_buf_a);
  LOG_LINE("receive command id: %d(0x%02X) - %s", id, id, amt_command_name(id));
  result_code_en result = run_handler(id);
  if (result != ERR_NONE) {
    result = amt_handle_send_rsp_err(AMT_LINK_APP, &context.m_response, static_cast<std::uint8_t>(id + 1), 1);
  }
  if (result == ERR_NONE) amt_message_clear(context.m_request);
}

}  // namespace

void amt_handle_read_app_loop() {
  pub_log_entry(k_log);
  pub_util_install_handler(SIGUSR1, pub_util_handle_thread_signal);
  auto& context = g_handle_context;
  amt_message_clear(context.m_request);
  amt_message_clear(context.m_response);
  while (read_block()) handle_amt_app_req();
  std::ignore = pub_pty_close(&context.m_pty_app);
  pub_util_clear_thread(context.m_app_thread);
}
