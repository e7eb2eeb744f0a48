// Owns a descriptor; a plain int borrows one. A header alone, so that a program without the utility library has it too.
#pragma once

#include <unistd.h>

#include <utility>

// Closes its descriptor at the end of its scope. -1 owns nothing.
class pub_fd {
 public:
  pub_fd() = default;
  explicit pub_fd(int fd) : m_fd(fd) {}
  pub_fd(pub_fd&& other) noexcept : m_fd(other.release()) {}
  pub_fd& operator=(pub_fd&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  ~pub_fd() { reset(); }

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
