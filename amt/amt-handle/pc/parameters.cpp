#include "amt/amt-handle/pc/parameters.h"

#include <algorithm>
#include <climits>

#include "amt/amt-handle/channel/handle-context.h"

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
