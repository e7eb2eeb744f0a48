// The programs of the virtual handset as processes: what they print and how they end.
#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>

#include "handset/wire/exit-status.h"
#include "handset/wire/files.h"
#include "handset/wire/tty-end.h"
#include "pub/util/fd.h"

namespace handset_self {

namespace fs = std::filesystem;
using handset::exited;
using handset::killed;
using handset::tty_end;
using testing::HasSubstr;
using testing::StartsWith;
using words = std::vector<std::string>;

inline const std::string HANDSET = handset::program_folder() / "handset";
inline const std::string STAND_IN = handset::program_folder() / "handset-stand-in";

// A program with its output in one pipe.
class child {
 public:
  explicit child(words command, const std::string& path = std::getenv("PATH")) {
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    // The helper for ttys reads any descriptor.
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    m_output.attach(pub_fd(ends[0]));
    const pub_fd write_end(ends[1]);
    std::vector<char*> arguments;
    for (auto& word : command) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    std::string path_entry = "PATH=" + path;
    std::string temporary = "TMPDIR=" + testing::TempDir();
    std::vector<char*> environment = {path_entry.data(), temporary.data()};
    for (char** entry = environ; *entry != nullptr; ++entry) {
      if (std::string_view(*entry).find("SAN_OPTIONS=") != std::string_view::npos) environment.push_back(*entry);
    }
    environment.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, write_end.get(), 1);
    posix_spawn_file_actions_adddup2(&actions, write_end.get(), 2);
    EXPECT_EQ(::posix_spawnp(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environment.data()), 0);
    posix_spawn_file_actions_destroy(&actions);
  }
  ~child() {
    if (m_pid == 0) return;
    send_signal(SIGKILL);
    wait();
  }
  child(const child&) = delete;
  child& operator=(const child&) = delete;

  void send_signal(int number) const { ::kill(m_pid, number); }
  handset::exit_status wait() {
    int status = 0;
    ::waitpid(std::exchange(m_pid, 0), &status, 0);
    return WIFSIGNALED(status) ? killed(WTERMSIG(status)) : exited(WEXITSTATUS(status));
  }
  // Up to and with text, or what there was.
  std::string read_until(std::string_view text) { return m_output.read_until(text); }
  // Everything until no process has the pipe open any more.
  std::string rest() { return m_output.read_exactly(std::string::npos); }
  bool abandoned() { return m_output.wait_hangup(); }

 private:
  tty_end m_output;
  pid_t m_pid = 0;
};

struct outcome {
  handset::exit_status status;
  std::string output;
};
inline outcome run(const words& command) {
  child program(command);
  std::string output = program.rest();
  return {program.wait(), std::move(output)};
}

}  // namespace handset_self
