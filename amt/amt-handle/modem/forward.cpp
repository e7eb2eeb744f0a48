#include "amt/amt-handle/modem/forward.h"

#include <algorithm>
#include <optional>

#include "amt/amt-convert/amt-convert.h"
#include "amt/amt-convert/at-data.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/modem/answer.h"
#include "amt/amt-handle/modem/at-link.h"
#include "amt/amt-handle/modem/at-query.h"
#include "pub/result.h"

namespace {

constexpr std::string_view COMMAND = "AT^DTTEST=";
constexpr std::string_view PREFIX = "\r\n^DTTEST: ";

// Where an information line stands in the received text.
struct line_st {
  std::size_t m_begin;  // of the prefix
  std::size_t m_text;   // after it
  std::size_t m_end;    // of the text; the line end follows
};

std::optional<line_st> find_line(std::string_view received) {
  const std::size_t begin = received.find(PREFIX);
  if (begin == std::string_view::npos) return std::nullopt;
  const std::size_t text = begin + PREFIX.size();
  const std::size_t end = received.find(AMT_LINE_END, text);
  if (end == std::string_view::npos) return std::nullopt;
  return line_st{begin, text, end};
}

// The request as the modem's command. The text, its carriage return and one byte more have to stay below the record.
result_code_en build_command(const amt_message_st& request) {
  auto& context = g_handle_context;
  context.m_at_request = {};
  context.m_at_command = {};
  auto& data = context.m_at_request;
  auto& command = context.m_at_command;
  std::copy(COMMAND.begin(), COMMAND.end(), command.m_buf_a.begin());
  const result_code_en result = amt_convert_req_amt_data_2_at_data(
      &request.m_buf_a, data.m_buf_a.data(), static_cast<std::uint32_t>(data.m_buf_a.size()), &data.m_buf_len);
  if (result != ERR_NONE) return result;
  if (COMMAND.size() + std::size_t{2} * data.m_buf_len + 2 >= command.m_buf_a.size()) {
    return pub_fail({k_log, "amt_modem_handle_req"}, ERR_FAIL, "(%ld + %ld * 2 + 2) < %d",
                    static_cast<long>(COMMAND.size()), static_cast<long>(data.m_buf_len),
                    static_cast<int>(command.m_buf_a.size()));
  }
  amt_hex_encode(std::span(data.m_buf_a).first(data.m_buf_len), std::span(command.m_buf_a).subspan(COMMAND.size()));
  const std::size_t end = COMMAND.size() + std::size_t{2} * data.m_buf_len;
  command.m_buf_a[end] = '\r';
  command.m_buf_len = static_cast<std::uint32_t>(end + 1);
  return ERR_NONE;
}

// Takes n bytes for a line of n characters, on purpose: the second half comes from what follows the line. So a response
// of the modem that is shorter than its id asks for still gets all its atoms, and stations rely on that.
void decode_line(const line_st& line) {
  auto& context = g_handle_context;
  const auto length = static_cast<std::uint32_t>(line.m_end - line.m_text);
  context.m_at_response = {};
  context.m_at_response.m_buf_len = length;
  const std::string_view record(context.m_at_receive.m_buf_a.data(), context.m_at_receive.m_buf_a.size());
  amt_hex_decode(record.substr(line.m_text), std::span(context.m_at_response.m_buf_a).first(length));
}

void remove_line(const line_st& line) {
  auto& received = g_handle_context.m_at_receive;
  const auto at = [](std::size_t position) { return received.m_buf_a.begin() + static_cast<std::ptrdiff_t>(position); };
  const auto end = std::copy(at(line.m_end + AMT_LINE_END.size()), at(received.m_buf_len), at(line.m_begin));
  std::fill(end, at(received.m_buf_len), '\0');
  received.m_buf_len = static_cast<std::uint32_t>(end - received.m_buf_a.begin());
}

result_code_en send_response(std::uint8_t link, amt_message_st* response) {
  const auto& data = g_handle_context.m_at_response;
  amt_message_clear(*response);
  const result_code_en result = amt_convert_rsp_at_data_2_amt_data(
      data.m_buf_a.data(), data.m_buf_len, &response->m_buf_a, static_cast<std::uint32_t>(response->m_buf_a.size()));
  return result == ERR_NONE ? amt_handle_send_rsp(link, response) : result;
}

// Takes one information line, if there is one, off the received text and sends it on.
result_code_en forward_line(std::uint8_t link, amt_message_st* response) {
  const auto line = find_line(amt_modem_answer());
  if (!line) return ERR_NONE;
  decode_line(*line);
  remove_line(*line);
  return send_response(link, response);
}

// Reads to the final result, also after a line that could not be sent on: the rest of the answer would be taken for the
// answer to the next request. Of several failures the first is the result; one that the modem reports counts more.
result_code_en forward_answer(std::uint8_t link, amt_message_st* response) {
  for (result_code_en result = ERR_NONE;;) {
    const result_code_en received = amt_modem_receive();
    if (received != ERR_NONE) return received;
    const result_code_en forwarded = amt_modem_is_answer_cut() ? ERR_ARGUMENT : forward_line(link, response);
    if (result == ERR_NONE) result = forwarded;
    if (amt_answer_has_ok(amt_modem_answer())) {
      amt_at_take_final_result();
      return result;
    }
    if (amt_answer_is_error(amt_modem_answer())) return pub_fail({k_log, "amt_modem_handle_req"}, ERR_FAIL);
  }
}

}  // namespace

result_code_en amt_modem_handle_req(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {link == 0 || link == 255, request == nullptr,
                                    request != nullptr && request->m_buf_len == 0, response == nullptr})) {
    return ERR_ARGUMENT;
  }
  if (amt_modem_is_missing()) return ERR_NO_MODEM;
  result_code_en result = build_command(*request);
  if (result == ERR_NONE) result = amt_modem_send();
  g_handle_context.m_at_receive = {};
  return result == ERR_NONE ? forward_answer(link, response) : result;
}
