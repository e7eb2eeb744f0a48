// A pipe whose ends are closed at the end of its scope.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

struct pipe_st {
  pipe_st() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    m_read = ends[0];
    m_write = ends[1];
  }
  ~pipe_st() {
    close(m_read);
    close_write();
  }
  pipe_st(const pipe_st&) = delete;
  pipe_st& operator=(const pipe_st&) = delete;
  void close_write() {
    if (m_write >= 0) close(m_write);
    m_write = -1;
  }
  int m_read;
  int m_write;
};
