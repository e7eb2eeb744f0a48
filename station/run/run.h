// A run at a station: all phones at once, each in a thread of its own, until they are done or the run is ended from
// outside.
#pragma once

#include <iosfwd>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "station/plan/plan.h"
#include "station/plan/verdict.h"
#include "station/run/events.h"
#include "station/run/unit.h"
#include "station/wire/exit-code.h"

struct run_options_st {
  const plan_st* m_plan = nullptr;  // borrowed
  std::vector<run_unit_phone_st> m_phones;
  std::map<std::string, std::string> m_variables;
  std::string m_work_order;  // a file; empty: none
  std::string m_records;     // the folder
  std::string m_db;          // where records are sent; empty: nowhere
  std::string m_station;
  std::string m_version;
  unsigned m_baud = 0;  // 0: the plan's
  bool m_is_loop = false;
  run_events_st* m_events = nullptr;  // borrowed; null: nobody else looks on
};

struct run_io_st {
  std::ostream* m_out;
  std::ostream* m_err;
  int m_input_fd = 0;      // the operator's
  int m_stop_fd = -1;      // readable: one wish to end the run, which is read off; a second one ends the teardown too
  int m_terminal_fd = -1;  // of m_out; -1: it is no terminal
  bool m_color = false;
};

run_exit_en run_exit_of(verdict_en verdict);

// Runs the plan on all phones. Gives one of run_exit_en.
int run_plan(const run_options_st& options, const run_io_st& io);

// Prints what would be sent, step by step; touches no port.
int run_dry(const run_options_st& options, const run_io_st& io);
