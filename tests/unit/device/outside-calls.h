// Two calls of the C library that a test must not leave to the kernel alone: kill, which is noted, and kept from
// groups of processes, from the first process and from ending the test; and posix_spawn, which can be made to fail.
#pragma once

#include <sys/types.h>

#include <functional>
#include <vector>

struct kill_call_st {
  pid_t m_pid;
  int m_signal;
  bool operator==(const kill_call_st&) const = default;
};

struct outside_calls_st {
  std::vector<kill_call_st> m_kills;
  std::function<void()> m_on_kill;  // called before the signal is sent
  int m_spawn_error = 0;            // 0: a process is started as ever
};

extern outside_calls_st g_outside_calls;
