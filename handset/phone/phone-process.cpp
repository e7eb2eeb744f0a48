#include "handset/phone/phone-process.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "pub/util/fd.h"

namespace handset {

phone_process::phone_process(std::shared_ptr<phone_core> core)
    : m_core(std::move(core)), m_out(m_core->loop), m_err(m_core->loop) {}

void phone_process::start(const process_plan& plan) {
  std::vector<std::string> request = {plan.folder, std::to_string(plan.arguments.size())};
  request.insert(request.end(), plan.arguments.begin(), plan.arguments.end());
  request.insert(request.end(), plan.environment.begin(), plan.environment.end());
  m_out.log.on_append(plan.on_out);
  m_err.log.on_append(plan.on_err);
  const pub_fd null(::open("/dev/null", O_RDWR | O_CLOEXEC));
  pub_fd out;
  pub_fd err;
  std::vector<int> streams = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
  if (!plan.attached) {
    out = m_out.open(0);
    if (!plan.discard_err) err = m_err.open(plan.err_pipe_size);
    streams = {null.get(), out.get(), err ? err.get() : null.get()};
  }
  m_pid = std::stoi(m_core->agent.request("start", request, streams).fields.at(0));
}

void phone_process::drain() {
  m_out.drain();
  m_err.drain();
}

void phone_process::finish() {
  drain();
  m_out.finish();
  m_err.finish();
}

bool phone_process::running() const {
  return m_pid != 0 && !m_core->agent.wait_ended(m_pid, std::chrono::milliseconds{0}).has_value();
}

void phone_process::send_signal(int signal_number) {
  m_core->agent.request("signal", {std::to_string(m_pid), std::to_string(signal_number)});
}

std::optional<exit_status> phone_process::wait_exit(std::chrono::milliseconds within) {
  return m_core->agent.wait_ended(m_pid, within);
}

void phone_process::on_exit(const std::function<void(exit_status)>& listener) {
  m_core->agent.on_ended(m_pid, listener);
}

}  // namespace handset
