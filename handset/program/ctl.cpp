// `handset ctl`: one command to a running phone.
#include <fmt/format.h>

#include <cstdio>
#include <filesystem>

#include "handset/program/commands.h"
#include "handset/program/control.h"

namespace handset {

int ctl(const ctl_command& command) {
  auto words = command.words;
  // The phone's process may run in another folder than this one, so the file's path is made absolute.
  if (words.size() > 1 && words[0] == "screenshot") words[1] = std::filesystem::absolute(words[1]);
  const auto answer = ask_control(command.socket, words);
  std::FILE* stream = answer.done ? stdout : stderr;
  fmt::print(stream, "{}{}", answer.text, answer.done ? "" : "\n");
  return answer.done ? STATUS_DONE : STATUS_FAILED;
}

}  // namespace handset
