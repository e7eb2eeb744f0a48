// A process in the phone: its output and its end.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "handset/wire/exit-status.h"
#include "handset/wire/text-log.h"

namespace handset {

class process {
 public:
  virtual ~process() = default;
  // The process id as the phone sees it.
  virtual int pid() const = 0;
  virtual bool running() const = 0;
  virtual void send_signal(int signal_number) = 0;
  // None when the time is over. When the process has ended, all that it wrote is in out() and err().
  virtual std::optional<exit_status> wait_exit(std::chrono::milliseconds within = DEFAULT_WAIT) = 0;
  // The listener is called on a thread of the phone when the process has ended; at once if it already has.
  virtual void on_exit(const std::function<void(exit_status)>& listener) = 0;
  virtual const text_log& out() const = 0;
  virtual const text_log& err() const = 0;
};

}  // namespace handset
