// The signals that ask a program to end, as events of a loop.
#pragma once

#include <functional>

#include "handset/wire/event-loop.h"
#include "pub/util/fd.h"

namespace handset {

class end_signals {
 public:
  // Make it before any thread: the signals (SIGINT, SIGTERM, SIGHUP) are then blocked in all later threads, too.
  end_signals(event_loop& loop, std::function<void(int signal_number)> action);

 private:
  pub_fd m_signals;
};

}  // namespace handset
