// The far end of a tty: the master of the pseudo-terminal that a process, here "the service", opens under a /dev name.
// A pseudo-terminal may split or join what was written: these calls are about the stream, never about single reads.
// Once the service has closed a tty, reads end at once until the service opens it again: after a restart, wait for the
// log line that reports the opening. One thread at a time.
#pragma once

#include <termios.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "handset/wire/default-wait.h"
#include "pub/util/fd.h"

namespace handset {

class tty_end {
 public:
  // The next count bytes. Fewer, all that came, when the time is over or the other side hung up.
  std::string read_exactly(std::size_t count, std::chrono::milliseconds within = DEFAULT_WAIT);
  // Everything up to and including text; bytes after it stay for the next read. The result does not end with text when
  // the time is over or the other side hung up.
  std::string read_until(std::string_view text, std::chrono::milliseconds within = DEFAULT_WAIT);
  // What is there now, without waiting.
  std::string read_pending();
  // False when not everything could be written in time, or the device is gone.
  bool write_all(std::string_view bytes, std::chrono::milliseconds within = DEFAULT_WAIT);
  // True when the service has closed the tty (it must have opened it before).
  bool wait_hangup(std::chrono::milliseconds within = DEFAULT_WAIT) const;
  // The line settings that the service gave the tty.
  termios attributes() const;

  bool plugged() const { return static_cast<bool>(m_master); }
  int fd() const { return m_master.get(); }

  void attach(pub_fd master);  // a non-blocking master; what was read from an earlier one is forgotten
  void detach();               // the service's side gets a hang-up

 private:
  bool fill(std::chrono::steady_clock::time_point deadline);
  std::string take(std::size_t count);

  pub_fd m_master;
  std::string m_read_ahead;
};

}  // namespace handset
