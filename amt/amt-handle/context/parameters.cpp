#include "amt/amt-handle/context/parameters.h"

#include <algorithm>

#include "pub/util/text.h"

namespace {

// The first occurrence of a command. The search looks for its '^', which is rare outside of commands; letters are not,
// hexadecimal data is full of them. So a search for the whole chain costs a few searches for one character.
std::size_t find_command(std::string_view text, std::string_view command) {
  const std::size_t mark = command.find('^');
  if (mark == std::string_view::npos) return text.find(command);
  for (std::size_t at = text.find('^', mark); at != std::string_view::npos; at = text.find('^', at + 1)) {
    if (text.substr(at - mark).starts_with(command)) return at - mark;
  }
  return std::string_view::npos;
}

}  // namespace

std::string_view handle_amt_text(std::string_view received) {
  return received.substr(0, received.find('\0'));
}

std::optional<std::string_view> handle_amt_text_after(std::string_view received, std::string_view command) {
  const std::size_t at = find_command(received, command);
  // The end of the text is looked for only now: most commands are not in the text.
  if (at == std::string_view::npos || handle_amt_text(received.substr(0, at)).size() != at) return std::nullopt;
  return handle_amt_text(received.substr(at + command.size()));
}

std::optional<std::string_view> handle_amt_next_field(std::string_view& rest) {
  const std::size_t begin = std::min(rest.find_first_not_of(','), rest.size());
  const std::size_t end = std::min(rest.find(',', begin), rest.size());
  const std::string_view field = rest.substr(begin, end - begin);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  if (field.empty()) return std::nullopt;
  return field;
}

std::optional<std::string_view> handle_amt_next_field_or_empty(std::optional<std::string_view>& rest) {
  if (!rest) return std::nullopt;
  const std::size_t end = rest->find(',');
  const std::string_view field = rest->substr(0, end);
  rest = end == std::string_view::npos ? std::nullopt : std::optional(rest->substr(end + 1));
  return field;
}

std::int32_t handle_amt_field_value(std::string_view field) {
  return pub_text_number(field);
}

std::optional<std::string_view> handle_amt_find_parameter(std::string_view received, std::string_view prefix) {
  const std::string_view text = handle_amt_text(received);
  const std::size_t at = text.find(prefix);
  if (at == std::string_view::npos) return std::nullopt;
  const std::size_t start = std::min(text.find_first_not_of(' ', at + prefix.size()), text.size());
  // A carriage return anywhere before the parameter ends it before it has begun, on purpose: the whole text is
  // searched.
  const std::size_t end = std::min(text.find('\r'), received.size());
  const std::size_t length = end > start ? std::min<std::size_t>(end - start, AMT_PARAMETER_LIMIT) : 0;
  return received.substr(start, length);
}
