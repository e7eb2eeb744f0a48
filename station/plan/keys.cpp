#include "station/plan/keys.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <vector>

namespace {

using enum plan_scope_en;
using enum plan_type_en;

constexpr std::int64_t DAY_MS = 24LL * 3600 * 1000;
constexpr std::int64_t HOUR_MS = 3600LL * 1000;

// clang-format off
constexpr plan_key_st KEYS[] = {
    {PLAN, "name", TEXT, "", "required", "The plan's name, for the records"},
    {PLAN, "revision", SCALAR, "", "required", "The plan's revision, for the records"},
    {PLAN, "description", TEXT, "", "", "For people; nothing reads it"},
    {PLAN, "links", TEXTS, "", "`[\"pc\"]`", "The links that each phone has: `pc`, `app` or both"},
    {PLAN, "baud", WHOLE, "baud", "as it is", "Speed of a serial line", false, "", 9600, 3000000},
    {PLAN, "timeout_ms", WHOLE, "ms", "5000", "The steps' `timeout_ms` where they give none; not the operator's", false, "", 1, DAY_MS},
    {PLAN, "on_fail", CHOICE, "", "`go_on`", "The steps' `on_fail` where they give none", false, "go_on end_group end_plan"},

    {VARIABLE, "default", SCALAR, "", "", "The value if nothing else gives one"},
    {VARIABLE, "column", TEXT, "", "", "The column of the work order that gives the value"},
    {VARIABLE, "ask", TEXT, "", "", "The question by which the operator gives the value, when it is first needed"},
    {VARIABLE, "matches", TEXT, "", "anything", "The regular expression that each value must match as a whole"},
    {VARIABLE, "description", TEXT, "", "", "For people; nothing reads it"},

    {GROUP, "name", TEXT, "", "required", "The group's name"},
    {GROUP, "retries", WHOLE, "", "0", "How often the whole group is done again when one of its steps did not pass", false, "", 0, 100},
    {GROUP, "on_fail", CHOICE, "", "`go_on`", "What follows when the group did not pass", false, "go_on end_plan"},
    {GROUP, "skip_if", TABLE, "", "", "When the group is left out: a condition"},
    {GROUP, "step", TABLE, "", "required", "The group's steps, in order: `[[group.step]]`"},

    {STEP, "name", TEXT, "", "required", "The step's name, once in a plan"},
    {STEP, "word", TEXT, "", "", "What is done: a word of the tool, such as `adc`"},
    {STEP, "args", TEXTS, "", "none", "The word's arguments"},
    {STEP, "as_frame", YES_NO, "", "false", "Send the word as a frame where AT text would do"},
    {STEP, "force", YES_NO, "", "false", "Send arguments that are known to be wrong"},
    {STEP, "frame", SCALAR, "", "", "What is done: a raw frame, by id or name"},
    {STEP, "atoms", TEXTS, "", "none", "The raw frame's atoms, such as `19:int=16`"},
    {STEP, "at", TEXT, "", "", "What is done: AT text, sent with a CR"},
    {STEP, "raw", YES_NO, "", "false", "Send the AT text without a CR"},
    {STEP, "operator", CHOICE, "", "", "What is done: the operator reads, answers or scans", false, "message yes_no text serial"},
    {STEP, "prompt", TEXT, "", "required with `operator`", "What the operator is shown"},
    {STEP, "link", CHOICE, "", "`pc`", "The phone's link that the step uses", false, "pc app"},
    {STEP, "value_line", TEXT, "", "the first line that is no result", "Of AT text: how the line with the value starts"},
    {STEP, "value_atom", WHOLES, "", "none", "Of a raw frame: the atoms with the value; several are joined by commas", false, "", 1, 255},
    {STEP, "pattern", TEXT, "", "the whole", "The part of the value to take: a regular expression, its first group"},
    {STEP, "value", CHOICE, "", "`number` with `low` or `high`, else `text`", "How the value is read", false, "text number"},
    {STEP, "scale", NUMBER, "", "1", "The number is multiplied by this", false},
    {STEP, "offset", NUMBER, "unit", "0", "And this is added", false},
    {STEP, "unit", TEXT, "", "the word's own", "The number's unit after `scale` and `offset`"},
    {STEP, "low", NUMBER, "unit", "none", "The least good number", true},
    {STEP, "high", NUMBER, "unit", "none", "The greatest good number", true},
    {STEP, "marginal", NUMBER, "unit", "0", "A good number nearer to a limit than this is marked as marginal", true},
    {STEP, "equals", SCALAR, "", "none", "The one good value", true},
    {STEP, "matches", TEXT, "", "none", "The regular expression that a good value matches as a whole", true},
    {STEP, "one_of", TEXTS, "", "none", "The good values", true},
    {STEP, "answered", YES_NO, "", "true without a limit", "Any answer that is no error answer is good; excludes limits"},
    {STEP, "timeout_ms", WHOLE, "ms", "the plan's; an operator has all the time", "How long to wait for the answer", true, "", 1, DAY_MS},
    {STEP, "retries", WHOLE, "", "0", "How often the step is tried again when it did not pass", true, "", 0, 100},
    {STEP, "repeat", WHOLE, "", "1", "How often the step is done; each time has to pass", true, "", 1, 10000},
    {STEP, "pause_ms", WHOLE, "ms", "0", "How long to wait before each attempt; alone, it is a step of its own", true, "", 0, HOUR_MS},
    {STEP, "on_fail", CHOICE, "", "the plan's", "What follows when the step did not pass", true, "go_on end_group end_plan"},
    {STEP, "skip", YES_NO, "", "false", "Leave the step out", true},
    {STEP, "skip_if", TABLE, "", "", "When the step is left out: a condition"},
    {STEP, "serial", YES_NO, "", "false", "The value is the unit's serial number"},
    {STEP, "save", TEXT, "", "", "The variable that gets the value"},

    {CONDITION, "variable", TEXT, "", "", "The variable that is looked at; either this or `step`"},
    {CONDITION, "step", TEXT, "", "", "The earlier step whose verdict is looked at"},
    {CONDITION, "equals", SCALAR, "", "", "True when the variable has this value"},
    {CONDITION, "not_equals", SCALAR, "", "", "True when the variable has another value"},
    {CONDITION, "one_of", TEXTS, "", "", "True when the variable has one of these values"},
    {CONDITION, "verdict", TEXTS, "", "", "True when the step has one of these verdicts"},

    {VARIANT, "name", TEXT, "", "required", "The variant's name, for the records"},
    {VARIANT, "description", TEXT, "", "", "For people; nothing reads it"},
};
// clang-format on

// How many letters must be changed, added, left out or swapped with the next to get from one word to the other.
std::size_t distance(std::string_view left, std::string_view right) {
  std::vector<std::vector<std::size_t>> rows(left.size() + 1, std::vector<std::size_t>(right.size() + 1));
  for (std::size_t i = 0; i <= left.size(); ++i) rows[i][0] = i;
  for (std::size_t j = 0; j <= right.size(); ++j) rows[0][j] = j;
  for (std::size_t i = 1; i <= left.size(); ++i) {
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const std::size_t change = rows[i - 1][j - 1] + static_cast<std::size_t>(left[i - 1] != right[j - 1]);
      rows[i][j] = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, change});
      const bool is_swap = i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1];
      if (is_swap) rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
    }
  }
  return rows[left.size()][right.size()];
}

}  // namespace

