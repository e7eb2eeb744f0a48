// Starts programs beside a test or a measurement.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <string>
#include <vector>

// Starts a program, found by PATH unless its name has a folder, with nothing to read and all of its output in a file.
// Gives its number, or -1.
inline pid_t spawn_into_file(std::vector<std::string> command, const std::string& output) {
  std::vector<char*> arguments;
  for (auto& word : command) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  pid_t child = -1;
  const int error = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? child : -1;
}
