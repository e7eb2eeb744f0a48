#include "amt/amt-handle/modem/at-query.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/modem/at-link.h"
#include "pub/util/io.h"

namespace {

constexpr std::uint32_t EMPTY_READ_PAUSE_MS = 100;
constexpr std::size_t KEPT_OF_LONG_ANSWER = 16;  // longer than any final result

// Keeps the end of a full record, which may be the begin of a final result.
void make_room() {
  auto& receive = g_handle_context.m_at_receive;
  if (receive.m_buf_len < receive.m_buf_a.size()) return;
  if (!std::exchange(g_handle_context.m_is_at_receive_cut, true)) {
    pub_log_failure({k_log, 1045, "read_at"}, ERR_ARGUMENT, "the modem's answer is longer than %d",
                    static_cast<int>(receive.m_buf_a.size()));
  }
  const auto rest =
      std::copy(receive.m_buf_a.end() - KEPT_OF_LONG_ANSWER, receive.m_buf_a.end(), receive.m_buf_a.begin());
  std::fill(rest, receive.m_buf_a.end(), '\0');
  receive.m_buf_len = KEPT_OF_LONG_ANSWER;
}

result_code_en judge_success() {
  return amt_modem_is_answer_cut() ? ERR_ARGUMENT : ERR_NONE;
}

}  // namespace

bool amt_modem_is_missing() {
  if (g_no_modem == 0) return false;
  LOG_WARNING("no CP.");
  return true;
}

result_code_en amt_modem_check_request(const pub_log_site& site, std::uint8_t link, const amt_message_st* request,
                                       const amt_message_st* response) {
  if (amt_handle_is_bad_request(site, link, request, response)) return ERR_ARGUMENT;
  return amt_modem_is_missing() ? ERR_NO_MODEM : ERR_NONE;
}

void amt_modem_prepare(const char* format, ...) {
  auto& context = g_handle_context;
  context.m_at_command = {};
  context.m_at_receive = {};
  auto& text = context.m_at_command.m_buf_a;
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  context.m_at_command.m_buf_len =
      std::min(static_cast<std::uint32_t>(std::max(length, 0)), static_cast<std::uint32_t>(text.size() - 1));
}

bool amt_modem_can_carry(std::string_view text) {
  return std::none_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < ' ' || byte == 0x7F;
  });
}

result_code_en amt_modem_send() {
  const auto& command = g_handle_context.m_at_command;
  g_handle_context.m_is_at_receive_cut = false;
  return write_at(command.m_buf_a.data(), command.m_buf_len);
}

result_code_en amt_modem_receive() {
  make_room();
  auto& receive = g_handle_context.m_at_receive;
  const auto room = static_cast<std::uint32_t>(receive.m_buf_a.size() - receive.m_buf_len);
  std::uint32_t count = 0;
  const result_code_en result = read_at(receive.m_buf_a.data() + receive.m_buf_len, room, &count);
  receive.m_buf_len += count;
  if (result == ERR_NONE && count == 0) pub_util_sleep_ms(EMPTY_READ_PAUSE_MS);  // a device that is always ready
  return result;
}

result_code_en amt_judge_ok_first(std::string_view answer) {
  if (amt_answer_is_ok(answer)) return judge_success();
  return amt_answer_is_error(answer) ? ERR_FAIL : ERR_NOT_HANDLED;
}

result_code_en amt_judge_error_first(std::string_view answer) {
  return amt_answer_is_error(answer) ? ERR_FAIL : amt_judge_ok_first(answer);
}
