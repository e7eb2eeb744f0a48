#include "handset/sandbox/agent-link.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "handset/wire/default-wait.h"
#include "handset/wire/error.h"

namespace handset {

void agent_link::open(event_loop& loop, int socket) {
  m_loop = &loop;
  m_socket = socket;
  loop.watch(socket, POLLIN, [this](short) { receive(); });
}

void agent_link::receive() {
  auto received = receive_message(m_socket);
  if (received) return handle(std::move(*received));
  m_loop->forget(m_socket);
  note_gone();
}

void agent_link::handle(message received) {
  const auto& fields = received.fields;
  if (fields.size() == 4 && fields[0] == "ended") {
    const int number = std::atoi(fields[3].c_str());
    return note_end(std::atoi(fields[1].c_str()), fields[2] == "signal" ? killed(number) : exited(number));
  }
  {
    const std::lock_guard lock(m_mutex);
    if (fields[0] == "hello") m_hello = true;
    if (fields.size() > 1) m_answers[fields[1]] = std::move(received);
  }
  m_changed.notify_all();
}

void agent_link::note_end(int pid, exit_status status) {
  m_before_end();
  std::function<void(exit_status)> listener;
  {
    const std::lock_guard lock(m_mutex);
    m_ended[pid] = status;
    if (const auto found = m_listeners.find(pid); found != m_listeners.end()) listener = found->second;
  }
  m_changed.notify_all();
  if (listener) listener(status);
}

void agent_link::note_gone() {
  m_before_end();
  std::map<int, std::function<void(exit_status)>> listeners;
  {
    const std::lock_guard lock(m_mutex);
    m_gone = true;
    for (const auto& [pid, status] : m_ended) m_listeners.erase(pid);
    listeners.swap(m_listeners);
  }
  m_changed.notify_all();
  for (const auto& [pid, listener] : listeners) listener(killed(SIGKILL));
}

bool agent_link::wait_hello(std::chrono::milliseconds within) {
  std::unique_lock lock(m_mutex);
  m_changed.wait_for(lock, within, [this] { return m_hello || m_gone; });
  return m_hello;
}

message agent_link::request(const std::string& kind, const std::vector<std::string>& arguments,
                            const std::vector<int>& fds) {
  std::unique_lock lock(m_mutex);
  const std::string sequence = std::to_string(++m_sequence);
  std::vector<std::string> fields = {kind, sequence};
  fields.insert(fields.end(), arguments.begin(), arguments.end());
  if (m_gone || !send_message(m_socket, fields, fds)) {
    throw error("the phone cannot " + kind + ": " + (m_gone ? "it has ended" : std::strerror(errno)));
  }
  m_changed.wait_for(lock, DEFAULT_WAIT, [&] { return m_gone || m_answers.contains(sequence); });
  const auto found = m_answers.find(sequence);
  if (found == m_answers.end()) throw error("the phone does not answer (" + kind + ")");
  message answer = std::move(found->second);
  m_answers.erase(found);
  if (answer.fields[0] != "ok") throw error("the phone cannot " + kind + ": " + answer.fields.back());
  answer.fields.erase(answer.fields.begin(), answer.fields.begin() + 2);
  return answer;
}

std::optional<exit_status> agent_link::wait_ended(int pid, std::chrono::milliseconds within) {
  const auto deadline = std::chrono::steady_clock::now() + within;
  std::unique_lock lock(m_mutex);
  m_changed.wait_until(lock, deadline, [&] { return m_gone || m_ended.contains(pid); });
  if (const auto found = m_ended.find(pid); found != m_ended.end()) return found->second;
  return m_gone ? std::optional(killed(SIGKILL)) : std::nullopt;
}

void agent_link::on_ended(int pid, const std::function<void(exit_status)>& listener) {
  std::optional<exit_status> already;
  {
    const std::lock_guard lock(m_mutex);
    if (const auto found = m_ended.find(pid); found != m_ended.end())
      already = found->second;
    else
      m_listeners[pid] = listener;
  }
  if (already) listener(*already);
}

}  // namespace handset
