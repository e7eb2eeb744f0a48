#include "station/plan/check.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "station/plan/check-variables.h"
#include "station/plan/pattern.h"
#include "station/plan/request.h"
#include "station/plan/verdict.h"
#include "station/wire/value.h"
#include "station/words/operations.h"
#include "station/words/words.h"

namespace {

const plan_place_st& place_of(const plan_step_st& step, const std::string& key) {
  const auto row = step.m_places.find(key);
  return row == step.m_places.end() ? step.m_place : row->second;
}

bool is_to_phone(const plan_step_st& step) {
  return step.m_action != plan_action_en::PAUSE && step.m_action != plan_action_en::OPERATOR;
}

// Words after which the phone answers nothing more.
bool is_last_word(const plan_step_st& step) {
  if (step.m_action != plan_action_en::WORD || step.m_is_skipped || step.m_skip_if) return false;
  const bool is_bluetooth_start = step.m_word == "bluetooth" && !step.m_args.empty() && step.m_args[0] == "start";
  return step.m_word == "power-off" || step.m_word == "amt-mode" || is_bluetooth_start;
}

class checker_st {
 public:
  checker_st(plan_st* plan, plan_findings* findings) : m_plan(*plan), m_findings(*findings) {}

  void check() {
    for (auto& group : m_plan.m_groups) {
      if (group.m_skip_if) check_condition(*group.m_skip_if, condition_place(group.m_places, group.m_place));
      for (auto& step : group.m_steps) check_step(&step);
    }
    for (auto& step : m_plan.m_teardown) check_step(&step);
    plan_check_variables(m_plan, &m_findings);
  }

 private:
  static plan_place_st condition_place(const std::map<std::string, plan_place_st>& places, const plan_place_st& other) {
    const auto row = places.find("skip_if");
    return row == places.end() ? other : row->second;
  }

  void report(const plan_step_st& step, const std::string& key, const std::string& text, bool is_warning = false) {
    m_findings.push_back({place_of(step, key), key.empty() ? "step" : "step." + key, text, is_warning});
  }

  void check_step(plan_step_st* step) {
    if (step->m_skip_if) check_condition(*step->m_skip_if, place_of(*step, "skip_if"));
    check_reach(*step);
    check_pattern(*step, "pattern", step->m_pattern);
    check_pattern(*step, "matches", step->m_limits.m_matches);
    if (step->m_pattern && plan_pattern_error(*step->m_pattern).empty() && !plan_pattern_has_group(*step->m_pattern)) {
      report(*step, "pattern", "needs a group in ( ) that is taken");
    }
    if (is_to_phone(*step)) check_request(step);
    check_limits(*step);
    if (step->m_is_serial) check_serial(*step);
    m_earlier[step->m_name] = step;
  }

  // A step that stands behind one that ends the conversation, until the operator or a pause could bring the phone back.
  void check_reach(const plan_step_st& step) {
    if (!is_to_phone(step)) m_last_word = nullptr;
    if (is_to_phone(step) && m_last_word != nullptr) {
      report(step, "", fmt::format("cannot be reached: the phone answers nothing after '{}'", m_last_word->m_name));
    }
    if (is_last_word(step)) m_last_word = &step;
  }

  void check_serial(const plan_step_st& step) {
    if (m_serial != nullptr) {
      report(step, "serial", fmt::format("the step '{}' gives the serial number already", m_serial->m_name));
    }
    m_serial = &step;
  }

  void check_condition(const plan_condition_st& condition, const plan_place_st& place) {
    if (condition.m_step.empty()) return;  // variables are looked at elsewhere
    const auto row = m_earlier.find(condition.m_step);
    if (row == m_earlier.end()) {
      m_findings.push_back({place, "skip_if.step", fmt::format("no step '{}' comes before", condition.m_step)});
      return;
    }
    const plan_step_st& step = *row->second;
    std::set<std::string> possible = {"PASS", "FAIL", "TIMEOUT", "ERROR", "SKIPPED", "NOT_RUN"};
    if (step.m_on_fail == plan_on_fail_en::END_PLAN) possible = {"PASS", "SKIPPED"};
    if (!step.m_is_skipped && !step.m_skip_if && step.m_on_fail == plan_on_fail_en::END_PLAN) possible = {"PASS"};
    const auto is_named = [&](const std::string& verdict) {
      return std::ranges::find(condition.m_values, verdict) != condition.m_values.end();
    };
    if (std::ranges::all_of(possible, is_named)) {
      m_findings.push_back({place, "skip_if", "is always true: what it stands at is never reached"});
    } else if (std::ranges::none_of(possible, is_named)) {
      m_findings.push_back(
          {place, "skip_if", fmt::format("is never true: the plan ends when '{}' does not pass", step.m_name), true});
    }
  }

