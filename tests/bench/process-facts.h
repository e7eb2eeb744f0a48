// What the kernel and the preloaded counter report about a running service.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>

struct memory_st {
  long m_resident_kb;
  long m_private_kb;  // pages that no other process has
};

memory_st memory_of(pid_t pid);
// How often each thread went to wait, by thread id.
std::map<int, long> waits_of(pid_t pid);

// The counter of tests/bench/count-allocations.cpp.
class allocation_counter {
 public:
  explicit allocation_counter(const std::filesystem::path& path);  // makes the file
  ~allocation_counter();
  allocation_counter(const allocation_counter&) = delete;
  allocation_counter& operator=(const allocation_counter&) = delete;
  unsigned long count() const;

 private:
  void* m_memory;
};
