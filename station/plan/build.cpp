#include "station/plan/build.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <set>

#include "station/plan/variables.h"
#include "station/plan/verdict.h"

namespace {

constexpr std::int64_t DEFAULT_TIMEOUT_MS = 5000;

// Which keys an action has, beside those that every step has.
struct action_st {
  const char* m_key;  // the key that chooses it; the pause is chosen when none of the others is there
  plan_action_en m_action;
  const char* m_own;  // keys that belong to this action
};

constexpr action_st ACTIONS[] = {
    {"word", plan_action_en::WORD, " args as_frame force link value pattern scale offset unit answered timeout_ms "},
    {"frame", plan_action_en::FRAME, " atoms link value_atom value pattern scale offset unit answered timeout_ms "},
    {"at", plan_action_en::AT, " raw link value_line value pattern scale offset unit answered timeout_ms "},
    {"operator", plan_action_en::OPERATOR, " prompt value pattern scale offset unit timeout_ms "},
    {"pause_ms", plan_action_en::PAUSE, " "},
};
constexpr const char* EVERY_STEP = " name retries repeat pause_ms on_fail skip skip_if ";
constexpr const char* WITH_VALUE = " low high marginal equals matches one_of serial save ";

bool is_among(const char* words, const std::string& word) {
  return std::string_view(words).find(fmt::format(" {} ", word)) != std::string_view::npos;
}

template <typename Enum>
Enum choose(const std::string* text, Enum otherwise, std::initializer_list<Enum> all, const char* (*name)(Enum)) {
  if (text == nullptr) return otherwise;
  const auto* row = std::ranges::find_if(all, [&](Enum one) { return *text == name(one); });
  return row == all.end() ? otherwise : *row;
}

plan_on_fail_en on_fail_of(const plan_settings_st& settings, plan_on_fail_en otherwise) {
  using enum plan_on_fail_en;
  return choose(settings.find<std::string>("on_fail"), otherwise, {GO_ON, END_GROUP, END_PLAN}, plan_on_fail_name);
}

template <typename Value>
std::optional<Value> optional_of(const plan_settings_st& settings, const std::string& key) {
  const auto* value = settings.find<Value>(key);
  return value == nullptr ? std::nullopt : std::optional<Value>(*value);
}

unsigned number_of(const plan_settings_st& settings, const std::string& key, std::int64_t otherwise) {
  const auto* value = settings.find<std::int64_t>(key);
  return static_cast<unsigned>(value == nullptr ? otherwise : *value);
}

bool flag_of(const plan_settings_st& settings, const std::string& key) {
  const auto* value = settings.find<bool>(key);
  return value != nullptr && *value;
}

std::string text_of(const plan_settings_st& settings, const std::string& key) {
  return optional_of<std::string>(settings, key).value_or("");
}

std::vector<std::string> texts_of(const plan_settings_st& settings, const std::string& key) {
  return optional_of<std::vector<std::string>>(settings, key).value_or(std::vector<std::string>{});
}

std::map<std::string, plan_place_st> places_of(const plan_settings_st& settings) {
  std::map<std::string, plan_place_st> places;
  for (const auto& [key, setting] : settings.m_keys) places[key] = setting.m_place;
  for (const auto& [key, inner] : settings.m_tables) places[key] = inner.m_place;
  return places;
}

class builder_st {
 public:
  explicit builder_st(plan_findings* findings) : m_findings(*findings) {}

  plan_st build(const plan_source_st& source) {
    build_head(source);
    for (const auto& [name, settings] : source.m_variables) build_variable(name, settings);
    for (const auto& group : source.m_groups) build_group(group);
    for (const auto& step : source.m_teardown) m_plan.m_teardown.push_back(build_step(step));
    for (const auto& step : source.m_teardown) refuse_in_teardown(step);
    return std::move(m_plan);
  }

 private:
  void report(const plan_place_st& place, const std::string& key, const std::string& text) {
    m_findings.push_back({place, key, text});
  }

