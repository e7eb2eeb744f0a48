#include "amt/amt-handle/context/parameters.h"

#include <algorithm>
#include <climits>

#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "pub/result.h"

namespace {

std::string_view received() {
  const auto& request = g_handle_context.m_request;
  return {reinterpret_cast<const char*>(request.m_buf_a.data()),
          std::min<std::size_t>(request.m_buf_len, request.m_buf_a.size())};
}

std::string_view up_to_nul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

bool is_argument_missing(const char* prefix, const char* out, const std::uint32_t* out_length) {
  const bool is_empty = g_handle_context.m_request.m_buf_len == 0;
  if (!is_empty && prefix != nullptr && out != nullptr && out_length != nullptr) return false;
  LOG_FAILURE_OF("handle_amt_get_at_para", ERR_ARGUMENT);
  LOG_LINE("%d,%d, %d, %d, %d", 0, is_empty, prefix == nullptr, out == nullptr, out_length == nullptr);
  return true;
}

// The parameter that starts at `start` of the received data. A carriage return anywhere in front of it ends it there,
// before it has begun: on purpose, the whole text is searched.
std::string_view cut_parameter(std::string_view text, std::size_t start) {
  start = std::min(text.find_first_not_of(' ', start), text.size());
  const std::size_t end = std::min(text.find('\r'), received().size());
  const std::size_t length = end > start ? std::min<std::size_t>(end - start, AMT_PARAMETER_LIMIT) : 0;
  return {text.data() + start, length};
}

// The first occurrence of a command. Its '^' hardly occurs in what is not a command, other than its letters, of which
// hexadecimal data is full: the whole chain is searched at the price of a few looks for one character.
std::size_t find_command(std::string_view text, std::string_view command) {
  const std::size_t mark = command.find('^');
  if (mark == std::string_view::npos) return text.find(command);
  for (std::size_t at = text.find('^', mark); at != std::string_view::npos; at = text.find('^', at + 1)) {
    if (text.substr(at - mark).starts_with(command)) return at - mark;
  }
  return std::string_view::npos;
}

}  // namespace

std::string_view handle_amt_request_text() {
  return up_to_nul(received());
}

std::optional<std::string_view> handle_amt_text_behind(std::string_view command) {
  const std::string_view data = received();
  const std::size_t at = find_command(data, command);
  // Only now is the text's end looked for: most commands are not in it.
  if (at == std::string_view::npos || up_to_nul(data.substr(0, at)).size() != at) return std::nullopt;
  return up_to_nul(data.substr(at + command.size()));
}

std::optional<std::string_view> handle_amt_next_field(std::string_view& rest) {
  const std::size_t begin = std::min(rest.find_first_not_of(','), rest.size());
  const std::size_t end = std::min(rest.find(',', begin), rest.size());
  const std::string_view field = rest.substr(begin, end - begin);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  if (field.empty()) return std::nullopt;
  return field;
}

std::int32_t handle_amt_field_value(std::string_view field) {
  field.remove_prefix(std::min(field.find_first_not_of(" \t\n\v\f\r"), field.size()));
  const bool is_negative = field.starts_with('-');
  if (is_negative || field.starts_with('+')) field.remove_prefix(1);
  long value = 0;
  for (const char digit : field) {
    if (digit < '0' || digit > '9') break;
    const int addend = is_negative ? '0' - digit : digit - '0';
    if (__builtin_mul_overflow(value, 10L, &value) || __builtin_add_overflow(value, addend, &value)) {
      value = is_negative ? LONG_MIN : LONG_MAX;  // where strtol stops, too
      break;
    }
  }
  return static_cast<std::int32_t>(value);
}

std::int32_t handle_amt_get_at_para(const char* prefix, char* out, std::uint32_t* out_length) {
  LOG_ENTRY();
  if (is_argument_missing(prefix, out, out_length)) return ERR_ARGUMENT;
  const std::string_view text = handle_amt_request_text();
  const std::size_t at = text.find(prefix);
  if (at == std::string_view::npos) {
    LOG_FAILURE(ERR_FAIL);
    LOG_LINE("at cmd[%.*s] do not include (%s).", static_cast<int>(text.size()), text.data(), prefix);
    return ERR_FAIL;
  }
  const std::string_view parameter = cut_parameter(text, at + std::string_view(prefix).size());
  std::copy(parameter.begin(), parameter.end(), out);
  *out_length = static_cast<std::uint32_t>(parameter.size());
  return ERR_NONE;
}

std::int32_t handle_amt_take_at_para(const char* prefix, amt_parameter_text& text) {
  std::fill(std::begin(text), std::end(text), '\0');
  std::uint32_t length = 0;
  const std::int32_t result = handle_amt_get_at_para(prefix, text, &length);
  LOG_LINE("getted parameter:%s. prefix:%s; rtn:%d.", text, prefix, result);
  return result;
}
