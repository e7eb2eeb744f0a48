// The run of one unit: the plan's groups and steps on one phone, the teardown, and the record that is kept on the way.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "station/record/record-file.h"
#include "station/record/record.h"
#include "station/run/operator.h"
#include "station/run/phone.h"
#include "station/run/values.h"

// What the runs of all units share. Everything is borrowed.
struct run_setting_st {
  const plan_st* m_plan = nullptr;
  const std::map<std::string, std::string>* m_given = nullptr;
  const run_work_order_st* m_order = nullptr;
  run_operator_st* m_operator = nullptr;
  std::string m_records;  // the folder
  std::string m_station;
  std::string m_version;
  int m_stop_fd = -1;  // readable: the plan is ended and the teardown run
  int m_kill_fd = -1;  // readable: the teardown is ended too
};

struct run_unit_phone_st {
  std::string m_name;
  std::string m_pc;
  std::string m_app;
  std::string m_serial;  // from the command line; empty: from the plan
};

// Told what happens in a unit's run. Each call comes from the unit's thread.
struct run_watcher_st {
  std::function<void(const record_st&, const record_step_st& step, std::size_t number)> m_on_begin;
  std::function<void(const record_st&, const record_step_st& step, std::size_t number)> m_on_end;
  // The operator is asked; empty: not any more.
  std::function<void(const std::string& question)> m_on_question;
  // The record could not be written, and why; empty: it can be again.
  std::function<void(const std::string& failure)> m_on_record;
};

struct run_result_st {
  record_st m_record;
  std::string m_path;            // of the record's file; empty: there is none
  std::string m_record_failure;  // why the file does not have the last state; empty: it has
};

run_result_st run_unit(const run_setting_st& setting, const run_unit_phone_st& unit, run_phone_st* phone,
                       const run_watcher_st& watcher);
