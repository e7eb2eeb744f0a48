// What the kernel says a thread of this process is doing.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "tests/unit/temp-folder.h"
#include "tests/unit/wait-for.h"

// 'S' while it waits for something; '?' when there is no such thread.
inline char state_of_thread(pid_t tid) {
  const std::string stat = read_whole_file("/proc/self/task/" + std::to_string(tid) + "/stat");
  const auto bracket = stat.rfind(')');
  return bracket == std::string::npos || bracket + 2 >= stat.size() ? '?' : stat[bracket + 2];
}

// Whether a thread, once it is known, falls asleep and is still so in each of several looks.
inline bool stays_asleep(const std::atomic<pid_t>& tid) {
  if (!wait_for([&tid] { return tid != 0 && state_of_thread(tid) == 'S'; })) return false;
  for (int look = 0; look < 20; ++look) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));  // for a thread that only dozes
    if (state_of_thread(tid) != 'S') return false;
  }
  return true;
}
