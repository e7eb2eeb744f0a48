#include "station/plan/variables.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace {

bool is_letter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || character == '_';
}

bool is_digit(char character) {
  return character >= '0' && character <= '9';
}

// Hands out the pieces of a text: plain ones, and names of variables. Returns what is wrong with it.
std::string walk(std::string_view text, const std::function<void(std::string_view)>& plain,
                 const std::function<void(const std::string&)>& name) {
  while (!text.empty()) {
    const std::size_t at = text.find("${");
    if (at == text.npos) break;
    const bool is_escaped = at > 0 && text[at - 1] == '$';
    if (is_escaped) {
      plain(text.substr(0, at - 1));
      plain("${");
      text.remove_prefix(at + 2);
      continue;
    }
    plain(text.substr(0, at));
    text.remove_prefix(at + 2);
    const std::size_t end = text.find('}');
    if (end == text.npos) return "a reference to a variable has no end: ${ without }";
    const std::string found(text.substr(0, end));
    if (!plan_is_variable_name(found)) return fmt::format("'{}' is no name of a variable", found);
    name(found);
    text.remove_prefix(end + 1);
  }
  plain(text);
  return {};
}

}  // namespace

bool plan_is_variable_name(const std::string& name) {
  return !name.empty() && is_letter(name.front()) &&
         std::ranges::all_of(name, [](char one) { return is_letter(one) || is_digit(one); });
}

std::vector<std::string> plan_references(const std::string& text, std::string* wrong) {
  std::vector<std::string> names;
  const std::string found = walk(
      text, [](std::string_view) {}, [&names](const std::string& name) { names.push_back(name); });
  if (!found.empty()) *wrong = found;
  return names;
}

std::optional<std::string> plan_expand(const std::string& text, const plan_lookup& lookup, std::string* wrong) {
  std::string expanded;
  std::string problem;
  const std::string broken = walk(
      text, [&expanded](std::string_view piece) { expanded += piece; },
      [&](const std::string& name) {
        const auto value = lookup(name);
        if (!value && problem.empty()) problem = fmt::format("the variable {} has no value", name);
        if (!value) return;
        if (plan_has_control_character(*value) && problem.empty()) {
          problem = fmt::format("the value of {} has a control character", name);
        }
        expanded += *value;
      });
  *wrong = broken.empty() ? problem : broken;
  return wrong->empty() ? std::optional(expanded) : std::nullopt;
}

bool plan_has_control_character(const std::string& text) {
  return std::ranges::any_of(text, [](char one) {
    const auto byte = static_cast<std::uint8_t>(one);
    return byte < 0x20 || byte == 0x7F;
  });
}

std::optional<double> plan_read_number(const std::string& text) {
  const bool is_positive = text.starts_with('+') && !text.starts_with("+-");
  double value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + static_cast<std::size_t>(is_positive), end, value);
  return error == std::errc() && stop == end && std::isfinite(value) ? std::optional(value) : std::nullopt;
}
