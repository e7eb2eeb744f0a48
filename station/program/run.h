// A port that is open for one word or for several, and what is done on it.
#pragma once

#include "station/program/options.h"
#include "station/program/report.h"
#include "station/wire/session.h"

class station_run_st {
 public:
  // All are borrowed. What is shown follows the options of the word that runs.
  station_run_st(const station_options_st& options, const station_io_st& io);

  // The file of --capture. What is wrong with it; empty: nothing.
  std::string open_capture();
  station_exit_en open();
  // One word, or another task on the open port; prints its result and gives its exit status.
  int run(const station_options_st& options);
  // Opens the port, again and again, until a phone answers at it.
  int wait_for_phone();
  int fail(station_exit_en code);
  // The exit status of a run that would otherwise end with this one: a capture may have lost lines.
  int finish_capture(int status) const;

 private:
  void show(station_entry_st entry);
  station_outcome_st listen(const station_options_st& options);
  station_exit_en look_for_phone(station_time deadline);
  capture_link_en link() const;
  stream_form_en form() const;

  const station_options_st& m_options;
  const station_io_st& m_io;
  const station_options_st* m_current;  // of the word that runs
  capture_writer_st m_capture;
  station_link_st m_link;
  station_session_st m_session;
  std::optional<station_time> m_shown_at;  // the latest item
};

// What `explain` prints.
int station_print_explanation(const station_options_st& options, const station_io_st& io);
