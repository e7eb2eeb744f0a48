// What a run prints: the trace, then the result; and whether it could be printed.
#pragma once

#include <string>

#include "station/program/options.h"
#include "station/wire/outcome.h"
#include "station/wire/render.h"

class station_report_st {
 public:
  station_report_st(const station_io_st& io, const station_options_st& options) : m_io(io), m_options(options) {}

  void show(const station_entry_st& entry);
  // Text that is the result itself.
  void print(const std::string& text);
  // The result; gives the exit status.
  int finish(const std::string& word, const station_outcome_st& outcome);
  // The exit status of a run that would otherwise end with this one.
  int finish_output(station_exit_en code);
  bool is_broken() const;

 private:
  const station_io_st& m_io;
  const station_options_st& m_options;
};

// A command line that cannot be carried out; gives the exit status.
int station_refuse(const station_io_st& io, const station_options_st& options, const std::string& wrong);
