// `handset ctl`: a running phone's control socket. One connection carries one command, its words as a message's fields,
// and its answer: "ok" or "fail", and a text.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "completion/command.h"
#include "handset/wire/error.h"
#include "handset/wire/event-loop.h"
#include "pub/util/fd.h"

namespace handset {

class cable;
class phone;

// A command, or a name in it, that does not exist: nothing was done.
struct usage_error : error {
  using error::error;
};

// What a command works on.
struct control_target {
  phone& the_phone;
  cable& the_cable;
  std::string name;
  std::filesystem::path pc_tty;                           // where a station connects
  std::filesystem::path app_tty;                          // where a test application connects, in the mode app
  std::filesystem::path log;                              // empty: none is kept
  std::function<void()> connect;                          // the cable to the phone\'s PC tty
  std::function<void()> stop;                             // ends the phone
  std::function<void()> start;                            // starts a service that has ended
  std::function<void(const std::string& mode)> set_mode;  // "pc" or "app": starts the service anew
};

// Runs one command and returns its output. Throws usage_error for a wrong one, handset::error for one that cannot be
// done.
std::string run_control(control_target& target, const std::vector<std::string>& words);
// The commands and what they do, for --help.
std::string control_help();
// Puts them below `ctl`, for completion.
void describe_control(completion_command_st& ctl);

// Serves the commands on a socket of that name; on the loop's thread.
class control_server {
 public:
  control_server(event_loop& loop, const std::filesystem::path& socket, control_target target);

 private:
  void serve();

  pub_fd m_listener;
  control_target m_target;
};

// The client. The phone is the one with that socket, or with that name; when both are empty, the only one of this user
// that runs. Throws usage_error when several run.
struct phone_choice {
  std::filesystem::path socket;
  std::string name;
};
enum class control_result { done, failed, wrong };
struct control_answer {
  control_result result;
  std::string text;
  std::string phone;  // its name
};
control_answer ask_control(const phone_choice& choice, const std::vector<std::string>& words);

}  // namespace handset
