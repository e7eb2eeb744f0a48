#include "station/run/values.h"

#include <fmt/format.h>

#include <set>

#include "station/plan/pattern.h"
#include "station/plan/variables.h"
#include "station/wire/render.h"

namespace {

bool is_allowed(const plan_variable_st& variable, const std::string& value) {
  return variable.m_matches.empty() || plan_pattern_matches(variable.m_matches, value);
}

std::set<std::string> saved_by_steps(const plan_st& plan) {
  std::set<std::string> names;
  for (const auto& group : plan.m_groups) {
    for (const auto& step : group.m_steps) names.insert(step.m_save);
  }
  for (const auto& step : plan.m_teardown) names.insert(step.m_save);
  names.erase("");
  return names;
}

}  // namespace

std::optional<std::string> run_values_st::find(const std::string& name) {
  if (const auto row = m_known.find(name); row != m_known.end()) return row->second.m_value;
  const auto value = resolve(name);
  if (!value) return std::nullopt;
  m_known[name] = *value;
  return value->m_value;
}

void run_values_st::save(const std::string& name, const std::string& value, const std::string& step) {
  m_known[name] = {value, "step " + step};
}

std::optional<record_variable_st> run_values_st::resolve(const std::string& name) {
  const plan_variable_st* variable = m_plan->find_variable(name);
  if (variable == nullptr) return std::nullopt;
  if (const auto row = m_given->find(name); row != m_given->end()) return {{row->second, "command line"}};
  if (variable->m_variant) return {{*variable->m_variant, "variant"}};
  if (!variable->m_column.empty()) {
    const auto cell = m_order->find(m_serial, variable->m_column);
    if (cell && is_allowed(*variable, *cell)) return {{*cell, "work order"}};
    if (cell) return std::nullopt;  // a wrong value must not give way to a default
  }
  if (!variable->m_ask.empty()) return ask_for(*variable);
  if (variable->m_default) return {{*variable->m_default, "default"}};
  return std::nullopt;
}

std::optional<record_variable_st> run_values_st::ask_for(const plan_variable_st& variable) {
  std::string question = variable.m_ask;
  for (;;) {
    const auto answer = m_ask(question);
    if (!answer) return std::nullopt;
    if (is_allowed(variable, *answer)) return {{*answer, "operator"}};
    question = fmt::format("{} does not match {}. {}", station_quote(*answer), variable.m_matches, variable.m_ask);
  }
}

std::string run_check_given(const plan_st& plan, const std::map<std::string, std::string>& given,
                            const run_work_order_st& order) {
  for (const auto& [name, value] : given) {
    const plan_variable_st* variable = plan.find_variable(name);
    if (variable == nullptr) return fmt::format("--var {}: the plan has no variable of this name", name);
    if (!is_allowed(*variable, value))
      return fmt::format("--var {}: the value does not match {}", name, variable->m_matches);
    if (plan_has_control_character(value)) return fmt::format("--var {}: the value has a control character", name);
  }
  const auto saved = saved_by_steps(plan);
  for (const auto& variable : plan.m_variables) {
    if (order.is_there() && !variable.m_column.empty() && !order.has_column(variable.m_column)) {
      return fmt::format("the work order has no column '{}' for the variable {}", variable.m_column, variable.m_name);
    }
    const bool has_source = given.contains(variable.m_name) || variable.m_variant || variable.m_default ||
                            !variable.m_ask.empty() || saved.contains(variable.m_name) ||
                            (order.is_there() && !variable.m_column.empty());
    if (has_source) continue;
    return fmt::format("the variable {} has no value: give --var {}=VALUE{}", variable.m_name, variable.m_name,
                       variable.m_column.empty() ? "" : " or --work-order FILE");
  }
  return {};
}
