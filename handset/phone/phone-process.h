// A process that the agent started, with pipes from its output into text_logs.
#pragma once

#include <functional>
#include <memory>

#include "handset/phone/process-plan.h"
#include "handset/phone/process.h"
#include "handset/sandbox/agent-link.h"
#include "handset/wire/event-loop.h"
#include "handset/wire/output-pipe.h"

namespace handset {

// What a phone and its processes share. The process object can still be asked after its phone has gone.
struct phone_core {
  event_loop loop;
  agent_link agent;
};

class phone_process : public process {
 public:
  explicit phone_process(std::shared_ptr<phone_core> core);

  void start(const process_plan& plan);
  void drain();   // on the loop's thread: takes what the process wrote so far
  void finish();  // on the loop's thread, when the process or the phone has ended
  output_pipe& err_pipe() { return m_err; }

  int pid() const override { return m_pid; }
  bool running() const override;
  void send_signal(int signal_number) override;
  std::optional<exit_status> wait_exit(std::chrono::milliseconds within) override;
  void on_exit(const std::function<void(exit_status)>& listener) override;
  const text_log& out() const override { return m_out.log; }
  const text_log& err() const override { return m_err.log; }

 private:
  std::shared_ptr<phone_core> m_core;
  output_pipe m_out;
  output_pipe m_err;
  int m_pid = 0;
};

}  // namespace handset
