// A new pseudo-terminal.
#pragma once

#include <optional>
#include <string>

#include "pub/util/fd.h"

namespace handset {

struct pty {
  pub_fd master;      // non-blocking
  std::string slave;  // its name
};

enum class pty_line {
  raw,    // nothing echoes or changes bytes before its user has set attributes
  fresh,  // as a system hands out a serial line: it echoes, waits for whole lines, and takes some bytes for itself
};

// None with errno set when no pseudo-terminal can be made.
std::optional<pty> open_pty(pty_line line);

}  // namespace handset
