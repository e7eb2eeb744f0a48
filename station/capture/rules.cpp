#include "station/capture/rules.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "amt/amt-convert/ids.h"
#include "station/plan/pattern.h"

namespace {

constexpr unsigned LONGEST_LATE_MS = 24 * 3600 * 1000;
constexpr std::uint8_t SERIAL_ATOMS[] = {
    AMT_ATOM_IMEI,       AMT_ATOM_BOARD,       AMT_ATOM_BT_ADDRESS,    AMT_ATOM_WIFI_ADDRESS,
    AMT_ATOM_ADB_SERIAL, AMT_ATOM_PCBA_SERIAL, AMT_ATOM_SERIAL_NUMBER, AMT_ATOM_IQ_SERIAL,
};
constexpr char SERIAL_TEXT[] = R"(\^(DGSN|DMSN|DBTADDR|DWIFIADDR|DPCBACTRL)\b.*)";

bool is_blank(char one) {
  return one == ' ' || one == '\t' || one == '\r';
}

std::string_view trim(std::string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

// The first word; it is taken off.
std::string_view take_word(std::string_view* text) {
  const auto end = std::ranges::find_if(*text, is_blank);
  const std::string_view word = text->substr(0, static_cast<std::size_t>(end - text->begin()));
  *text = trim(text->substr(word.size()));
  return word;
}

std::optional<unsigned> read_number(std::string_view text, unsigned most) {
  unsigned number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && number <= most ? std::optional(number)
                                                                                    : std::nullopt;
}

// "21" or "46:18".
std::optional<replay_atom_rule_st> read_atom(std::string_view text) {
  replay_atom_rule_st rule;
  const std::size_t colon = text.find(':');
  if (colon != std::string_view::npos) {
    const auto frame = read_number(text.substr(0, colon), UINT8_MAX);
    if (!frame) return std::nullopt;
    rule.m_frame = static_cast<std::uint8_t>(*frame);
    text.remove_prefix(colon + 1);
  }
  const auto atom = read_number(text, UINT8_MAX);
  if (!atom) return std::nullopt;
  rule.m_atom = static_cast<std::uint8_t>(*atom);
  return rule;
}

std::string check_pattern(std::string_view pattern) {
  const std::string error = plan_pattern_error(std::string(pattern));
  return error.empty() ? "" : fmt::format("the expression is wrong: {}", error);
}

std::string add_atom(std::string_view rest, replay_rules_st* rules) {
  auto rule = read_atom(take_word(&rest));
  if (!rule) return "an atom's number, or FRAME:ATOM, must follow";
  std::string wrong = check_pattern(rest);
  if (!wrong.empty()) return wrong;
  if (!rest.empty()) rule->m_pattern = std::string(rest);
  rules->m_atoms.push_back(std::move(*rule));
  return {};
}

std::string add_text(std::string_view rest, replay_rules_st* rules) {
  if (rest.empty()) return "an expression must follow";
  rules->m_texts.emplace_back(rest);
  return check_pattern(rest);
}

std::string add_late(std::string_view rest, replay_rules_st* rules) {
  const auto number = read_number(rest, LONGEST_LATE_MS);
  if (!number) return "milliseconds must follow";
  rules->m_late = std::chrono::milliseconds(*number);
  return {};
}

void add_serial_numbers(replay_rules_st* rules) {
  for (const std::uint8_t atom : SERIAL_ATOMS) rules->m_atoms.push_back({std::nullopt, atom});
  rules->m_texts.emplace_back(SERIAL_TEXT);
}

}  // namespace

std::string replay_add_rule(std::string_view rule, replay_rules_st* rules) {
  std::string_view rest = trim(rule);
  const std::string name(take_word(&rest));
  if (name == "atom") return add_atom(rest, rules);
  if (name == "text") return add_text(rest, rules);
  if (name == "late") return add_late(rest, rules);
  if (name != "serial-numbers" || !rest.empty()) return "a rule begins with atom, text, late, or is serial-numbers";
  add_serial_numbers(rules);
  return {};
}

std::string replay_add_rules(std::string_view text, replay_rules_st* rules) {
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = trim(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.empty() || line.starts_with('#')) continue;
    const std::string wrong = replay_add_rule(line, rules);
    if (!wrong.empty()) return fmt::format("line {}: {}", number, wrong);
  }
  return {};
}

bool replay_allows_atom(const replay_rules_st& rules, std::uint8_t frame, std::uint8_t atom, const std::string& before,
                        const std::string& now) {
  return std::ranges::any_of(rules.m_atoms, [&](const replay_atom_rule_st& rule) {
    if (rule.m_atom != atom || rule.m_frame.value_or(frame) != frame) return false;
    return !rule.m_pattern ||
           (plan_pattern_matches(*rule.m_pattern, before) && plan_pattern_matches(*rule.m_pattern, now));
  });
}

bool replay_allows_text(const replay_rules_st& rules, const std::string& before, const std::string& now) {
  return std::ranges::any_of(rules.m_texts, [&](const std::string& pattern) {
    return plan_pattern_matches(pattern, before) && plan_pattern_matches(pattern, now);
  });
}
