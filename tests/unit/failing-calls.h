// Calls of the service that a test makes fail. The linker sends them to failing-calls.cpp in a program that asks for it
// (FAILING_CALLS in its folder's list).
#pragma once

#include <string>

// While it lives, a call fails with `error`; on a file of its own only where a path is given (rename: the new name), and
// not before it was made `spared` times. One at a time. The calls: those of tests/CMakeLists.txt.
class failing_call {
 public:
  failing_call(std::string call, int error, std::string path = "", int spared = 0);
  ~failing_call();
  failing_call(const failing_call&) = delete;
  failing_call& operator=(const failing_call&) = delete;

  bool hits(const char* call, const char* path);

 private:
  std::string m_call;
  int m_error;
  std::string m_path;
  int m_spared;
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
