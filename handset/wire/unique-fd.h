// Owns a file descriptor; a plain int borrows one. Not the service's pub_fd: that one's library brings liblog along,
// which the static agent cannot have.
#pragma once

#include <unistd.h>

#include <utility>

namespace handset {

class unique_fd {
 public:
  unique_fd() = default;
  explicit unique_fd(int fd) : m_fd(fd) {}
  unique_fd(unique_fd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
  unique_fd& operator=(unique_fd&& other) noexcept {
    if (this != &other) reset(std::exchange(other.m_fd, -1));
    return *this;
  }
  ~unique_fd() { reset(); }

  int get() const { return m_fd; }
  explicit operator bool() const { return m_fd >= 0; }
  int release() { return std::exchange(m_fd, -1); }
  void reset(int fd = -1) {
    if (m_fd >= 0) ::close(m_fd);
    m_fd = fd;
  }

 private:
  int m_fd = -1;
};

}  // namespace handset
