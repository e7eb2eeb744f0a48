// `handset exec`: one command in a fresh phone root.
#include <fmt/format.h>

#include <atomic>
#include <cstdio>

#include "handset/phone/phone.h"
#include "handset/program/commands.h"
#include "handset/wire/files.h"
#include "handset/wire/signals.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

// The command and the libraries beside it have the same paths in the phone: the build tree, and the command's own path.
phone_options options_of(const exec_command& command, const fs::path& program) {
  phone_options options;
  options.pc_plugged = false;
  options.modem_plugged = false;
  options.simulated_modem = false;
  options.has_hardware = false;
  options.cards = {};
  options.user = phone_user::system;
  const fs::path build_tree = program_folder().parent_path();
  options.binds.push_back({build_tree, build_tree});
  if (!program.empty()) options.binds.push_back({program, program});
  for (const auto& folder : command.read_only_binds)
    options.binds.push_back({fs::canonical(folder), fs::canonical(folder)});
  for (const auto& folder : command.binds)
    options.binds.push_back({fs::canonical(folder), fs::canonical(folder), true});
  return options;
}

// The command as a file of the host. Empty when it is to be found in the phone's PATH, or exists only in the phone.
fs::path host_program(const std::string& name) {
  std::error_code ignored;
  if (name.find('/') == name.npos || !fs::exists(name, ignored)) return {};
  return fs::canonical(name);
}

}  // namespace

int exec(const exec_command& command) {
  event_loop loop;
  int ended_by = 0;
  const end_signals signals(loop, [&](int number) {
    ended_by = number;
    loop.stop();
  });
  const fs::path program = host_program(command.command.at(0));
  phone phone(options_of(command, program));
  std::vector<std::string> words = command.command;
  if (!program.empty()) words[0] = program;
  std::shared_ptr<process> process;
  try {
    process = phone.run_attached(words, fs::current_path());
  } catch (const error& failure) {
    fmt::print(stderr, "handset: {}\n", failure.what());
    return STATUS_NOT_RUN;
  }
  process->on_exit([&](exit_status) { loop.stop(); });
  loop.run();
  if (ended_by != 0) return 128 + ended_by;
  return shell_status(process->wait_exit().value());
}

}  // namespace handset
