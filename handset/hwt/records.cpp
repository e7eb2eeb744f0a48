#include "handset/hwt/records.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <fstream>

namespace hwt {

namespace {

constexpr const char* FOLDER = "/data/hwt";
constexpr const char* STATE_FILE = "/data/hwt/state";
constexpr const char* NEW_STATE_FILE = "/data/hwt/state.new";
constexpr const char* CALLS_FILE = "/data/hwt/calls";
constexpr const char* CONTROL_FILE = "/data/hwt/control";
constexpr std::string_view SEPARATOR = " = ";

struct state_entry {
  std::string_view name;
  int radio_state::*value;
};

constexpr state_entry STATE_ENTRIES[] = {
    {"bt", &radio_state::bt},
    {"wifi", &radio_state::wifi},
    {"gps", &radio_state::gps},
    {"tx", &radio_state::tx},
    {"tx_channel", &radio_state::tx_channel},
    {"tx_rate", &radio_state::tx_rate},
    {"tx_power", &radio_state::tx_power},
    {"rx", &radio_state::rx},
    {"rx_channel", &radio_state::rx_channel},
    {"rx_rate", &radio_state::rx_rate},
};

// One write: a line of the log is never mixed with a line that another process of the service writes.
bool write_whole(const char* path, int flags, std::string_view text) {
  ::mkdir(FOLDER, 0777);
  const int fd = ::open(path, O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0666);
  if (fd < 0) return false;
  const ssize_t written = ::write(fd, text.data(), text.size());
  ::close(fd);
  return written == static_cast<ssize_t>(text.size());
}

// For a tree in which the file cannot be kept.
radio_state& remembered() {
  static radio_state state;
  return state;
}

}  // namespace

radio_state load_state() {
  std::ifstream file(STATE_FILE);
  if (!file) return remembered();
  radio_state state;
  for (std::string line; std::getline(file, line);) {
    const std::size_t at = line.find('=');
    if (at == std::string::npos) continue;
    for (const auto& entry : STATE_ENTRIES) {
      if (entry.name == std::string_view(line).substr(0, at)) state.*entry.value = std::atoi(line.c_str() + at + 1);
    }
  }
  return state;
}

void save_state(const radio_state& state) {
  std::string text;
  for (const auto& entry : STATE_ENTRIES) {
    text.append(entry.name).append("=").append(std::to_string(state.*entry.value)).append("\n");
  }
  // A reader finds the old state or the new one.
  const bool is_kept = write_whole(NEW_STATE_FILE, O_TRUNC, text) && ::rename(NEW_STATE_FILE, STATE_FILE) == 0;
  remembered() = is_kept ? radio_state{} : state;
}

void append_call(std::string_view call, int result) {
  std::string line(call);
  line.append(SEPARATOR).append(std::to_string(result)).append("\n");
  write_whole(CALLS_FILE, O_APPEND, line);
}

std::optional<int> controlled(std::string_view wanted) {
  std::ifstream file(CONTROL_FILE);
  for (std::string line; std::getline(file, line);) {
    const std::size_t at = line.find(SEPARATOR);
    if (at == std::string::npos || at == 0) continue;
    if (wanted.starts_with(std::string_view(line).substr(0, at)))
      return std::atoi(line.c_str() + at + SEPARATOR.size());
  }
  return std::nullopt;
}

}  // namespace hwt
