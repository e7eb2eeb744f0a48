#include "handset/hardware/hwt/call-files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace hwt {

namespace {

constexpr std::string_view SEPARATOR = " = ";

}  // namespace

// One write: a line of the log is never mixed with a line that another process of the service writes.
bool call_files::write_whole(const char* name, int flags, std::string_view text) const {
  ::mkdir(m_folder.c_str(), 0777);
  const int fd = ::open((m_folder + "/" + name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0666);
  if (fd < 0) return false;
  const ssize_t written = ::write(fd, text.data(), text.size());
  ::close(fd);
  return written == static_cast<ssize_t>(text.size());
}

call_files::state call_files::load_state() const {
  std::ifstream file(m_folder + "/state");
  if (!file) return m_remembered;
  state values;
  for (std::string line; std::getline(file, line);) {
    const std::size_t at = line.find('=');
    if (at != std::string::npos) values[line.substr(0, at)] = std::atoi(line.c_str() + at + 1);
  }
  return values;
}

void call_files::save_state(const state& values) const {
  std::string text;
  for (const auto& [name, value] : values) text.append(name).append("=").append(std::to_string(value)).append("\n");
  // A reader finds the old state or the new one.
  const bool is_kept = write_whole("state.new", O_TRUNC, text) &&
                       std::rename((m_folder + "/state.new").c_str(), (m_folder + "/state").c_str()) == 0;
  m_remembered = is_kept ? state{} : values;
}

void call_files::set_state(const char* name, int value) const {
  auto values = load_state();
  values[name] = value;
  save_state(values);
}

void call_files::append_call(std::string_view call, int result) const {
  std::string line(call);
  line.append(SEPARATOR).append(std::to_string(result)).append("\n");
  write_whole("calls", O_APPEND, line);
}

std::optional<int> call_files::controlled(std::string_view wanted) const {
  std::ifstream file(m_folder + "/control");
  for (std::string line; std::getline(file, line);) {
    const std::size_t at = line.find(SEPARATOR);
    if (at == std::string::npos || at == 0) continue;
    if (wanted.starts_with(std::string_view(line).substr(0, at))) {
      return std::atoi(line.c_str() + at + SEPARATOR.size());
    }
  }
  return std::nullopt;
}

void call_files::take_time(const std::string& call) const {
  std::this_thread::sleep_for(std::chrono::milliseconds(controlled("wait " + call).value_or(0)));
}

}  // namespace hwt
