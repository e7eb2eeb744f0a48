// The bytes of a capture file, or of standard input, as they come.
#pragma once

#include <chrono>
#include <span>
#include <string>

enum class capture_bytes_en {
  SOME,
  NONE_YET,  // the file may still grow
  END,
  INTERRUPTED,
  FAILED,
};

class capture_source_st {
 public:
  capture_source_st() = default;
  ~capture_source_st();
  capture_source_st(const capture_source_st&) = delete;
  capture_source_st& operator=(const capture_source_st&) = delete;

  // "-" is standard input. Returns why it cannot be read; empty: it can.
  std::string open(const std::string& path, int standard_input);

  // Waits for bytes; stop_fd readable ends the wait. follows: the end of a file is no end, but NONE_YET after a short
  // wait.
  capture_bytes_en read(std::span<char> room, bool follows, int stop_fd, std::size_t* count);
  const std::string& error() const { return m_error; }

 private:
  std::string m_path;
  std::string m_error;
  int m_fd = -1;
  bool m_is_owned = false;
  bool m_is_file = false;
};