  void check_pattern(const plan_step_st& step, const char* key, const std::optional<std::string>& pattern) {
    if (!pattern) return;
    const std::string wrong = plan_pattern_error(*pattern);
    if (!wrong.empty()) report(step, key, fmt::format("is no regular expression: {}", wrong));
  }

  void check_request(plan_step_st* step) {
    const char* key = plan_action_name(step->m_action);
    if (std::ranges::find(m_plan.m_links, step->m_link) == m_plan.m_links.end()) {
      report(*step, step->m_places.contains("link") ? "link" : key,
             fmt::format("the plan's phones have no {} link; plan.links names theirs", plan_link_name(step->m_link)));
    }
    if (step->m_action == plan_action_en::WORD) {
      check_word(step);
    } else if (!has_references(*step)) {
      plan_request_st request;
      const std::string wrong = plan_make_request(*step, no_values, &request);
      if (!wrong.empty()) report(*step, key, wrong);
    }
    if (step->m_action == plan_action_en::FRAME) check_frame_value(*step);
  }

  static std::optional<std::string> no_values(const std::string&) { return std::nullopt; }

  // With a variable in its arguments a request is known only when the plan runs.
  static bool has_references(const plan_step_st& step) {
    std::string wrong;
    const auto texts = plan_step_texts(step);
    return std::ranges::any_of(texts, [&](const auto& text) { return !plan_references(text, &wrong).empty(); }) ||
           !wrong.empty();
  }

  void check_frame_value(const plan_step_st& step) {
    if (step.m_value_atoms.size() > 2) report(step, "value_atom", "at most two atoms can be taken");
    const bool needs_value = !step.m_limits.is_empty() || step.m_pattern || !step.m_save.empty() || step.m_is_serial;
    if (needs_value && step.m_value_atoms.empty())
      report(step, "frame", "value_atom has to name the atom with the value");
  }

  void check_word(plan_step_st* step) {
    const auto& words = station_words();
    const auto word = std::ranges::find(words, step->m_word, &station_word_st::m_name);
    if (word == words.end()) {
      report(*step, "word", fmt::format("there is no word '{}'; amt-station --help lists them", step->m_word));
      return;
    }
    if (!word->is_sending()) {
      report(*step, "word", fmt::format("{} sends nothing that could be answered", step->m_word));
      return;
    }
    if (word->m_operations.empty()) {
      check_arguments(*step, step->m_word);
      return;
    }
    std::span<const std::string> arguments(step->m_args);
    std::string wrong;
    const auto* operation = station_find_operation(*word, &arguments, &wrong);
    if (operation == nullptr) {
      report(*step, step->m_args.empty() ? "word" : "args", fmt::format("{}: {}", step->m_word, wrong));
      return;
    }
    if (check_link(*step, *operation)) check_arguments(*step, step->m_word);
    check_value(step, *operation);
  }

  // Returns whether the operation can go over the step's link.
  bool check_link(const plan_step_st& step, const station_operation_st& operation) {
    using enum station_links_en;
    const bool is_app = step.m_link == plan_link_en::APP;
    const bool has_frame = operation.m_links == BOTH || operation.m_links == (is_app ? APP : PC);
    const bool has_text = !is_app && operation.m_at != nullptr && !step.m_is_frame;
    if (has_frame || has_text) return true;
    const bool is_form = !is_app && operation.m_at != nullptr;
    report(step,
           is_form                          ? "as_frame"
           : step.m_places.contains("link") ? "link"
                                            : "word",
           is_form ? fmt::format("the pc link has no frame for {}", plan_step_summary(step))
                   : fmt::format("{} is not on the {} link; give link = \"{}\"", plan_step_summary(step),
                                 plan_link_name(step.m_link), is_app ? "pc" : "app"));
    return false;
  }

  void check_arguments(const plan_step_st& step, const std::string& word) {
    if (has_references(step)) return;
    plan_request_st request;
    std::string wrong = plan_make_request(step, no_values, &request);
    if (wrong.empty()) return;
    if (const auto hint = wrong.find("; --force"); hint != wrong.npos) {
      wrong = wrong.substr(0, hint) + "; force = true sends it all the same";
    }
    report(step, "args", wrong.starts_with(word) ? wrong : fmt::format("{}: {}", word, wrong));
  }

