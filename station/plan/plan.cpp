#include "station/plan/plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

const plan_variable_st* plan_st::find_variable(const std::string& name) const {
  const auto row = std::ranges::find(m_variables, name, &plan_variable_st::m_name);
  return row == m_variables.end() ? nullptr : &*row;
}

const char* plan_link_name(plan_link_en link) {
  return link == plan_link_en::PC ? "pc" : "app";
}

const char* plan_action_name(plan_action_en action) {
  static constexpr std::array NAMES = {"pause", "word", "frame", "at", "operator"};
  return NAMES[static_cast<std::size_t>(action)];
}

const char* plan_on_fail_name(plan_on_fail_en on_fail) {
  static constexpr std::array NAMES = {"go_on", "end_group", "end_plan"};
  return NAMES[static_cast<std::size_t>(on_fail)];
}

const char* plan_ask_name(plan_ask_en ask) {
  static constexpr std::array NAMES = {"message", "yes_no", "text", "serial"};
  return NAMES[static_cast<std::size_t>(ask)];
}

std::string plan_finding_text(const plan_finding_st& finding) {
  const plan_place_st& place = finding.m_place;
  std::string text = place.m_file;
  if (place.m_line != 0) text += fmt::format(":{}:{}", place.m_line, place.m_column);
  text += finding.m_is_warning ? ": warning: " : ": error: ";
  if (!finding.m_key.empty()) text += finding.m_key + ": ";
  return text + finding.m_text;
}
