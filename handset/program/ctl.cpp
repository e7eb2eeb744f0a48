// `handset ctl`: one command to a running phone.
#include <fmt/format.h>

#include <cstdio>
#include <filesystem>

#include "handset/program/commands.h"
#include "handset/program/control.h"
#include "handset/program/log-follow.h"

namespace handset {

namespace {

// Which phone answered, unless its very socket was given, as a program does.
void name_phone(const ctl_command& command, const control_answer& answer) {
  if (command.socket.empty()) fmt::print(stderr, "[{}]\n", answer.phone);
}

int status_of(const control_answer& answer) {
  if (answer.result == control_result::wrong) return STATUS_USAGE;
  return answer.result == control_result::done ? STATUS_DONE : STATUS_FAILED;
}

}  // namespace

int ctl(const ctl_command& command) {
  auto words = command.words;
  const bool follows = words.size() == 2 && words[0] == "log" && words[1] == "-f";
  if (follows) words.pop_back();
  // The phone's process may run in another folder than this one, so the file's path is made absolute.
  if (words.size() > 1 && words[0] == "screenshot") words[1] = std::filesystem::absolute(words[1]);
  const auto answer = ask_control({command.socket, command.name}, words);
  name_phone(command, answer);
  const bool is_done = answer.result == control_result::done;
  if (is_done && words == std::vector<std::string>{"log"}) return print_log(answer.text, follows);
  fmt::print(is_done ? stdout : stderr, "{}{}", answer.text, is_done ? "" : "\n");
  return status_of(answer);
}

}  // namespace handset
