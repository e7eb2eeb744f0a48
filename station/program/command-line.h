// The command line of amt-station, from the arguments to the exit status.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

struct station_io_st {
  std::ostream* m_out;  // what was sent and received
  std::ostream* m_err;  // why a run failed
  bool m_color = false;
  int m_stop_fd = -1;      // readable means: end the run; borrowed
  int m_in_fd = 0;         // the shell's lines, an operator's answers; borrowed
  int m_terminal_fd = -1;  // that of m_out, where lines can be drawn again; borrowed
};

// Runs one command; arguments without the program's name. Gives the exit status, one of STATION_EXITS.
int station_run(const std::vector<std::string>& arguments, const station_io_st& io);