  std::string name_of(const plan_settings_st& settings, const char* scope, std::set<std::string>* taken) {
    const std::string key = fmt::format("{}.name", scope);
    std::string name = text_of(settings, "name");
    if (!settings.has("name")) {
      report(settings.m_place, key, "is missing");
    } else if (name.empty() || plan_has_control_character(name)) {
      report(settings.place("name"), key, "must have a character at least, and no control character");
    } else if (taken != nullptr && !taken->insert(name).second) {
      report(settings.place("name"), key, fmt::format("there is another {} of the name '{}'", scope, name));
    }
    return name;
  }

  void build_head(const plan_source_st& source) {
    const plan_settings_st& head = source.m_plan;
    if (!source.m_has_head) report({source.m_file, 0, 0}, "plan", "the table [plan] is missing");
    if (source.m_has_head) m_plan.m_name = name_of(head, "plan", nullptr);
    m_plan.m_revision = text_of(head, "revision");
    if (source.m_has_head && m_plan.m_revision.empty()) report(head.place("revision"), "plan.revision", "is missing");
    m_plan.m_description = text_of(head, "description");
    m_plan.m_baud = number_of(head, "baud", 0);
    m_timeout_ms = number_of(head, "timeout_ms", DEFAULT_TIMEOUT_MS);
    m_on_fail = on_fail_of(head, plan_on_fail_en::GO_ON);
    for (const auto& link : texts_of(head, "links")) {
      if (link == "pc") {
        m_plan.m_links.push_back(plan_link_en::PC);
      } else if (link == "app") {
        m_plan.m_links.push_back(plan_link_en::APP);
      } else {
        report(head.place("links"), "plan.links",
               fmt::format("'{}' is no link of a phone; there are pc and app", link));
      }
    }
    if (!head.has("links")) m_plan.m_links = {plan_link_en::PC};
    if (source.m_groups.empty() && source.m_has_head) report(head.m_place, "step", "the plan has no steps");
  }

  void build_variable(const std::string& name, const plan_settings_st& settings) {
    if (!plan_is_variable_name(name)) {
      report(settings.m_place, "variables." + name,
             "a variable's name has letters, digits and _, and starts with no digit");
    }
    plan_variable_st variable;
    variable.m_name = name;
    variable.m_default = optional_of<std::string>(settings, "default");
    variable.m_column = text_of(settings, "column");
    variable.m_ask = text_of(settings, "ask");
    variable.m_matches = text_of(settings, "matches");
    variable.m_place = settings.m_place;
    m_plan.m_variables.push_back(std::move(variable));
  }

  void build_group(const plan_group_source_st& source) {
    plan_group_st group;
    const plan_settings_st& settings = source.m_settings;
    group.m_place = settings.m_place;
    group.m_places = places_of(settings);
    const bool is_plain = settings.m_place.m_line == 0;  // the steps of a plan without groups
    if (!is_plain) group.m_name = name_of(settings, "group", &m_group_names);
    group.m_retries = number_of(settings, "retries", 0);
    group.m_on_fail = on_fail_of(settings, plan_on_fail_en::GO_ON);
    group.m_skip_if = build_condition(settings);
    for (const auto& step : source.m_steps) group.m_steps.push_back(build_step(step));
    if (!is_plain && group.m_steps.empty()) report(settings.m_place, "group.step", "the group has no steps");
    m_plan.m_groups.push_back(std::move(group));
  }

  std::optional<plan_condition_st> build_condition(const plan_settings_st& settings) {
    const auto row = settings.m_tables.find("skip_if");
    if (row == settings.m_tables.end()) return std::nullopt;
    const plan_settings_st& table = row->second;
    plan_condition_st condition;
    condition.m_variable = text_of(table, "variable");
    condition.m_step = text_of(table, "step");
    condition.m_is_negated = table.has("not_equals");
    for (const char* key : {"equals", "not_equals"}) {
      if (table.has(key)) condition.m_values.push_back(text_of(table, key));
    }
    const bool is_step = table.has("step");
    for (auto& value : texts_of(table, is_step ? "verdict" : "one_of")) condition.m_values.push_back(std::move(value));
    const auto count = [&table](std::initializer_list<const char*> keys) {
      return std::ranges::count_if(keys, [&table](const char* key) { return table.has(key); });
    };
    const bool is_right =
        is_step ? count({"variable", "equals", "not_equals", "one_of"}) == 0 && table.has("verdict")
                : table.has("variable") && !table.has("verdict") && count({"equals", "not_equals", "one_of"}) == 1;
    if (!is_right) {
      report(table.m_place, "skip_if",
             "needs a variable with one of equals, not_equals and one_of, or a step with verdict");
      return std::nullopt;
    }
    for (const auto& value : condition.m_values) {
      if (is_step && !verdict_from_name(value)) {
        report(table.place("verdict"), "skip_if.verdict",
               fmt::format("'{}' is no verdict: {}", value, verdict_names()));
      }
    }
    return condition;
  }

