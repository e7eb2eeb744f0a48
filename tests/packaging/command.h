// A command of this machine's shell, with what it printed.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

struct command_result_st {
  int m_status;       // -1: no exit status
  std::string m_out;  // standard output and standard error
};

inline command_result_st run_command(const std::string& command) {
  command_result_st result{-1, ""};
  FILE* pipe = popen(("PATH=$PATH:/usr/sbin; { " + command + "\n} 2>&1").c_str(), "r");
  if (pipe == nullptr) {
    ADD_FAILURE() << "cannot start a shell";
    return result;
  }
  std::array<char, 4096> buffer;
  for (std::size_t count; (count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
    result.m_out.append(buffer.data(), count);
  }
  const int status = pclose(pipe);
  if (WIFEXITED(status)) result.m_status = WEXITSTATUS(status);
  return result;
}
