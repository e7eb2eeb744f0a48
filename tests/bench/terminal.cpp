#include "tests/bench/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "tests/bench/fail.h"

namespace {

int open_master() {
  const int fd = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (fd < 0 || grantpt(fd) != 0 || unlockpt(fd) != 0) bench_fail("no pseudo-terminal");
  return fd;
}

std::string name_of(int master) {
  std::array<char, 64> name{};
  if (ptsname_r(master, name.data(), name.size()) != 0) bench_fail("a terminal has no name");
  return name.data();
}

int open_raw(const std::string& path) {
  const int fd = pub_util_open(path.c_str(), O_RDWR);
  termios attributes = {};
  if (fd < 0 || tcgetattr(fd, &attributes) != 0) bench_fail("no terminal " + path);
  cfmakeraw(&attributes);
  if (tcsetattr(fd, TCSANOW, &attributes) != 0) bench_fail("the terminal does not become raw");
  return fd;
}

}  // namespace

terminal::terminal() : m_master(open_master()), m_path(name_of(m_master.get())), m_slave(open_raw(m_path)) {}

void terminal::write(std::span<const std::uint8_t> bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = ::write(m_master.get(), bytes.data(), bytes.size());
    if (count <= 0) bench_fail("write to " + m_path);
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
}

void terminal::read(std::span<std::uint8_t> bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = ::read(m_master.get(), bytes.data(), bytes.size());
    if (count <= 0) bench_fail("read from " + m_path);
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
}

std::vector<std::uint8_t> terminal::read_until_quiet(int quiet_ms) const {
  std::vector<std::uint8_t> all;
  std::array<std::uint8_t, 4096> piece{};
  pollfd wanted = {m_master.get(), POLLIN, 0};
  while (poll(&wanted, 1, quiet_ms) > 0) {
    const ssize_t count = ::read(m_master.get(), piece.data(), piece.size());
    if (count <= 0) bench_fail("read from " + m_path);
    all.insert(all.end(), piece.begin(), piece.begin() + count);
  }
  return all;
}
