#include "handset/wire/exit-status.h"

#include <cstring>
#include <ostream>

namespace handset {

std::string to_string(const exit_status& status) {
  if (!status.signalled) return "exit status " + std::to_string(status.value);
  return "signal " + std::to_string(status.value) + " (" + strsignal(status.value) + ")";
}

int shell_status(const exit_status& status) {
  return status.signalled ? 128 + status.value : status.value;
}

std::ostream& operator<<(std::ostream& stream, const exit_status& status) {
  return stream << to_string(status);
}

}  // namespace handset
