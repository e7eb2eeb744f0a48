// The whole AT chain on arbitrary text: one whole reply, or none where the dispatcher gives its error frame or the
// modem gets the text.
#include <algorithm>

#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/pc/at-chain.h"
#include "pub/result.h"
#include "tests/fuzz/phone.h"

namespace {

// Every way into the tokenizer, on the same text.
void check_fields(std::string_view text) {
  std::string_view rest = text;
  while (const auto field = handle_amt_next_field(rest)) {
    FUZZ_CHECK(!field->empty() && field->find(',') == std::string_view::npos);
    FUZZ_CHECK(field->data() >= text.data() && field->data() + field->size() <= text.data() + text.size());
    handle_amt_field_value(*field);
  }
  FUZZ_CHECK(std::all_of(rest.begin(), rest.end(), [](char character) { return character == ','; }));
}

// The fields that may be empty: with a comma between each two, they are the text.
void check_places(std::string_view text) {
  std::optional<std::string_view> rest = text;
  std::size_t seen = 0;
  while (const auto field = handle_amt_next_field_or_empty(rest)) {
    FUZZ_CHECK(field->data() == text.data() + seen && field->find(',') == std::string_view::npos);
    seen += field->size() + 1;
  }
  FUZZ_CHECK(!rest && seen == text.size() + 1);
}

void check_reply(std::int32_t result, const std::vector<std::uint8_t>& sent) {
  if (result != ERR_NONE) {
    FUZZ_CHECK(fuzz_is_result_code(result) && sent.empty());
    return;
  }
  const std::string_view reply = fuzz_text(sent);
  FUZZ_CHECK(reply.starts_with("\r\n") && reply.size() <= AMT_READ_LIMIT);
  FUZZ_CHECK(reply.ends_with("\r\nOK\r\n") || reply == "\r\nERROR\r\n" || reply == "\r\n+CME ERROR: 100\r\n");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz_input input(data, size);
  const std::uint8_t faults = input.byte();
  fuzz_phone phone(faults, input.block());
  const fuzz_bytes text = input.rest();
  auto& request = g_handle_context.m_request;
  request.m_buf_len = static_cast<std::uint32_t>(std::min(text.size(), AMT_READ_LIMIT));
  std::copy_n(text.begin(), request.m_buf_len, request.m_buf_a.begin());

  check_fields(handle_amt_text(amt_message_text(g_handle_context.m_request)));
  check_places(handle_amt_text(amt_message_text(g_handle_context.m_request)));
  const bool has_command = handle_amt_text_after(amt_message_text(g_handle_context.m_request), "AT^D").has_value();
  const std::int32_t result =
      handle_amt_pc_req_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response);
  FUZZ_CHECK(result == ERR_NOT_HANDLED || has_command || text.empty());
  check_reply(result, phone.sent_to_pc());
  return 0;
}
