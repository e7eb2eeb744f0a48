// A program that is measured: started pinned to a processor of its own and with the scheduling that the service gives
// itself (the same for all of them), ended with the object.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

// Where the measuring program and the measured ones run. On a machine with one processor both are the same.
inline constexpr int BENCH_OWN_PROCESSOR = 0;
inline constexpr int BENCH_CONTENDERS_PROCESSOR = 1;
// Pins the calling thread, and all that it starts.
void bench_pin(int processor);
// The real-time priority that the service takes, for this program and, by inheritance, for all that it starts. False
// where that is not permitted: then the service does not get it either.
bool bench_take_service_priority();

class contender {
 public:
  // command[0] is a path. environment: "NAME=value", on top of this program's own. Standard streams are /dev/null.
  explicit contender(const std::vector<std::string>& command, const std::vector<std::string>& environment = {});
  ~contender();
  contender(contender&& other) noexcept : m_pid(other.m_pid) { other.m_pid = 0; }
  contender(const contender&) = delete;
  contender& operator=(const contender&) = delete;

  pid_t pid() const { return m_pid; }
  std::chrono::nanoseconds processor_time() const;  // user and system, of all its threads

 private:
  pid_t m_pid;
};
