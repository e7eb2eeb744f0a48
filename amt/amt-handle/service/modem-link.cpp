#include "amt/amt-handle/service/modem-link.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/life/lifetime.h"
#include "amt/amt-handle/pc/capture.h"
#include "amt/amt-handle/service/handshake.h"
#include "pub/util/io.h"
#include "pub/util/signals.h"
#include "pub/util/thread.h"

namespace {

constexpr std::uint32_t EMPTY_READ_PAUSE_MS = 100;

// Reads once after what the record holds. False, after a pause, when there was nothing or the link failed: the PC
// reader may just be reopening the modem, so a failed read is tried again for ever.
bool read_block(amt_message_st& record) {
  const int fd = g_handle_context.m_fd_modem;
  LOG_LINE("read_modem_loop, read ready, m_fd_modem=%d", fd);
  const ssize_t count = pub_util_read(fd, record.m_buf_a.data() + record.m_buf_len, AMT_READ_LIMIT - record.m_buf_len);
  if (count < 1) {
    LOG_WARNING("modem read empty data");
    pub_util_sleep_ms(EMPTY_READ_PAUSE_MS);
    return false;
  }
  record.m_buf_len += static_cast<std::uint32_t>(count);
  pub_log_dump(k_log, "receive Modem data: ", std::span(record.m_buf_a).first(record.m_buf_len));
  return true;
}

// False when the block did not go out whole: then the service is to end.
bool write_to_pc(amt_message_st& record) {
  const ssize_t written = pub_util_write(g_handle_context.m_fd_pc, record.m_buf_a.data(), record.m_buf_len);
  LOG_LINE("write to pc, m_buf_len=%d, write_len=%d", record.m_buf_len, static_cast<int>(written));
  if (written < 0) LOG_LINE("write error, errno[%d]", errno);
  if (written != static_cast<ssize_t>(record.m_buf_len)) return false;
  amt_message_clear(record);
  return true;
}

}  // namespace

void amt_handle_read_modem_loop() {
  pub_log_entry(k_log);
  pub_util_install_handler(SIGUSR1, pub_util_handle_thread_signal);
  auto& context = g_handle_context;
  amt_message_clear(context.m_modem_receive);
  while (context.m_fd_pc >= 1 && context.m_fd_modem >= 1) {
    if (!read_block(context.m_modem_receive)) continue;
    handle_amt_imei_and_sn_rsp(context.m_modem_receive);
    if (g_usb_activate != 0) amt_handshake_modem_begins();
    if (!write_to_pc(context.m_modem_receive)) break;
    if (g_usb_activate != 0) amt_handshake_modem_spoke();
  }
  context.m_fd_modem.abandon();  // the PC reader may be writing to it
  pub_util_clear_thread(context.m_modem_thread);
  amt_handle_end_service(EXIT_SUCCESS);
}
