// The test application's end of the APP link: it finds the terminal by its name.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "tests/unit/links.h"

class application {
 public:
  explicit application(const std::string& path) : m_fd(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {}
  ~application() { leave(); }
  application(const application&) = delete;
  application& operator=(const application&) = delete;

  bool is_connected() const { return m_fd >= 0; }
  void leave() {
    if (m_fd >= 0) close(m_fd);
    m_fd = -1;
  }
  void send(std::string_view hex) {
    const std::string bytes = from_hex(hex);
    ASSERT_EQ(write(m_fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  // The next `count` bytes; what has come until then when they do not come within 20 seconds.
  std::string receive(std::size_t count) {
    std::string bytes;
    char buffer[4096];
    pollfd wanted = {m_fd, POLLIN, 0};
    while (bytes.size() < count && poll(&wanted, 1, 20000) > 0) {
      const ssize_t got = read(m_fd, buffer, std::min(sizeof buffer, count - bytes.size()));
      if (got <= 0) break;
      bytes.append(buffer, static_cast<std::size_t>(got));
    }
    return to_hex(bytes);
  }
  // Whether the other side goes away within 20 seconds.
  bool sees_the_end() const {
    pollfd wanted = {m_fd, 0, 0};
    return poll(&wanted, 1, 20000) > 0 && (wanted.revents & POLLHUP) != 0;
  }

 private:
  int m_fd;
};
