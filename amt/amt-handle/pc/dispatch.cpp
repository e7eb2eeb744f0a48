#include "amt/amt-handle/pc/dispatch.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <tuple>

#include "amt/amt-cfg.h"
#include "amt/amt-convert/amt-convert.h"
#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/modem-device.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/pc/at-chain.h"
#include "amt/amt-handle/pc/capture.h"
#include "pub/result.h"
#include "pub/util/device.h"
#include "pub/util/io.h"
#include "pub/util/thread.h"

namespace {

constexpr std::uint8_t AT_TEXT_ID = 255;  // stands for the command id of a block that is not a frame
constexpr std::uint32_t REOPEN_TRIES = 60;
constexpr std::uint32_t REOPEN_PAUSE_MS = 1000;
constexpr std::uint32_t FAILED_WRITE_PAUSE_MS = 20;

// Unwraps a copy of the block. Gives the command id of the frame, or 255 for AT text.
std::uint8_t take_frame() {
  auto& context = g_handle_context;
  context.m_request_copy = context.m_request;
  if (amt_convert_pc_2_app(&context.m_request_copy) != ERR_NONE) return AT_TEXT_ID;

  const std::uint8_t id = amt_frame_command_id(&context.m_request_copy.m_buf_a);
  LOG_LINE("receive command id: %d(0x%02X) - %s", id, id, amt_command_name(id));
  if (g_amt_mode != AMT_MODE_AMT1) {
    g_amt_mode = AMT_MODE_AMT1;
    LOG_LINE("mark to enter amt1");
  }
  return id;
}

result_code_en run_frame_handler(std::uint8_t id) {
  auto& context = g_handle_context;
  const amt_handle_func handler = id < AMT_HANDLER_COUNT ? context.m_handle_pc_func_a[id] : nullptr;
  if (handler == nullptr) {
    LOG_LINE("handle_context_st.m_handle_pc_func_a[%d] =%p", id, static_cast<void*>(nullptr));
    return ERR_NOT_HANDLED;
  }
  if (context.m_pc_pre_response_a[id] == amt_pre_response_en::BY_DISPATCHER) {
    // A PC that misses the pre-response still waits for the answer.
    std::ignore = amt_handle_send_pre_rsp_for_pc(AMT_LINK_PC, &context.m_response);
  }
  return handler(AMT_LINK_PC, &context.m_request_copy, &context.m_response);
}

// The modem's device was reset: open it again. The block is lost, its sender has to repeat it. Meanwhile the modem
// reader waits for something that never comes. If the opening fails, m_fd_modem keeps its number for now: see
// handle_amt_pc_req.
result_code_en reopen_modem() {
  auto& context = g_handle_context;
  pub_util_park_device(&context.m_fd_modem);
  pub_util_wake_thread(context.m_modem_thread);
  const result_code_en result = pub_util_try_to_reopen_device(&context.m_fd_modem, g_amt_cfg.m_tty_modem_a, O_RDWR,
                                                              REOPEN_TRIES, REOPEN_PAUSE_MS);
  amt_modem_finish_opening(result == ERR_NONE ? int{context.m_fd_modem} : 0);
  pub_util_wake_thread(context.m_modem_thread);
  return result;
}

result_code_en judge_modem_write(ssize_t written, int error, bool* is_modem_lost) {
  const auto& request = g_handle_context.m_request;
  if (written == static_cast<ssize_t>(request.m_buf_len)) return ERR_NONE;
  const bool is_reset = written < 0 && (error == EIO || error == EBADF);
  if (is_reset) {
    LOG_LINE("write error 1, errno[%d]", error);
  } else if (written < 0) {
    LOG_LINE("write error 2, errno[%d]", error);
  }
  errno = error;
  pub_log_failure({k_log, "handle_amt_pc_req"}, ERR_FAIL);
  result_code_en result = ERR_FAIL;
  if (is_reset) {
    result = reopen_modem();
    *is_modem_lost = result != ERR_NONE;
  }
  pub_util_sleep_ms(FAILED_WRITE_PAUSE_MS);
  return result;
}

// Writes the block, as it came, to the modem.
result_code_en pass_to_modem(bool* is_modem_lost) {
  const auto& request = g_handle_context.m_request;
  const ssize_t written = pub_util_write(g_handle_context.m_fd_modem, request.m_buf_a.data(), request.m_buf_len);
  const result_code_en result = judge_modem_write(written, errno, is_modem_lost);
  const auto shown = static_cast<std::size_t>(std::max<ssize_t>(written, 0));
  if (written < 0) {
    LOG_LINE("%s: (data_len = %d) -- %s", "write to modem: ", static_cast<int>(written), "");
  } else {
    pub_log_dump(k_log, "write to modem: ", std::span(request.m_buf_a).first(shown));
  }
  return result;
}

}  // namespace

result_code_en handle_amt_pc_req() {
  pub_log_entry(k_log);
  auto& context = g_handle_context;
  if (pub_log_bad_arguments(k_log, {false, false, context.m_request.m_buf_len == 0, false})) return ERR_ARGUMENT;
  const std::string_view received = amt_message_text(context.m_request);
  const std::uint8_t id = take_frame();
  result_code_en result = run_frame_handler(id);
  handle_amt_imei_and_sn(id, received, context.m_request_copy.m_buf_a);
  if (result == ERR_NOT_HANDLED) result = handle_amt_pc_req_at(received, &context.m_response);
  bool is_modem_lost = false;
  if (result == ERR_NOT_HANDLED) result = pass_to_modem(&is_modem_lost);
  if (result == ERR_NONE) return ERR_NONE;
  result = amt_handle_send_rsp_err(AMT_LINK_PC, &context.m_response, static_cast<std::uint8_t>(id + 1), 1);
  // Not earlier: the modem reader ends the service when it finds its link closed, and the PC is to have its answer
  // then.
  if (is_modem_lost) context.m_fd_modem.abandon();
  return result;
}
