// A new pseudo-terminal, raw from the start: nothing echoes or changes bytes before its user has set attributes.
#pragma once

#include <optional>
#include <string>

#include "pub/util/fd.h"

namespace handset {

struct pty {
  pub_fd master;      // non-blocking
  std::string slave;  // its name
};

// None with errno set when no pseudo-terminal can be made.
std::optional<pty> open_pty();

}  // namespace handset
