// The one exchange with the modem's AT link: a command, then reads until a final result. Every modem-backed request is
// one or two of these, with its differences as arguments.
#pragma once

#include <cstdint>
#include <string_view>

#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/modem/answer.h"
#include "pub/result.h"

// Whether there is a modem to ask; logs when there is none.
bool amt_modem_is_missing();

// Why any modem-backed request is refused, logged under the handler's site: ERR_ARGUMENT (see
// amt_handle_is_bad_request), ERR_NO_MODEM; else 0.
result_code_en amt_modem_check_request(const pub_log_site& site, std::uint8_t link, const amt_message_st* request,
                                       const amt_message_st* response);

// Clears the AT buffers and formats the command.
void amt_modem_prepare(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Sends the command. Codes of write_at.
result_code_en amt_modem_send();

// Whether a text can be a part of a command: a control character would end the command, or make two of it.
bool amt_modem_can_carry(std::string_view text);

// Reads once and appends to what was received. Codes of read_at. An answer that does not fit the record is read on, and
// only its end is kept: see amt_modem_is_answer_cut.
result_code_en amt_modem_receive();

// Whether the answer did not fit: it counts as failed (ERR_ARGUMENT) at its final result.
inline bool amt_modem_is_answer_cut() {
  return g_handle_context.m_is_at_receive_cut;
}

// What was received since the command.
inline std::string_view amt_modem_answer() {
  return g_handle_context.m_at_receive.view();
}

// The result that a received text stands for; ERR_NOT_HANDLED when the modem's answer is not at its end.
using amt_modem_judge = result_code_en (*)(std::string_view answer);
result_code_en amt_judge_ok_first(std::string_view answer);
result_code_en amt_judge_error_first(std::string_view answer);  // for an answer that holds both

// A whole exchange. after_read(result, answer) is called after each read, also a failed one. 0 when the modem answered
// OK; ERR_FAIL when it reported an error; codes of the link.
template <typename AfterRead>
result_code_en amt_modem_exchange(AfterRead after_read, amt_modem_judge judge = amt_judge_ok_first) {
  result_code_en result = amt_modem_send();
  while (result == ERR_NONE) {
    result = amt_modem_receive();
    after_read(result, amt_modem_answer());
    if (result != ERR_NONE) break;
    const result_code_en final_result = judge(amt_modem_answer());
    if (final_result != ERR_NOT_HANDLED) return final_result;
  }
  return result;
}

// The after_read of an exchange that logs "<name> :<answer>", and of one that logs nothing.
inline auto amt_log_answer_as(const char* name) {
  return [name](std::int32_t, std::string_view answer) {
    LOG_LINE("%s :%.*s", name, static_cast<int>(answer.size()), answer.data());
  };
}
inline void amt_log_no_answer(std::int32_t, std::string_view) {}
