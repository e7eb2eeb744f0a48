// A plan as the station runs it: groups of steps with their limits, variables and the teardown. Pure data; where each
// key stands in its file is kept, so that a finding can name the place.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct plan_place_st {
  std::string m_file;
  unsigned m_line = 0;  // from 1; 0: the file as a whole
  unsigned m_column = 0;
};

// What the check of a plan found. A warning does not keep a plan from being run.
struct plan_finding_st {
  plan_place_st m_place;
  std::string m_key;  // "step.low"; empty when no key is concerned
  std::string m_text;
  bool m_is_warning = false;
};

enum class plan_action_en { PAUSE, WORD, FRAME, AT, OPERATOR };
enum class plan_ask_en { MESSAGE, YES_NO, TEXT, SERIAL };
enum class plan_link_en { PC, APP };
enum class plan_on_fail_en { GO_ON, END_GROUP, END_PLAN };

// What a value must be. Without any of these an answer is enough.
struct plan_limits_st {
  std::optional<double> m_low;   // in the step's unit, the limits themselves are good
  std::optional<double> m_high;  // the same for this one
  double m_marginal = 0;         // nearer to a limit than this is good, but marginal
  std::optional<std::string> m_equals;
  std::optional<std::string> m_matches;  // a regular expression for the whole value
  std::optional<std::vector<std::string>> m_one_of;

  bool has_number() const { return m_low || m_high; }
  bool is_empty() const { return !has_number() && !m_equals && !m_matches && !m_one_of; }
};

// When a step or a group is left out: a variable has one of these values (or, negated, none of them), or an earlier
// step has one of these verdicts.
struct plan_condition_st {
  std::string m_variable;
  std::string m_step;
  std::vector<std::string> m_values;
  bool m_is_negated = false;
};

struct plan_step_st {
  std::string m_name;
  plan_action_en m_action = plan_action_en::PAUSE;
  plan_link_en m_link = plan_link_en::PC;
  std::string m_word;               // the word of the tool; for a raw frame its id, for AT text the text
  std::vector<std::string> m_args;  // the word's arguments; for a raw frame its atoms
  bool m_is_frame = false;          // the word goes as a frame where AT text would do
  bool m_is_raw = false;            // AT text goes without a CR
  bool m_is_forced = false;         // arguments that are known to be wrong are sent
  plan_ask_en m_ask = plan_ask_en::MESSAGE;
  std::string m_prompt;

  std::optional<std::string> m_value_line;  // of AT text: the start of the line that holds the value
  std::vector<unsigned> m_value_atoms;      // of a raw frame: the atoms that hold the value
  std::optional<std::string> m_pattern;     // the part of the value that is taken, as the expression's first group
  bool m_is_number = false;
  double m_scale = 1;
  double m_offset = 0;
  std::string m_unit;
  plan_limits_st m_limits;

  unsigned m_timeout_ms = 0;  // 0: none, for an operator
  unsigned m_retries = 0;
  unsigned m_repeat = 1;
  unsigned m_pause_ms = 0;  // before each attempt
  plan_on_fail_en m_on_fail = plan_on_fail_en::GO_ON;
  std::optional<plan_condition_st> m_skip_if;
  bool m_is_skipped = false;
  bool m_is_answered = true;  // what the key "answered" says
  bool m_is_serial = false;
  std::string m_save;  // the variable that gets the value

  plan_place_st m_place;                          // of the step itself
  std::map<std::string, plan_place_st> m_places;  // of its keys
};

struct plan_group_st {
  std::string m_name;  // empty in a plan without groups
  unsigned m_retries = 0;
  plan_on_fail_en m_on_fail = plan_on_fail_en::GO_ON;
  std::optional<plan_condition_st> m_skip_if;
  std::vector<plan_step_st> m_steps;
  plan_place_st m_place;
  std::map<std::string, plan_place_st> m_places;
};

// A variable's value comes from the first of these that has one: the command line, the variant, the work order, an
// operator, the default.
struct plan_variable_st {
  std::string m_name;
  std::optional<std::string> m_default;
  std::optional<std::string> m_variant;
  std::string m_column;   // of the work order; empty: none
  std::string m_ask;      // the question for the operator; empty: none
  std::string m_matches;  // what a value must match as a whole; empty: anything
  plan_place_st m_place;
};

struct plan_file_st {
  std::string m_path;
  std::string m_sha256;
};

struct plan_st {
  std::string m_name;
  std::string m_revision;
  std::string m_description;
  std::vector<plan_link_en> m_links;
  unsigned m_baud = 0;
  std::vector<plan_variable_st> m_variables;
  std::vector<plan_group_st> m_groups;
  std::vector<plan_step_st> m_teardown;
  plan_file_st m_file;
  std::optional<plan_file_st> m_variant;
  std::string m_variant_name;

  const plan_variable_st* find_variable(const std::string& name) const;
};

const char* plan_link_name(plan_link_en link);
const char* plan_action_name(plan_action_en action);
const char* plan_on_fail_name(plan_on_fail_en on_fail);
const char* plan_ask_name(plan_ask_en ask);

// "plan.toml:12:3: error: step.hihg: there is no such key", no new-line.
std::string plan_finding_text(const plan_finding_st& finding);
