// Takes a step's value out of what came back, and judges it against the limits. Pure.
#pragma once

#include <optional>
#include <string>

#include "station/record/record.h"

struct run_measured_st {
  verdict_en m_verdict = verdict_en::PASS;
  std::optional<record_value_st> m_value;
  bool m_is_marginal = false;
  std::string m_message;  // why it is not good
};

// `raw`: the value as it came; none: the answer had none. The limits have their variables filled in.
run_measured_st run_measure(const plan_step_st& step, const plan_limits_st& limits,
                            const std::optional<std::string>& raw);

// "3.6 to 4.2 V", "at least 3 dB", "equals \"A\""; empty without limits.
std::string run_limits_text(const plan_limits_st& limits, const std::string& unit);

// The value with its unit, as people are shown it.
std::string run_value_text(const record_value_st& value, const std::string& unit);
