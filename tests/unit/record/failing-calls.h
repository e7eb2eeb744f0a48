// Calls of the service that a test makes fail. The linker sends them to failing-calls.cpp.
#pragma once

#include <string>

// While it lives, a call (access, fopen, fsync or rename) fails with `error`; on a file of its own only where a path is
// given (rename: the new name). One at a time.
class failing_call {
 public:
  failing_call(std::string call, int error, std::string path = "");
  ~failing_call();
  failing_call(const failing_call&) = delete;
  failing_call& operator=(const failing_call&) = delete;

  bool hits(const char* call, const char* path) const;

 private:
  std::string m_call;
  int m_error;
  std::string m_path;
};

// While it lives, the process ends with this status where it would call fsync, as if it were killed there.
class killing_fsync {
 public:
  static constexpr int STATUS = 9;
  killing_fsync();
  ~killing_fsync();
  killing_fsync(const killing_fsync&) = delete;
  killing_fsync& operator=(const killing_fsync&) = delete;
};

// While it lives, a file breaks under its reader: after so many lines nothing more comes of it than what its stream
// holds.
class breaking_file {
 public:
  explicit breaking_file(int lines);
  ~breaking_file();
  breaking_file(const breaking_file&) = delete;
  breaking_file& operator=(const breaking_file&) = delete;
};

// While it lives, operator new gives no memory, and the log is silent.
class no_memory {
 public:
  no_memory();
  ~no_memory();
  no_memory(const no_memory&) = delete;
  no_memory& operator=(const no_memory&) = delete;

 private:
  int m_old_priority;
};

// The result of a function of the records that is called without memory.
template <typename Function>
auto without_memory(Function function) {
  const no_memory none;
  return function();
}
