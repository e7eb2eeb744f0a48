// How a process ended.
#pragma once

#include <iosfwd>
#include <string>

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
// The status that a shell would report: the code, or 128 plus the signal.
int shell_status(const exit_status& status);

// For the messages of a test that fails.
std::ostream& operator<<(std::ostream& stream, const exit_status& status);

}  // namespace handset
