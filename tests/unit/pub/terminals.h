// A pseudo-terminal pair, raw only where a test makes it so.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <string>

class terminal_pair {
 public:
  terminal_pair() : m_master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    char name[64] = "";
    if (grantpt(m_master) != 0 || unlockpt(m_master) != 0 || ptsname_r(m_master, name, sizeof name) != 0) {
      ADD_FAILURE() << "no pseudo-terminal";
    }
    m_slave_path = name;
    m_slave = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_GT(m_slave, 0);
  }
  ~terminal_pair() {
    hang_up();
    close(m_slave);
  }
  terminal_pair(const terminal_pair&) = delete;
  terminal_pair& operator=(const terminal_pair&) = delete;

  int master() const { return m_master; }
  int slave() const { return m_slave; }
  const char* slave_path() const { return m_slave_path.c_str(); }

  termios attributes() const {
    termios result = {};
    EXPECT_EQ(tcgetattr(m_slave, &result), 0);
    return result;
  }
  void set_attributes(const termios& wanted) const { EXPECT_EQ(tcsetattr(m_slave, TCSANOW, &wanted), 0); }

  void hang_up() {
    if (m_master >= 0) close(m_master);
    m_master = -1;
  }

 private:
  int m_master;
  int m_slave = -1;
  std::string m_slave_path;
};
