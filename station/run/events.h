// Told what happens to the phones of a run, for whoever shows it besides the terminal. Each call comes from the phone's
// thread, which waits for it: it has to be short.
#pragma once

#include <cstddef>
#include <string>

#include "station/record/record.h"

class run_events_st {
 public:
  run_events_st() = default;
  virtual ~run_events_st() = default;
  run_events_st(const run_events_st&) = delete;
  run_events_st& operator=(const run_events_st&) = delete;

  virtual void wait_for_phone(std::size_t phone) = 0;
  virtual void begin_unit(std::size_t phone, std::size_t step_count) = 0;
  virtual void begin_step(std::size_t phone, const record_st& record, const record_step_st& step,
                          std::size_t number) = 0;
  // The operator is asked, at the station; empty: not any more.
  virtual void ask(std::size_t phone, const std::string& question) = 0;
  virtual void end_step(std::size_t phone, const record_st& record, const record_step_st& step) = 0;
  virtual void end_unit(std::size_t phone, const record_st& record) = 0;
};
