// The record of one unit's run: everything that was asked, answered and judged. Data, and its JSON form, which
// docs/record.schema.json describes.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "station/plan/plan.h"
#include "station/plan/verdict.h"

inline constexpr int RECORD_SCHEMA_VERSION = 1;

using record_time = std::chrono::system_clock::time_point;
using record_duration = std::chrono::microseconds;

// A value as it was judged.
struct record_value_st {
  std::string m_text;              // as people read it, a number too
  std::optional<double> m_number;  // in the step's unit
  std::string m_raw;               // as the phone or the operator gave it
};

// One time that a step was tried.
struct record_attempt_st {
  unsigned m_repetition = 1;  // of the step
  unsigned m_try = 1;         // of this repetition
  unsigned m_group_try = 1;
  record_time m_started;
  record_duration m_duration{};
  verdict_en m_verdict = verdict_en::NOT_RUN;
  std::optional<record_value_st> m_value;
  bool m_is_marginal = false;
  std::string m_message;
  std::shared_ptr<const nlohmann::ordered_json> m_exchange;  // what was sent and received; null: nothing
};

struct record_step_st {
  std::string m_group;
  bool m_is_teardown = false;
  plan_step_st m_step;      // its parameters
  plan_limits_st m_limits;  // with the variables filled in, once they are known
  verdict_en m_verdict = verdict_en::NOT_RUN;
  std::optional<record_value_st> m_value;
  bool m_is_marginal = false;
  std::string m_message;
  std::vector<record_attempt_st> m_attempts;

  // For whoever changes the step: its text is made again.
  void touch() { m_text.clear(); }
  // A record is written after each step, and most of its steps are then as they were. Belongs to record_text.
  mutable std::string m_text;
};

struct record_variable_st {
  std::string m_value;
  std::string m_source;  // "command line", "variant", "work order", "operator", "default", "step NAME"
};

struct record_st {
  std::string m_run_id;
  std::string m_station;
  std::string m_version;  // of the program
  std::string m_phone;
  std::string m_pc_port;
  std::string m_app_port;
  const plan_st* m_plan = nullptr;  // borrowed
  std::string m_serial;             // empty: not known
  record_time m_started;
  record_duration m_duration{};
  bool m_is_complete = false;
  bool m_is_aborted = false;
  std::string m_message;  // why the run as a whole did not go as planned
  std::map<std::string, record_variable_st> m_variables;
  std::vector<record_step_st> m_steps;

  // The heaviest of the steps' verdicts.
  verdict_en verdict() const;
};

// A record in which no step has been run.
record_st record_start(const plan_st& plan);

// The record as a JSON document with a new-line at its end. Keeps the texts of its steps until they are touched.
std::string record_text(const record_st& record);

// Objects of station_render_json, as one array. Of a line that never stops the first ones are kept, and the last object
// says how many are left out.
std::shared_ptr<const nlohmann::ordered_json> record_exchange(const std::vector<std::string>& objects);

// "2026-11-22T08:42:00.123Z"
std::string record_time_text(record_time time);
// A new random UUID.
std::string record_new_id();
