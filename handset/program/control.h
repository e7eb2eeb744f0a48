// `handset ctl`: a running phone's control socket. One connection carries one command, its words as a message's fields,
// and its answer: "ok" or "fail", and a text.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "handset/wire/event-loop.h"
#include "pub/util/fd.h"

namespace handset {

class cable;
class phone;

// What a command works on.
struct control_target {
  phone& the_phone;
  cable& the_cable;
  std::function<void()> stop;     // ends the phone
  std::filesystem::path pc_tty;   // where a station connects
  std::filesystem::path app_tty;  // where a test application connects; empty when the service has no APP link
};

// Runs one command and returns its output. Throws handset::error when the command cannot be done.
std::string run_control(control_target& target, const std::vector<std::string>& words);
// The commands and what they do, for --help.
std::string control_help();

// Serves the commands on a socket of that name; on the loop's thread.
class control_server {
 public:
  control_server(event_loop& loop, const std::filesystem::path& socket, control_target target);

 private:
  void serve();

  pub_fd m_listener;
  control_target m_target;
};

// The client. An empty socket means the phone of this user that was started last.
struct control_answer {
  bool done;
  std::string text;
};
control_answer ask_control(const std::filesystem::path& socket, const std::vector<std::string>& words);

}  // namespace handset
