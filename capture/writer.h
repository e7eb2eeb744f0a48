// Writes a capture file: one line for each piece, one system call for each line, at the file's end. So the file is
// whole up to its last line however its writer ends, and several writers can share it.
#pragma once

#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <string_view>

#include "capture/entry.h"

class capture_writer_st {
 public:
  capture_writer_st() = default;
  ~capture_writer_st();
  capture_writer_st(const capture_writer_st&) = delete;
  capture_writer_st& operator=(const capture_writer_st&) = delete;

  // Makes the file, or goes on with one that is there. Returns why it cannot; empty: it is open.
  std::string open(const std::string& path);
  bool is_open() const { return m_fd >= 0; }

  // Now, from any thread. Bytes that cannot be written are lost; failure() reports it.
  void write(capture_direction_en direction, capture_link_en link, const std::string& phone,
             std::span<const std::uint8_t> bytes);

  // Why lines were lost; empty: none was.
  std::string failure() const;

 private:
  void append(std::string line);

  mutable std::mutex m_lock;
  std::string m_path;
  std::string m_failure;
  int m_fd = -1;
  bool m_is_line_open = false;  // the file does not end with a line's end
};

inline std::span<const std::uint8_t> capture_bytes(std::string_view bytes) {
  return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

// Where the writer of a link puts what passes there.
struct capture_place_st {
  capture_writer_st* m_writer = nullptr;  // borrowed; null: nowhere
  capture_link_en m_link = capture_link_en::PC;
  std::string m_phone{};

  void write(capture_direction_en direction, std::span<const std::uint8_t> bytes) const {
    if (m_writer != nullptr) m_writer->write(direction, m_link, m_phone, bytes);
  }
};