  // The action of a step; null when there is none or more than one, which is reported.
  const action_st* find_action(const plan_settings_st& settings) {
    const action_st* found = nullptr;
    for (const auto& row : ACTIONS) {
      if (!settings.has(row.m_key) || row.m_action == plan_action_en::PAUSE) continue;
      if (found != nullptr) {
        report(settings.place(row.m_key), fmt::format("step.{}", row.m_key),
               fmt::format("the step has {} already; a step does one thing", found->m_key));
        return nullptr;
      }
      found = &row;
    }
    const action_st& pause = *std::rbegin(ACTIONS);
    if (found == nullptr && settings.has(pause.m_key)) return &pause;
    if (found == nullptr) {
      report(settings.m_place, "step", "does nothing: it needs word, frame, at, operator or pause_ms");
    }
    return found;
  }

  void refuse_foreign_keys(const plan_settings_st& settings, const action_st& action, bool has_value) {
    for (const auto& [key, place] : places_of(settings)) {
      const bool is_known = key == action.m_key || is_among(action.m_own, key) || is_among(EVERY_STEP, key) ||
                            (has_value && is_among(WITH_VALUE, key));
      if (is_known) continue;
      report(place, "step." + key, fmt::format("means nothing for a step with {}", action.m_key));
    }
  }

  plan_step_st build_step(const plan_settings_st& settings) {
    plan_step_st step;
    step.m_place = settings.m_place;
    step.m_places = places_of(settings);
    step.m_name = name_of(settings, "step", &m_step_names);
    const action_st* action = find_action(settings);
    if (action != nullptr) build_action(settings, *action, &step);
    build_value(settings, &step);
    build_course(settings, &step);
    return step;
  }

  void build_action(const plan_settings_st& settings, const action_st& action, plan_step_st* step) {
    using enum plan_ask_en;
    step->m_action = action.m_action;
    step->m_link = text_of(settings, "link") == "app" ? plan_link_en::APP : plan_link_en::PC;
    step->m_is_frame = flag_of(settings, "as_frame");
    step->m_is_forced = flag_of(settings, "force");
    step->m_is_raw = flag_of(settings, "raw");
    step->m_args = texts_of(settings, action.m_action == plan_action_en::FRAME ? "atoms" : "args");
    step->m_prompt = text_of(settings, "prompt");
    const bool is_operator = action.m_action == plan_action_en::OPERATOR;
    if (is_operator) {
      step->m_ask =
          choose(settings.find<std::string>("operator"), MESSAGE, {MESSAGE, YES_NO, TEXT, SERIAL}, plan_ask_name);
      if (step->m_prompt.empty()) report(settings.place("prompt"), "step.prompt", "an operator's step needs a prompt");
    } else {
      step->m_word = text_of(settings, action.m_key);
    }
    const bool is_text = step->m_ask == TEXT || step->m_ask == SERIAL;
    const bool has_value = is_operator ? is_text : action.m_action != plan_action_en::PAUSE;
    refuse_foreign_keys(settings, action, has_value);
    step->m_is_serial = flag_of(settings, "serial") || (is_operator && step->m_ask == SERIAL);
    step->m_save = text_of(settings, "save");
    if (settings.has("save") && !plan_is_variable_name(step->m_save)) {
      report(settings.place("save"), "step.save", fmt::format("'{}' is no name of a variable", step->m_save));
    }
    const auto timeout = is_operator ? 0 : static_cast<std::int64_t>(m_timeout_ms);
    step->m_timeout_ms = number_of(settings, "timeout_ms", timeout);
  }

