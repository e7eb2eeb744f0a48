#include "station/wire/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace {

bool is_part(const station_part_st& part, std::string_view text) {
  if (part.m_kind == station_kind_en::NUMBER) return station_read_number(text).has_value();
  return part.m_may_be_empty || !text.empty();
}

// "(285 x 0.1 degC)": a unit that is a fraction of another one begins with a number.
std::string with_unit(const std::string& number, std::string_view unit) {
  if (unit.empty()) return number;
  const bool is_multiple = unit.front() >= '0' && unit.front() <= '9';
  return fmt::format("{}{} {}", number, is_multiple ? " x" : "", unit);
}

std::string show_number(const station_unit_st& unit, const std::string& text) {
  const auto number = station_read_number(text);
  std::string raw = with_unit(text, unit.m_raw);
  if (!number || *unit.m_shown == '\0') return raw;
  const double shown = static_cast<double>(*number) * unit.m_scale;
  return fmt::format("{:.{}f} {} ({})", shown, unit.m_decimals, unit.m_shown, raw);
}

// "card" for 1 in "0 no card, 1 card"; empty where the number has no words of its own.
std::string_view words_for(std::string_view meaning, const std::string& number) {
  while (!meaning.empty()) {
    const std::string_view one = meaning.substr(0, meaning.find(", "));
    if (one.starts_with(number + ' ')) return one.substr(number.size() + 1);
    meaning.remove_prefix(std::min(meaning.size(), one.size() + 2));
  }
  return {};
}

std::string show_part(const station_part_st& part, const std::string& text) {
  if (part.m_kind != station_kind_en::NUMBER) return text;
  const std::string_view words = words_for(part.m_meaning, text);
  return words.empty() ? show_number(part.m_unit, text) : fmt::format("{} ({})", text, words);
}

}  // namespace

std::optional<std::int64_t> station_read_number(std::string_view text) {
  std::int64_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

std::optional<std::vector<std::string>> station_split_value(station_parts parts, std::string_view text) {
  std::vector<std::string> texts;
  for (std::size_t n = 0; n < parts.size(); ++n) {
    const bool is_last = n + 1 == parts.size();
    const std::size_t comma = is_last ? std::string_view::npos : text.find(',');
    if (!is_last && comma == std::string_view::npos) return std::nullopt;
    const std::string_view field = text.substr(0, comma);
    if (!is_part(parts[n], field)) return std::nullopt;
    texts.emplace_back(field);
    text.remove_prefix(is_last ? text.size() : comma + 1);
  }
  return texts;
}

std::string station_show_value(station_parts parts, const std::string& text) {
  const auto texts = station_split_value(parts, text);
  if (!texts || texts->empty()) return text;
  if (parts.size() == 1) return show_part(parts[0], texts->front());
  std::string shown;
  for (std::size_t n = 0; n < parts.size(); ++n) {
    shown += fmt::format("{}{} {}", n == 0 ? "" : ", ", parts[n].m_name, show_part(parts[n], (*texts)[n]));
  }
  return shown;
}
