// A raw pseudo-terminal: the side that the benchmark holds, and the name that a contender opens.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "pub/util/io.h"

class terminal {
 public:
  terminal();
  const std::string& path() const { return m_path; }
  int fd() const { return m_master.get(); }

  // Both end the program with a message when the terminal fails; a benchmark that hangs is ended by its alarm.
  void write(std::span<const std::uint8_t> bytes) const;
  void read(std::span<std::uint8_t> bytes) const;  // exactly that many
  // Everything that comes until the line is quiet for quiet_ms; empty when nothing comes at all.
  std::vector<std::uint8_t> read_until_quiet(int quiet_ms) const;

 private:
  pub_fd m_master;
  std::string m_path;
  pub_fd m_slave;  // kept open: the raw mode stays, and a contender that comes late misses nothing
};
