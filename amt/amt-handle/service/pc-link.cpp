#include "amt/amt-handle/service/pc-link.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstdlib>
#include <string_view>

#include "amt/amt-cfg.h"
#include "amt/amt-device/battery.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/modem-device.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/life/lifetime.h"
#include "amt/amt-handle/pc/dispatch.h"
#include "amt/amt-handle/service/handshake.h"
#include "pub/result.h"
#include "pub/util/device.h"
#include "pub/util/io.h"
#include "pub/util/signals.h"
#include "pub/util/thread.h"

namespace {

constexpr std::string_view PROBE = "AT\r";
constexpr std::string_view LINK_STATUS_ON = "AT;^DLKS=1\r";
constexpr std::size_t SHORT_PROBE_LIMIT = 5;
constexpr std::size_t DOUBLE_PROBE_AT = 4;
constexpr std::uint32_t EMPTY_READ_PAUSE_MS = 100;

bool probe_at(std::span<const std::uint8_t> block, std::size_t offset) {
  return block.size() >= offset + PROBE.size() &&
         std::equal(PROBE.begin(), PROBE.end(), block.begin() + static_cast<std::ptrdiff_t>(offset),
                    [](char wanted, std::uint8_t byte) { return wanted == std::toupper(byte); });
}

void enter_amt4() {
  if (g_amt_mode == AMT_MODE_AMT4) return;
  g_amt_mode = AMT_MODE_AMT4;
  LOG_LINE("mark to enter amt4");
  const result_code_en result = amt_usb_charge_ctrl(1);
  LOG_LINE("call amt_usb_charge_ctrl for amt4. return:%d, current amt mode:%d.", result, std::int32_t{g_amt_mode});
}

// The probe becomes the command by which the modem starts to report its link status.
void answer_probe() {
  auto& request = g_handle_context.m_request;
  const amt_probe_en probe = amt_recognise_probe(std::span(request.m_buf_a).first(request.m_buf_len));
  if (probe == amt_probe_en::NONE) return;
  if (probe == amt_probe_en::SHORT && amt_modem_is_uart()) {
    pub_util_set_serial_dev_attr(g_handle_context.m_fd_modem, g_amt_cfg.m_modem_uart_at_baudrate);
  }
  amt_message_clear(request);
  std::copy(LINK_STATUS_ON.begin(), LINK_STATUS_ON.end(), request.m_buf_a.begin());
  request.m_buf_len = LINK_STATUS_ON.size();
  enter_amt4();
}

// Reads one block after what the request record holds. False: the link has failed, and counts as closed. It is not
// closed here, nor anywhere below: the modem reader may be writing to it. The end of the process closes it.
bool read_block() {
  auto& context = g_handle_context;
  auto& request = context.m_request;
  for (;;) {
    const int fd = context.m_fd_pc;
    LOG_LINE("read_pc_loop, read ready, m_fd_pc=%d", fd);
    const ssize_t count =
        pub_util_read(fd, request.m_buf_a.data() + request.m_buf_len, AMT_READ_LIMIT - request.m_buf_len);
    if (count > 0) {
      request.m_buf_len += static_cast<std::uint32_t>(count);
      pub_log_dump(k_log, "handle PC req data: ", std::span(request.m_buf_a).first(request.m_buf_len));
      return true;
    }
    if (count < 0) {
      pub_log_sys_call(k_log, "read");
      pub_log_failure({k_log, 4419, "amt_handle_read_pc_loop"}, ERR_WRITE);
      context.m_fd_pc.abandon();
      return false;
    }
    LOG_WARNING("pc read empty data");
    pub_util_sleep_ms(EMPTY_READ_PAUSE_MS);
  }
}

// One request, from the read to its answer. False: the link is to end.
bool serve_request() {
  auto& context = g_handle_context;
  if (context.m_fd_pc < 1) return false;
  if (context.m_fd_modem < 1) {
    context.m_fd_pc.abandon();
    return false;
  }
  if (!read_block()) return false;
  if (g_usb_activate != 0) amt_handshake_pc_spoke();
  answer_probe();
  if (handle_amt_pc_req() != ERR_NONE) {
    context.m_fd_pc.abandon();
    return false;
  }
  amt_message_clear(context.m_request);
  return true;
}

}  // namespace

amt_probe_en amt_recognise_probe(std::span<const std::uint8_t> block) {
  if (!probe_at(block, 0)) return amt_probe_en::NONE;
  if (block.size() <= SHORT_PROBE_LIMIT) return amt_probe_en::SHORT;
  return probe_at(block, DOUBLE_PROBE_AT) ? amt_probe_en::DOUBLED : amt_probe_en::NONE;
}

void amt_handle_read_pc_loop() {
  pub_log_entry(k_log);
  pub_util_install_handler(SIGUSR1, pub_util_handle_thread_signal);
  amt_message_clear(g_handle_context.m_request);
  amt_message_clear(g_handle_context.m_response);
  while (serve_request()) {
  }
  pub_util_clear_thread(g_handle_context.m_pc_thread);
  amt_handle_end_service(EXIT_SUCCESS);
}
