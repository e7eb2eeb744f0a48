// What the kernel says a thread of this process is doing.
#pragma once

#include <sys/types.h>

#include <string>

#include "tests/unit/temp-folder.h"

// 'S' while it waits for something; '?' when there is no such thread.
inline char state_of_thread(pid_t tid) {
  const std::string stat = read_whole_file("/proc/self/task/" + std::to_string(tid) + "/stat");
  const auto bracket = stat.rfind(')');
  return bracket == std::string::npos || bracket + 2 >= stat.size() ? '?' : stat[bracket + 2];
}
