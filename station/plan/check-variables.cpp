#include "station/plan/check-variables.h"

#include <fmt/format.h>

#include <set>

#include "station/plan/pattern.h"
#include "station/plan/request.h"
#include "station/plan/variables.h"

namespace {

class variable_checker_st {
 public:
  variable_checker_st(const plan_st& plan, plan_findings* findings) : m_plan(plan), m_findings(*findings) {}

  void check() {
    for_each_step([this](const plan_step_st& step) {
      if (!step.m_save.empty()) m_saved.insert(step.m_save);
    });
    for (const auto& variable : m_plan.m_variables) check_variable(variable);
    for (const auto& group : m_plan.m_groups) {
      if (group.m_skip_if) check_condition(*group.m_skip_if, place(group.m_places, group.m_place, "skip_if"));
      for (const auto& step : group.m_steps) check_step(step);
    }
    for (const auto& step : m_plan.m_teardown) check_step(step);
    report_unused();
  }

 private:
  template <typename Action>
  void for_each_step(const Action& action) const {
    for (const auto& group : m_plan.m_groups) {
      for (const auto& step : group.m_steps) action(step);
    }
    for (const auto& step : m_plan.m_teardown) action(step);
  }

  static const plan_place_st& place(const std::map<std::string, plan_place_st>& places, const plan_place_st& other,
                                    const std::string& key) {
    const auto row = places.find(key);
    return row == places.end() ? other : row->second;
  }

  void check_variable(const plan_variable_st& variable) {
    const std::string key = "variables." + variable.m_name;
    const std::string wrong = variable.m_matches.empty() ? "" : plan_pattern_error(variable.m_matches);
    if (!wrong.empty()) m_findings.push_back({variable.m_place, key, "matches is no regular expression: " + wrong});
    for (const auto& value : {variable.m_variant, variable.m_default}) {
      if (!value || variable.m_matches.empty() || !wrong.empty()) continue;
      if (!plan_pattern_matches(variable.m_matches, *value)) {
        m_findings.push_back(
            {variable.m_place, key, fmt::format("'{}' does not match {}", *value, variable.m_matches)});
      }
    }
  }

  void check_step(const plan_step_st& step) {
    if (step.m_skip_if) check_condition(*step.m_skip_if, place(step.m_places, step.m_place, "skip_if"));
    const auto row = step.m_places.find(plan_action_name(step.m_action));
    const plan_place_st& where = row == step.m_places.end() ? step.m_place : row->second;
    for (const auto& text : plan_step_texts(step)) {
      std::string wrong;
      for (const auto& name : plan_references(text, &wrong)) use(name, where, "step");
      if (!wrong.empty()) m_findings.push_back({where, "step", wrong});
    }
    if (!step.m_save.empty()) m_set.insert(step.m_save);
  }

  void check_condition(const plan_condition_st& condition, const plan_place_st& where) {
    if (!condition.m_variable.empty()) use(condition.m_variable, where, "skip_if.variable");
  }

  void use(const std::string& name, const plan_place_st& where, const char* key) {
    m_used.insert(name);
    const plan_variable_st* variable = m_plan.find_variable(name);
    if (variable == nullptr && !m_saved.contains(name)) {
      m_findings.push_back({where, key, fmt::format("there is no variable '{}'", name)});
    } else if (variable == nullptr && !m_set.contains(name)) {
      m_findings.push_back({where, key, fmt::format("the variable '{}' gets its value in a later step", name)});
    }
  }

  void report_unused() {
    for (const auto& variable : m_plan.m_variables) {
      if (m_used.contains(variable.m_name)) continue;
      m_findings.push_back({variable.m_place, "variables." + variable.m_name, "is not used", true});
    }
    for_each_step([this](const plan_step_st& step) {
      if (step.m_save.empty() || m_used.contains(step.m_save) || m_plan.find_variable(step.m_save) != nullptr) return;
      m_findings.push_back({place(step.m_places, step.m_place, "save"), "step.save",
                            fmt::format("the variable '{}' is not used", step.m_save), true});
    });
  }

  const plan_st& m_plan;
  plan_findings& m_findings;
  std::set<std::string> m_saved;  // by any step
  std::set<std::string> m_set;    // by the steps so far
  std::set<std::string> m_used;
};

}  // namespace

void plan_check_variables(const plan_st& plan, plan_findings* findings) {
  variable_checker_st(plan, findings).check();
}
