// The context: every channel's descriptors, threads and buffers, and the request registry. One object.
//
// The request and response records are shared by the PC reader and the APP reader; only one of the two ever runs.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "amt/amt-convert/frame.h"
#include "pub/pty/pty.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/thread.h"

enum amt_link_en : std::uint8_t { AMT_LINK_PC = 1, AMT_LINK_APP = 2 };

// A request handler: the link the request came on, the request (a bare frame), the record to build the answer in.
// 0: handled and answered. ERR_NOT_HANDLED: the modem's business. Anything else: the caller sends the error frame.
using amt_handle_func = result_code_en (*)(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// Who sends the PC the pre-response: the dispatcher, before it calls the handler, or the handler, which may leave it
// out.
enum class amt_pre_response_en : std::uint8_t { BY_DISPATCHER, BY_HANDLER };

inline constexpr std::uint32_t AMT_HANDLER_COUNT = 255;  // ids 0..254; 255 can never be registered
inline constexpr std::size_t AMT_READ_LIMIT = 4095;      // bytes read into a record: it stays zero-terminated

// Text of the AT link: how many characters of m_buf_a count, and the characters.
struct amt_at_text_st {
  std::uint32_t m_buf_len;
  std::array<char, AMT_FRAME_SIZE> m_buf_a;

  std::string_view view() const { return {m_buf_a.data(), m_buf_len}; }
};

// The last command on the AT link, and whether its final result, which may come in several reads, has come.
struct amt_at_exchange_st {
  bool m_is_owed;            // the final result is still to come
  bool m_is_silence_logged;  // the modem has been silent for long
  std::uint32_t m_tail_len;
  std::array<char, 48> m_tail_a;     // the end of what was read since the command: longer than any final result
  std::array<char, 61> m_command_a;  // its begin, for the log; zero-terminated
};

struct handle_context_st {
  pub_thread_st m_app_thread;
  pub_thread_st m_pc_thread;
  pub_thread_st m_modem_thread;
  pub_thread_st m_usb_thread;
  pub_pty_st m_pty_app;
  bool m_has_app_left;       // the application closed its terminal while its request ran
  pub_shared_fd m_fd_pc;     // PC link; 0 = closed, like the two below
  pub_shared_fd m_fd_at;     // modem AT command link
  pub_shared_fd m_fd_modem;  // modem data link
  bool m_is_at_lost;         // the AT link is closed because it could not be reopened
  amt_message_st m_request;  // received and not yet handled
  amt_message_st m_response;
  amt_message_st m_request_copy;   // the PC's request, unwrapped; what frame handlers read
  amt_message_st m_modem_receive;  // received from the modem data link
  amt_message_st m_at_request;     // a radio request as AT data
  amt_at_text_st m_at_command;     // sent to the modem's AT link
  amt_at_text_st m_at_receive;     // read from it since the command
  bool m_is_at_receive_cut;        // the answer did not fit: only its end is there
  amt_at_exchange_st m_at_exchange;
  amt_message_st m_at_response;  // a radio response as AT data
  std::array<amt_handle_func, AMT_HANDLER_COUNT> m_handle_pc_func_a;
  std::array<amt_pre_response_en, AMT_HANDLER_COUNT> m_pc_pre_response_a;
  std::array<amt_handle_func, AMT_HANDLER_COUNT> m_handle_app_func_a;
};

extern handle_context_st g_handle_context;

// Everything to zero. Only before any reader runs.
void amt_handle_clear_context();

inline void amt_message_clear(amt_message_st& message) {
  message = {};
}

// The bytes that count, as text.
inline std::string_view amt_message_text(const amt_message_st& message) {
  return {reinterpret_cast<const char*>(message.m_buf_a.data()),
          std::min<std::size_t>(message.m_buf_len, message.m_buf_a.size())};
}
