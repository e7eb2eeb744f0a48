// What the store and the reports know of one unit's run: the record without what was sent and received.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "station/plan/verdict.h"

struct result_step_st {
  std::string m_group;  // empty: none
  std::string m_name;
  bool m_is_teardown = false;
  verdict_en m_verdict = verdict_en::NOT_RUN;
  std::string m_value;             // as people read it
  std::optional<double> m_number;  // in the unit
  std::string m_unit;
  std::optional<double> m_low;
  std::optional<double> m_high;
  std::string m_expected;  // limits that are not numbers, as people read them
  bool m_is_marginal = false;
  std::string m_message;
  double m_duration_ms = 0;
  int m_attempts = 0;

  bool operator==(const result_step_st&) const = default;
};

struct result_st {
  std::string m_run_id;
  std::string m_station;
  std::string m_phone;
  std::string m_plan;
  std::string m_revision;
  std::string m_serial;  // empty: not known
  verdict_en m_verdict = verdict_en::NOT_RUN;
  bool m_is_complete = false;
  std::string m_message;
  std::int64_t m_started_ms = 0;  // since 1970, UTC
  double m_duration_ms = 0;
  std::vector<result_step_st> m_steps;

  bool operator==(const result_st&) const = default;
};

inline bool result_is_good(verdict_en verdict) {
  return verdict == verdict_en::PASS || verdict == verdict_en::SKIPPED;
}
// Whether the verdict says that something went wrong with what was tested.
inline bool result_is_failure(verdict_en verdict) {
  return verdict >= verdict_en::FAIL;
}
