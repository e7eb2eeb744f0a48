// The phone's end of a serial line, on a real pseudo-terminal.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <string>

#include "tests/wire.h"

class phone_line_st {
 public:
  phone_line_st() {
    m_phone = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    std::array<char, 64> name{};
    if (::grantpt(m_phone) != 0 || ::unlockpt(m_phone) != 0 || ::ptsname_r(m_phone, name.data(), name.size()) != 0) {
      ADD_FAILURE() << "no pseudo-terminal";
    }
    m_path = name.data();
    // Held so that the phone's end does not hang up between two users of the line.
    m_station = ::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios raw{};
    ::tcgetattr(m_station, &raw);
    ::cfmakeraw(&raw);
    ::tcsetattr(m_station, TCSANOW, &raw);
  }
  ~phone_line_st() {
    hang_up();
    ::close(m_station);
  }
  phone_line_st(const phone_line_st&) = delete;
  phone_line_st& operator=(const phone_line_st&) = delete;

  const std::string& path() const { return m_path; }
  int master() const { return m_phone; }

  void send(const byte_string& bytes) const {
    EXPECT_EQ(::write(m_phone, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }

  // The next bytes from the station, as many as asked for; fewer when they do not come in ten seconds.
  byte_string receive(std::size_t count) const {
    byte_string bytes;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (bytes.size() < count && std::chrono::steady_clock::now() < deadline) {
      pollfd readable{m_phone, POLLIN, 0};
      if (::poll(&readable, 1, 100) <= 0) continue;
      std::array<std::uint8_t, 4096> chunk{};
      const ssize_t got = ::read(m_phone, chunk.data(), std::min(chunk.size(), count - bytes.size()));
      if (got <= 0) break;
      bytes.insert(bytes.end(), chunk.begin(), chunk.begin() + got);
    }
    return bytes;
  }

  void hang_up() {
    if (m_phone >= 0) ::close(m_phone);
    m_phone = -1;
  }

  bool is_exclusive() const {
    int mark = 0;
    EXPECT_EQ(::ioctl(m_station, TIOCGEXCL, &mark), 0);
    return mark != 0;
  }

  // Whether a program takes the line for itself within ten seconds.
  bool wait_taken() const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!is_exclusive()) {
      if (std::chrono::steady_clock::now() >= deadline) return false;
      ::usleep(1000);
    }
    return true;
  }

  // More than the line holds: waits until the station has taken it.
  void send_all(const byte_string& bytes) const {
    for (std::size_t at = 0; at < bytes.size();) {
      const ssize_t count = ::write(m_phone, bytes.data() + at, bytes.size() - at);
      ASSERT_GT(count, 0);
      at += static_cast<std::size_t>(count);
    }
  }

  termios settings() const {
    termios line{};
    EXPECT_EQ(::tcgetattr(m_station, &line), 0);
    return line;
  }

  // What a station leaves on a line that owes no answer.
  void mark_in_step() const {
    termios line = settings();
    line.c_cc[VDISCARD] = 0xD0;
    set(line);
  }

  void set(const termios& line) const { EXPECT_EQ(::tcsetattr(m_station, TCSANOW, &line), 0); }

 private:
  std::string m_path;
  int m_phone = -1;
  int m_station = -1;
};