  void check_value(plan_step_st* step, const station_operation_st& operation) {
    const bool needs_value = !step->m_limits.is_empty() || step->m_pattern || !step->m_save.empty() ||
                             step->m_is_serial || step->m_is_number;
    const bool has_value =
        operation.kind() != station_kind_en::NONE && (operation.m_line != nullptr || operation.m_at == nullptr ||
                                                      step->m_is_frame || step->m_link == plan_link_en::APP);
    if (needs_value && !has_value) report(*step, "word", fmt::format("{} gives no value", plan_step_summary(*step)));
    if (operation.kind() == station_kind_en::NUMBER) take_unit(step, operation.m_parts[0].m_unit);
    if (operation.kind() == station_kind_en::TEXT && step->m_is_number && operation.m_parts.size() > 1 &&
        !step->m_pattern) {
      report(*step, "value",
             fmt::format("{} gives several values; a pattern has to take one", plan_step_summary(*step)));
    }
  }

  // A unit that people use instead of the phone's brings its scale along.
  void take_unit(plan_step_st* step, const station_unit_st& unit) {
    const bool has_scale = step->m_places.contains("scale") || step->m_places.contains("offset");
    if (!step->m_is_number || has_scale) return;
    if (step->m_unit.empty() || step->m_unit == unit.m_raw) {
      step->m_unit = unit.m_raw;
    } else if (*unit.m_shown != '\0' && step->m_unit == unit.m_shown) {
      step->m_scale = unit.m_scale;
    } else {
      const std::string known = *unit.m_shown == '\0' ? unit.m_raw : fmt::format("{} or {}", unit.m_raw, unit.m_shown);
      report(*step, "unit",
             known.empty() ? fmt::format("{} gives a number without a unit", step->m_word)
                           : fmt::format("{} gives {}; another unit needs scale", step->m_word, known));
    }
  }

  void check_limits(const plan_step_st& step) {
    const plan_limits_st& limits = step.m_limits;
    if (limits.m_low && limits.m_high && *limits.m_low > *limits.m_high) {
      report(step, "high",
             fmt::format("the limits are the wrong way round: low {} is above high {}", *limits.m_low, *limits.m_high));
    }
    check_marginal(step);
    for (const char* key : {"unit", "scale", "offset"}) {
      if (step.m_places.contains(key) && !step.m_is_number) {
        report(step, key, "belongs to a number: the step needs low, high or value = \"number\"");
      }
    }
    if (limits.has_number() && !step.m_is_number) {
      report(step, limits.m_low ? "low" : "high", "is for a number, but the value is taken as text");
    }
    if (step.m_is_number && limits.m_matches) report(step, "matches", "is for text, but the value is a number");
    if (limits.m_one_of && limits.m_one_of->empty()) report(step, "one_of", "is empty: no value could be good");
    check_numbers(step);
    const int kinds = int{limits.has_number()} + int{limits.m_equals.has_value()} + int{limits.m_matches.has_value()} +
                      int{limits.m_one_of.has_value()};
    if (kinds > 1) report(step, "", "is judged by more than one of low/high, equals, matches and one_of");
    check_answered(step, kinds);
  }

  void check_marginal(const plan_step_st& step) {
    const plan_limits_st& limits = step.m_limits;
    if (!step.m_places.contains("marginal")) return;
    if (!limits.has_number()) report(step, "marginal", "is the distance from a limit: low or high is missing");
    if (limits.m_marginal < 0) report(step, "marginal", "must not be negative");
    const bool is_wide = limits.m_low && limits.m_high && *limits.m_low <= *limits.m_high &&
                         2 * limits.m_marginal > *limits.m_high - *limits.m_low;
    if (is_wide) report(step, "marginal", "leaves no number between the limits that is not marginal");
  }

  // Texts that a number is compared with must be numbers.
  void check_numbers(const plan_step_st& step) {
    if (!step.m_is_number) return;
    const auto check_one = [&](const char* key, const std::string& text) {
      std::string wrong;
      if (!plan_references(text, &wrong).empty() || plan_read_number(text)) return;
      report(step, key, fmt::format("'{}' is no number, but the value is one", text));
    };
    if (step.m_limits.m_equals) check_one("equals", *step.m_limits.m_equals);
    for (const auto& text : step.m_limits.m_one_of.value_or(std::vector<std::string>{})) check_one("one_of", text);
  }

  void check_answered(const plan_step_st& step, int kinds) {
    if (!step.m_places.contains("answered")) return;
    if (step.m_is_answered && kinds > 0) report(step, "answered", "excludes limits");
    if (!step.m_is_answered && kinds == 0) report(step, "answered", "is false, and nothing else judges the step");
  }

  plan_st& m_plan;
  plan_findings& m_findings;
  std::map<std::string, const plan_step_st*> m_earlier;
  const plan_step_st* m_last_word = nullptr;
  const plan_step_st* m_serial = nullptr;
};

}  // namespace

void plan_check(plan_st* plan, plan_findings* findings) {
  checker_st(plan, findings).check();
}
