// `handset run --replay`: a phone, and the modem behind it, played from a capture. No service runs: the phone says what
// it said then, and waits for what it was sent then.
#pragma once

#include "handset/program/commands.h"

namespace handset {

// 0 when a station sent what the capture has; 1 when it did not, unless differences are ignored.
int replay(const run_command& command);

}  // namespace handset
