#include "station/run/measure.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "station/plan/pattern.h"
#include "station/plan/variables.h"
#include "station/wire/render.h"

namespace {

// Scaling leaves digits that no phone measured: 3812000 * 1e-06 is not quite 3.812.
double rounded(double number) {
  return plan_read_number(fmt::format("{:.12g}", number)).value_or(number);
}

std::string with_unit(const std::string& text, const std::string& unit) {
  return unit.empty() ? text : fmt::format("{} {}", text, unit);
}

// Why the value cannot be taken; empty: *value is it.
std::string take(const plan_step_st& step, const std::string& raw, record_value_st* value) {
  value->m_raw = raw;
  value->m_text = raw;
  if (step.m_pattern) {
    const auto taken = plan_pattern_take(*step.m_pattern, raw);
    if (!taken) return fmt::format("{} has nothing that matches {}", station_quote(raw), *step.m_pattern);
    value->m_text = *taken;
  }
  if (!step.m_is_number) return {};
  const auto number = plan_read_number(value->m_text);
  if (!number) return fmt::format("{} is no number", station_quote(value->m_text));
  value->m_number = rounded(*number * step.m_scale + step.m_offset);
  value->m_text = fmt::format("{}", *value->m_number);
  return {};
}

bool is_same(const record_value_st& value, const std::string& wanted) {
  const auto number = plan_read_number(wanted);
  return value.m_number ? number && *value.m_number == *number : value.m_text == wanted;
}

bool is_good(const plan_limits_st& limits, const record_value_st& value) {
  if (limits.m_low && !(value.m_number && *value.m_number >= *limits.m_low)) return false;
  if (limits.m_high && !(value.m_number && *value.m_number <= *limits.m_high)) return false;
  if (limits.m_equals && !is_same(value, *limits.m_equals)) return false;
  if (limits.m_matches && !plan_pattern_matches(*limits.m_matches, value.m_text)) return false;
  const auto is_it = [&value](const std::string& wanted) { return is_same(value, wanted); };
  return !limits.m_one_of || std::ranges::any_of(*limits.m_one_of, is_it);
}

bool is_marginal(const plan_limits_st& limits, const record_value_st& value) {
  if (!value.m_number || limits.m_marginal <= 0) return false;
  const bool is_low = limits.m_low && *value.m_number - *limits.m_low < limits.m_marginal;
  return is_low || (limits.m_high && *limits.m_high - *value.m_number < limits.m_marginal);
}

}  // namespace

std::string run_value_text(const record_value_st& value, const std::string& unit) {
  return value.m_number ? with_unit(value.m_text, unit) : station_quote(value.m_text);
}

std::string run_limits_text(const plan_limits_st& limits, const std::string& unit) {
  if (limits.m_low && limits.m_high) return with_unit(fmt::format("{} to {}", *limits.m_low, *limits.m_high), unit);
  if (limits.m_low) return with_unit(fmt::format("at least {}", *limits.m_low), unit);
  if (limits.m_high) return with_unit(fmt::format("at most {}", *limits.m_high), unit);
  if (limits.m_equals) return fmt::format("equals {}", station_quote(*limits.m_equals));
  if (limits.m_matches) return fmt::format("matches {}", *limits.m_matches);
  if (!limits.m_one_of) return {};
  std::string text = "one of";
  for (const auto& one : *limits.m_one_of) text += " " + station_quote(one);
  return text;
}

run_measured_st run_measure(const plan_step_st& step, const plan_limits_st& limits,
                            const std::optional<std::string>& raw) {
  const bool needs_value =
      !limits.is_empty() || step.m_pattern || step.m_is_number || step.m_is_serial || !step.m_save.empty();
  run_measured_st measured;
  if (!raw && needs_value) {
    measured.m_verdict = verdict_en::FAIL;
    measured.m_message = "the answer has no value";
  }
  if (!raw) return measured;
  record_value_st value;
  const std::string wrong = take(step, *raw, &value);
  measured.m_value = value;
  if (!wrong.empty()) {
    measured.m_verdict = verdict_en::ERROR;
    measured.m_message = wrong;
    return measured;
  }
  if (!is_good(limits, value)) {
    measured.m_verdict = verdict_en::FAIL;
    measured.m_message =
        fmt::format("{} is not {}", run_value_text(value, step.m_unit), run_limits_text(limits, step.m_unit));
    return measured;
  }
  measured.m_is_marginal = is_marginal(limits, value);
  return measured;
}
