// Reads the lines of a capture, in pieces of any size. A line that is none of a capture is reported with its number,
// and the next one is read. What is held back is bounded. Pure, but for capture_load.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/entry.h"

class capture_reader_st {
 public:
  using on_entry = std::function<void(const capture_entry_st&, std::size_t line)>;
  using on_bad_line = std::function<void(std::size_t line, const std::string& why)>;

  capture_reader_st(on_entry entry, on_bad_line bad_line)
      : m_on_entry(std::move(entry)), m_on_bad_line(std::move(bad_line)) {}

  void feed(std::string_view bytes);
  // There are no more bytes: what is left is a line without its end.
  void finish();
  std::size_t bad_lines() const { return m_bad_lines; }

 private:
  void take_line(std::string_view line);
  void report(const std::string& why);

  on_entry m_on_entry;
  on_bad_line m_on_bad_line;
  std::string m_held;
  std::size_t m_number = 0;  // of the line that was read last
  std::size_t m_bad_lines = 0;
  bool m_is_too_long = false;  // the rest of this line is passed over
};

struct capture_numbered_st {
  capture_entry_st m_entry;
  std::size_t m_line;
};

// A whole file, of bounded size. Returns why it cannot be read; empty: it was.
std::string capture_load(const std::string& path, std::vector<capture_numbered_st>* entries,
                         const capture_reader_st::on_bad_line& bad_line);

// Two names of one file that is there.
bool capture_is_same_file(const std::string& one, const std::string& other);

// Keeps what one phone said; empty: there is only one. Returns what is wrong with the choice.
std::string capture_choose_phone(const std::string& phone, std::vector<capture_numbered_st>* entries);
