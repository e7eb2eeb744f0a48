// A process in the phone: its output and its end.
#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>

#include "handset/wire/text-log.h"

namespace handset {

struct exit_status {
  bool signalled;  // ended by a signal
  int value;       // the exit code (0..255), or the signal's number
  bool operator==(const exit_status&) const = default;
};
inline exit_status exited(int code) {
  return {false, code & 0xFF};
}
inline exit_status killed(int signal_number) {
  return {true, signal_number};
}
std::string to_string(const exit_status& status);  // "exit status 0", "signal 9 (Killed)"
// What a shell would make of it: the code, or 128 and the signal.
int shell_status(const exit_status& status);

class process {
 public:
  virtual ~process() = default;
  // The process id as the phone sees it.
  virtual int pid() const = 0;
  virtual bool running() const = 0;
  virtual void send_signal(int signal_number) = 0;
  // None when the time is over. When it has ended, all that it wrote is in out() and err().
  virtual std::optional<exit_status> wait_exit(std::chrono::milliseconds within = DEFAULT_WAIT) = 0;
  // Called, on a thread of the phone, when it has ended; at once if it has already.
  virtual void on_exit(const std::function<void(exit_status)>& listener) = 0;
  virtual const text_log& out() const = 0;
  virtual const text_log& err() const = 0;
};

// For the messages of a test that fails.
std::ostream& operator<<(std::ostream& stream, const exit_status& status);

}  // namespace handset
