// The bytes of a capture file, or of standard input, as they come.
#pragma once

#include <chrono>
#include <span>
#include <string>

enum class capture_bytes_en {
  SOME,
  NONE_YET,  // the file may still grow
  ANEW,      // another file stands there now, or it was cut: what comes next is its beginning
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

  // "-" is standard input. follows: a file that is not there yet is waited for. Returns why it cannot be read; empty:
  // it can.
  std::string open(const std::string& path, int standard_input, bool follows);
  bool is_there() const { return m_fd >= 0; }

  // Waits for bytes; stop_fd readable ends the wait. Of a file that is followed the end is no end, but NONE_YET after a
  // short wait, or ANEW.
  capture_bytes_en read(std::span<char> room, int stop_fd, std::size_t* count);
  const std::string& error() const { return m_error; }

 private:
  bool reopen();
  bool has_changed() const;

  std::string m_path;
  std::string m_error;
  int m_fd = -1;
  bool m_is_owned = false;
  bool m_is_file = false;
  bool m_follows = false;
};
