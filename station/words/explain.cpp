#include "station/words/explain.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "amt/amt-convert/ids.h"
#include "station/wire/render.h"
#include "station/words/operations.h"
#include "station/words/words.h"

namespace {

// How many characters have to be put in, left out or replaced to make one of the other.
std::size_t distance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t y = 0; y < left.size(); ++y) {
    std::size_t corner = row[0]++;
    for (std::size_t x = 0; x < right.size(); ++x) {
      const std::size_t replaced = corner + static_cast<std::size_t>(left[y] != right[x]);
      corner = row[x + 1];
      row[x + 1] = std::min({replaced, row[x + 1] + 1, row[x] + 1});
    }
  }
  return row.back();
}

bool is_near(std::string_view word, std::string_view name) {
  constexpr std::size_t TYPING_ERRORS = 2;
  if (name.size() > 2 && word.find(name) != std::string_view::npos) return true;
  return distance(word, name) <= std::min(TYPING_ERRORS, name.size() / 2);
}

std::string frame_links(const station_operation_st& row) {
  switch (row.m_links) {
    case station_links_en::PC:
      return "on the PC link";
    case station_links_en::APP:
      return "on the application's link";
    case station_links_en::BOTH:
      return "on both links";
    case station_links_en::NONE:
      break;
  }
  return "on no link";
}

std::string sent_text(const station_operation_st& row) {
  std::string filled = row.m_at;
  for (std::size_t n = 0; n < row.m_parameters.size(); ++n) {
    const std::size_t at = filled.find(fmt::format("{{{}}}", n));
    if (at == std::string::npos || row.m_parameters.at(n) == nullptr) continue;
    filled.replace(at, 3, fmt::format("<{}>", row.m_parameters.at(n)->m_name));
  }
  return station_escape(filled);
}

std::string frame_text(const station_operation_st& row) {
  std::string text = fmt::format("frame {} {}", row.m_frame_id, amt_command_name(row.m_frame_id));
  for (const auto& atom : row.m_atoms) {
    if (atom.m_value == nullptr) break;
    std::string value = atom.m_value;
    for (std::size_t n = 0; n < row.m_parameters.size(); ++n) {
      const std::size_t at = value.find(fmt::format("{{{}}}", n));
      if (at != std::string::npos) value.replace(at, 3, fmt::format("<{}>", row.m_parameters.at(n)->m_name));
    }
    text += fmt::format(" {}:{}", atom.m_id, value);
  }
  return fmt::format("{}, {}", text, frame_links(row));
}

std::string unit_text(const station_part_st& part) {
  if (part.m_kind == station_kind_en::TEXT) return "text";
  const station_unit_st& unit = part.m_unit;
  std::string text = *unit.m_raw == '\0' ? "a number" : fmt::format("a number in {}", unit.m_raw);
  if (*unit.m_shown != '\0') text += fmt::format(", shown in {} too", unit.m_shown);
  if (*part.m_meaning != '\0') text += fmt::format(" ({})", part.m_meaning);
  return text;
}

std::string parameter_text(const station_parameter_st& parameter) {
  if (parameter.m_check != nullptr) return fmt::format("{} {}", parameter.m_name, parameter.m_check(""));
  if (parameter.m_is_text) return fmt::format("{}: text, at most {} characters", parameter.m_name, parameter.m_most);
  const char* unit = parameter.m_unit;
  return fmt::format("{}: a number from {} to {}{}{}", parameter.m_name, parameter.m_least, parameter.m_most,
                     *unit == '\0' ? "" : " in ", unit);
}

std::string explain_answer(const station_operation_st& row) {
  if (row.m_parts.empty()) return "  answer     done, or refused\n";
  std::string text;
  for (const auto& part : row.m_parts) text += fmt::format("  answer     {}: {}\n", part.m_name, unit_text(part));
  const bool lacks_line = row.m_at != nullptr && row.m_line == nullptr;
  if (lacks_line) text += "             as a frame only\n";
  return text;
}

std::string explain_operation(const station_word_st& word, const station_operation_st& row) {
  const std::string usage = station_usage(row);
  std::string text = fmt::format("\n{}{}{}\n", word.m_name, usage.empty() ? "" : " ", usage);
  for (const auto* parameter : row.m_parameters) {
    if (parameter != nullptr) text += fmt::format("  takes      {}\n", parameter_text(*parameter));
  }
  if (row.m_at != nullptr) text += fmt::format("  as text    \"{}\", on the PC link\n", sent_text(row));
  text += fmt::format("  as frame   {}\n", frame_text(row));
  text += explain_answer(row);
  if (row.m_read_back == nullptr) return text;
  return text + fmt::format("  read back  {}\n", row.m_is_identity ? "always; not with --no-verify" : "with --verify");
}

}  // namespace

std::string station_explain(const station_word_st& word) {
  std::string text = fmt::format("{}: {}\n", word.m_name, word.m_help);
  if (word.m_operations.empty()) text += fmt::format("usage: {} {}\n", word.m_name, station_usage(word));
  for (const auto& row : word.m_operations) text += explain_operation(word, row);
  if (*word.m_hint != '\0') text += fmt::format("\nwhen it is refused: {}\n", word.m_hint);
  return text;
}

std::string station_explain_unknown(std::string_view name) {
  std::string near;
  for (const auto& word : station_words()) {
    if (is_near(word.m_name, name)) near += fmt::format("{}{}", near.empty() ? "" : ", ", word.m_name);
  }
  const std::string help = near.empty() ? "amt-station --help lists them" : "near: " + near;
  return fmt::format("there is no word '{}'; {}", station_escape(name), help);
}
