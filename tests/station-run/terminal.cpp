#include "tests/station-run/terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <utility>

namespace {

constexpr std::chrono::seconds PATIENCE{30};

std::vector<std::string> environment_with(const std::map<std::string, std::string>& changes) {
  std::vector<std::string> all;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    if (!changes.contains(text.substr(0, text.find('=')))) all.push_back(text);
  }
  for (const auto& [name, value] : changes) all.push_back(name + "=" + value);
  return all;
}

std::vector<char*> pointers_to(std::vector<std::string>* texts) {
  std::vector<char*> pointers;
  for (auto& text : *texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

void screen_st::take(const std::string& bytes) {
  for (const char one : bytes) {
    if (!m_sequence.empty() || one == '\x1b') {
      m_sequence += one;
      const bool is_end = m_sequence.size() > 2 && one >= '@' && one <= '~';
      if (is_end) obey(std::exchange(m_sequence, ""));
    } else if (one == '\r') {
      m_column = 0;
    } else if (one == '\n') {
      if (++m_row == m_lines.size()) m_lines.emplace_back();
    } else {
      std::string& line = m_lines[m_row];
      line.resize(std::max(line.size(), m_column + 1), ' ');
      line[m_column++] = one;
    }
  }
}

void screen_st::obey(const std::string& sequence) {
  if (sequence.ends_with('m')) {
    m_has_color = true;
  } else if (sequence.ends_with('A')) {
    const auto up = std::strtoul(sequence.c_str() + 2, nullptr, 10);
    m_is_wrong = m_is_wrong || up > m_row;
    m_row -= std::min<std::size_t>(up, m_row);
    ++m_redraws;
  } else if (sequence == "\x1b[J") {
    m_lines.resize(m_row + 1);
    m_lines[m_row].resize(std::min(m_lines[m_row].size(), m_column));
  } else {
    m_is_wrong = true;
  }
}

std::string screen_st::line(const std::string& start) const {
  std::string found;
  int count = 0;
  for (const auto& one : m_lines) {
    if (!one.starts_with(start)) continue;
    found = one;
    ++count;
  }
  return count == 1 ? found : "";
}

std::string screen_st::text() const {
  std::string all;
  for (const auto& one : m_lines) all += one + "\n";
  return all;
}

on_terminal_st::on_terminal_st(const std::vector<std::string>& command, unsigned short columns, unsigned short rows,
                               const std::map<std::string, std::string>& environment)
    : m_fd(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
  EXPECT_TRUE(m_fd >= 0 && ::grantpt(m_fd) == 0 && ::unlockpt(m_fd) == 0);
  winsize size{};
  size.ws_col = columns;
  size.ws_row = rows;
  EXPECT_EQ(::ioctl(m_fd, TIOCSWINSZ, &size), 0);
  const std::string name = ::ptsname(m_fd);
  std::vector<std::string> words = command;
  auto changes = environment;
  changes.try_emplace("TERM", "xterm");
  changes.try_emplace("NO_COLOR", "");
  std::vector<std::string> variables = environment_with(changes);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, name.c_str(), O_RDWR | O_NOCTTY, 0);
  posix_spawn_file_actions_adddup2(&actions, 0, 1);
  posix_spawn_file_actions_adddup2(&actions, 0, 2);
  EXPECT_EQ(::posix_spawnp(&m_pid, words[0].c_str(), &actions, nullptr, pointers_to(&words).data(),
                           pointers_to(&variables).data()),
            0);
  posix_spawn_file_actions_destroy(&actions);
}

on_terminal_st::~on_terminal_st() {
  if (m_pid != 0) {
    send_signal(SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
  }
  ::close(m_fd);
}

// False when nothing came for a moment, or the program has closed the terminal.
bool on_terminal_st::read_some() {
  constexpr int MOMENT_MS = 50;
  std::array<char, 4096> chunk{};
  pollfd wanted{m_fd, POLLIN, 0};
  if (::poll(&wanted, 1, MOMENT_MS) <= 0) return false;
  const ssize_t count = ::read(m_fd, chunk.data(), chunk.size());
  if (count <= 0) return false;
  m_screen.take(std::string(chunk.data(), static_cast<std::size_t>(count)));
  return true;
}

bool on_terminal_st::wait_for(const std::function<bool(const screen_st&)>& is_so) {
  const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
  while (!is_so(m_screen)) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    read_some();
  }
  return true;
}

void on_terminal_st::type(const std::string& text) const {
  EXPECT_EQ(::write(m_fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void on_terminal_st::send_signal(int number) const {
  ::kill(m_pid, number);
}

int on_terminal_st::wait() {
  const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
  int status = 0;
  // It may wait for room in the terminal.
  while (::waitpid(m_pid, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() >= deadline) send_signal(SIGKILL);
    read_some();
  }
  while (read_some()) {
  }
  m_pid = 0;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}
