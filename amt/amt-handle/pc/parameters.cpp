#include "amt/amt-handle/pc/parameters.h"

#include <algorithm>
#include <climits>

#include "amt/amt-handle/channel/handle-context.h"
#include "amt/amt-handle/channel/log-module.h"
#include "pub/result.h"

namespace {

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
  const auto& request = g_handle_context.m_request;
  const std::size_t received = std::min<std::size_t>(request.m_buf_len, request.m_buf_a.size());
  start = std::min(text.find_first_not_of(' ', start), text.size());
  const std::size_t end = std::min(text.find('\r'), received);
  const std::size_t length = end > start ? std::min<std::size_t>(end - start, AMT_PARAMETER_LIMIT) : 0;
  return {text.data() + start, length};
}

}  // namespace

std::string_view handle_amt_request_text() {
  const auto& request = g_handle_context.m_request;
  const auto end = std::find(request.m_buf_a.begin(), request.m_buf_a.end(), 0);
  return {reinterpret_cast<const char*>(request.m_buf_a.data()),
          static_cast<std::size_t>(end - request.m_buf_a.begin())};
}

std::optional<std::string_view> handle_amt_text_behind(std::string_view command) {
  const std::string_view text = handle_amt_request_text();
  const std::size_t at = text.find(command);
  if (at == std::string_view::npos) return std::nullopt;
  return text.substr(at + command.size());
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
