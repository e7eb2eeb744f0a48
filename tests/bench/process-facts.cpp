#include "tests/bench/process-facts.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <string_view>

#include "pub/util/io.h"
#include "tests/bench/fail.h"

namespace {

constexpr std::size_t COUNTER_SIZE = sizeof(std::atomic<unsigned long>);

// The number after a line's name, summed over all lines that begin with that name.
long sum_lines(const std::filesystem::path& path, std::string_view name) {
  std::ifstream file(path);
  long sum = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(name)) sum += std::stol(line.substr(line.find(':') + 1));
  }
  return sum;
}

}  // namespace

memory_st memory_of(pid_t pid) {
  const std::filesystem::path path = "/proc/" + std::to_string(pid) + "/smaps_rollup";
  return {sum_lines(path, "Rss:"), sum_lines(path, "Private_")};
}

std::map<int, long> waits_of(pid_t pid) {
  std::map<int, long> all;
  for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
    all[std::stoi(task.path().filename())] = sum_lines(task.path() / "status", "voluntary_ctxt_switches");
  }
  return all;
}

allocation_counter::allocation_counter(const std::filesystem::path& path) {
  const pub_fd fd(open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (fd.get() < 0 || ftruncate(fd.get(), COUNTER_SIZE) != 0) bench_fail("no counter file");
  m_memory = mmap(nullptr, COUNTER_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
  if (m_memory == MAP_FAILED) bench_fail("no counter");
}

allocation_counter::~allocation_counter() {
  munmap(m_memory, COUNTER_SIZE);
}

unsigned long allocation_counter::count() const {
  return *static_cast<const std::atomic<unsigned long>*>(m_memory);
}