std::span<const plan_key_st> plan_keys() {
  return KEYS;
}

const plan_key_st* plan_find_key(plan_scope_en scope, std::string_view name) {
  const auto* row = std::ranges::find_if(KEYS, [&](auto& key) { return key.m_scope == scope && name == key.m_name; });
  return row == std::end(KEYS) ? nullptr : row;
}

const plan_key_st* plan_nearest_key(plan_scope_en scope, std::string_view name) {
  constexpr std::size_t NEAR = 2;
  constexpr std::size_t LONGEST = 32;  // no key is that long
  const plan_key_st* best = nullptr;
  std::size_t least = NEAR + 1;
  if (name.size() > LONGEST) return nullptr;
  for (const auto& key : KEYS) {
    if (key.m_scope != scope) continue;
    const std::size_t steps = distance(name, key.m_name);
    if (steps >= least || steps >= name.size()) continue;
    least = steps;
    best = &key;
  }
  return best;
}

std::string plan_type_text(const plan_key_st& key) {
  switch (key.m_type) {
    case TEXT:
      return "text";
    case WHOLE:
      return fmt::format("whole number, {} to {}", key.m_least, key.m_most);
    case NUMBER:
      return "number";
    case YES_NO:
      return "true or false";
    case CHOICE: {
      std::string text = key.m_choices;
      for (std::size_t at = 0; (at = text.find(' ', at)) != text.npos; at += 4) text.replace(at, 1, "`, `");
      return fmt::format("one of `{}`", text);
    }
    case TEXTS:
      return "text or array of texts";
    case WHOLES:
      return fmt::format("whole number or array of them, {} to {}", key.m_least, key.m_most);
    case SCALAR:
      return "text, number, true or false";
    case TABLE:
      return "table";
  }
  return {};
}

const char* plan_scope_name(plan_scope_en scope) {
  static constexpr std::array NAMES = {"plan", "variables", "group", "step", "skip_if", "variant"};
  return NAMES[static_cast<std::size_t>(scope)];
}
