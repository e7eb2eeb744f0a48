// The service's processes in a virtual handset.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "handset/phone/phone.h"

// Their numbers, the oldest first; zombies, too.
inline std::vector<std::string> services(handset::phone& phone) {
  static constexpr char LIST[] =
      "for process in /proc/[0-9]*; do"
      "  grep -qx vx-kro-amt $process/comm && echo ${process#/proc/};"
      "done 2>/dev/null | sort -n";
  std::istringstream found(phone.exec({"/bin/sh", "-c", LIST}).out);
  std::vector<std::string> pids;
  for (std::string pid; found >> pid;) pids.push_back(pid);
  return pids;
}