  static void build_value(const plan_settings_st& settings, plan_step_st* step) {
    step->m_value_line = optional_of<std::string>(settings, "value_line");
    for (const auto atom :
         optional_of<std::vector<std::int64_t>>(settings, "value_atom").value_or(std::vector<std::int64_t>{})) {
      step->m_value_atoms.push_back(static_cast<unsigned>(atom));
    }
    step->m_pattern = optional_of<std::string>(settings, "pattern");
    step->m_scale = optional_of<double>(settings, "scale").value_or(1);
    step->m_offset = optional_of<double>(settings, "offset").value_or(0);
    step->m_unit = text_of(settings, "unit");
    plan_limits_st& limits = step->m_limits;
    limits.m_low = optional_of<double>(settings, "low");
    limits.m_high = optional_of<double>(settings, "high");
    limits.m_marginal = optional_of<double>(settings, "marginal").value_or(0);
    limits.m_equals = optional_of<std::string>(settings, "equals");
    limits.m_matches = optional_of<std::string>(settings, "matches");
    limits.m_one_of = optional_of<std::vector<std::string>>(settings, "one_of");
    step->m_is_answered = !settings.has("answered") || flag_of(settings, "answered");
    step->m_is_number = settings.has("value") ? text_of(settings, "value") == "number" : limits.has_number();
  }

  void build_course(const plan_settings_st& settings, plan_step_st* step) {
    step->m_retries = number_of(settings, "retries", 0);
    step->m_repeat = number_of(settings, "repeat", 1);
    step->m_pause_ms = number_of(settings, "pause_ms", 0);
    step->m_on_fail = on_fail_of(settings, m_on_fail);
    step->m_is_skipped = flag_of(settings, "skip");
    step->m_skip_if = build_condition(settings);
  }

  void refuse_in_teardown(const plan_settings_st& settings) {
    for (const char* key : {"on_fail", "serial"}) {
      if (settings.has(key)) report(settings.place(key), fmt::format("step.{}", key), "means nothing in the teardown");
    }
  }

  plan_findings& m_findings;
  plan_st m_plan;
  std::set<std::string> m_step_names;
  std::set<std::string> m_group_names;
  unsigned m_timeout_ms = 0;
  plan_on_fail_en m_on_fail = plan_on_fail_en::GO_ON;
};

// What a variant says takes the place of what the plan says, key by key.
void change_steps(const plan_source_st& variant, plan_source_st* source, plan_findings* findings) {
  std::map<std::string, plan_settings_st*> steps;
  const auto add = [&steps](plan_settings_st& step) { steps.emplace(text_of(step, "name"), &step); };
  for (auto& group : source->m_groups) std::ranges::for_each(group.m_steps, add);
  std::ranges::for_each(source->m_teardown, add);
  for (const auto& [name, change] : variant.m_changes) {
    const auto step = steps.find(name);
    if (step == steps.end()) {
      findings->push_back({change.m_place, "step." + name, "the plan has no step of this name"});
      continue;
    }
    for (const auto& [key, setting] : change.m_keys) step->second->m_keys[key] = setting;
  }
}

void change_variables(const plan_source_st& variant, plan_st* plan, plan_findings* findings) {
  for (const auto& [name, settings] : variant.m_variables) {
    const auto row = std::ranges::find(plan->m_variables, name, &plan_variable_st::m_name);
    if (row == plan->m_variables.end()) {
      findings->push_back({settings.m_place, "variables." + name, "the plan has no variable of this name"});
    } else {
      row->m_variant = optional_of<std::string>(settings, "default");
    }
  }
}

}  // namespace

plan_st plan_build(plan_source_st source, const plan_source_st* variant, plan_findings* findings) {
  if (variant != nullptr) change_steps(*variant, &source, findings);
  plan_st plan = builder_st(findings).build(source);
  if (variant == nullptr) return plan;
  change_variables(*variant, &plan, findings);
  plan.m_variant_name = text_of(variant->m_plan, "name");
  if (plan.m_variant_name.empty()) findings->push_back({{variant->m_file, 0, 0}, "variant.name", "is missing"});
  return plan;
}
