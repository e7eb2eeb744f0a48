// What a phone's kernel reports about the service.
#pragma once

#include <string>
#include <vector>

#include "handset/phone/phone.h"

namespace soak {

struct facts {
  int pid = 0;
  std::vector<std::string> descriptors;  // what is open, sorted
  std::vector<std::string> threads;      // their ids
  std::vector<std::string> processes;    // of the whole phone: name and state, sorted
  std::size_t children = 0;              // of the service, those included that nobody waited for
  long memory_kb = 0;                    // of its own: stacks, heaps, changed data
};

facts facts_of(handset::phone& phone);
std::string show(const facts& found);

}  // namespace soak
