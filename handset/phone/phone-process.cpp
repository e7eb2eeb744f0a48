#include "handset/phone/phone-process.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ostream>
#include <utility>

#include "handset/wire/error.h"

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

unique_fd output_pipe::open(int size) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw error("cannot make a pipe");
  m_read_end.reset(ends[0]);
  ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
  if (size > 0) ::fcntl(ends[0], F_SETPIPE_SZ, size);
  resume();
  return unique_fd(ends[1]);
}

void output_pipe::watch() {
  m_loop.watch(m_read_end.get(), POLLIN, [this](short) { drain(); });
}

void output_pipe::pause() {
  m_loop.call([this] { m_loop.forget(m_read_end.get()); });
}

void output_pipe::resume() {
  m_loop.call([this] {
    if (m_read_end) watch();
  });
}

void output_pipe::drain() {
  std::array<char, 65536> buffer;
  while (m_read_end) {
    const auto count = ::read(m_read_end.get(), buffer.data(), buffer.size());
    if (count > 0) log.append({buffer.data(), static_cast<std::size_t>(count)});
    if (count == 0) finish();
    if (count <= 0) return;
  }
}

void output_pipe::finish() {
  if (m_read_end) m_loop.forget(m_read_end.get());
  m_read_end.reset();
  log.end();
}

phone_process::phone_process(std::shared_ptr<phone_core> core)
    : m_core(std::move(core)), m_out(m_core->loop), m_err(m_core->loop) {}

void phone_process::start(const process_plan& plan) {
  std::vector<std::string> request = {plan.folder, std::to_string(plan.arguments.size())};
  request.insert(request.end(), plan.arguments.begin(), plan.arguments.end());
  request.insert(request.end(), plan.environment.begin(), plan.environment.end());
  m_out.log.on_append(plan.on_out);
  m_err.log.on_append(plan.on_err);
  const unique_fd null(::open("/dev/null", O_RDWR | O_CLOEXEC));
  unique_fd out;
  unique_fd err;
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
