// The library's side of the socket to a phone's agent (handset/sandbox/agent.cpp has the list of requests). Requests
// may come from any thread but the event loop's; the loop reads the answers.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "handset/wire/event-loop.h"
#include "handset/wire/exit-status.h"
#include "handset/wire/message.h"

namespace handset {

class agent_link {
 public:
  // before_end is called on the loop's thread, just before the end of a process is made known.
  explicit agent_link(std::function<void()> before_end) : m_before_end(std::move(before_end)) {}

  // On the loop's thread: listens on the socket, which must stay open until the loop has ended.
  void open(event_loop& loop, int socket);

  // The agent is gone: nothing is sent any more, and everything that it started has ended.
  void close() { note_gone(); }

  // False when the agent is gone or silent.
  bool wait_hello(std::chrono::milliseconds within);
  // Returns the answer's fields after the sequence number, and its descriptors. Throws error when the agent refuses or
  // is gone.
  message request(const std::string& kind, const std::vector<std::string>& arguments, const std::vector<int>& fds = {});
  // How a started process ended; none when it still runs after that time. When the agent is gone, so is the process.
  std::optional<exit_status> wait_ended(int pid, std::chrono::milliseconds within);
  // Called on the loop's thread when that process has ended, or now if it has.
  void on_ended(int pid, const std::function<void(exit_status)>& listener);

 private:
  void receive();
  void handle(message received);
  void note_end(int pid, exit_status status);
  void note_gone();

  std::function<void()> m_before_end;
  event_loop* m_loop = nullptr;
  int m_socket = -1;
  std::mutex m_mutex;
  std::condition_variable m_changed;
  bool m_hello = false;
  bool m_gone = false;
  unsigned m_sequence = 0;
  std::map<std::string, message> m_answers;
  std::map<int, exit_status> m_ended;
  std::map<int, std::function<void(exit_status)>> m_listeners;
};

}  // namespace handset
