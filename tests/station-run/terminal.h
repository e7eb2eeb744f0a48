// A program on a terminal of the test's own, and what a user sees there.
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

// The terminal's lines: understands what `run` sends to one, and no more.
class screen_st {
 public:
  void take(const std::string& bytes);

  const std::vector<std::string>& lines() const { return m_lines; }
  // The one line that starts so; empty: there is none, or more than one.
  std::string line(const std::string& start) const;
  std::string text() const;
  std::size_t redraws() const { return m_redraws; }
  bool has_color() const { return m_has_color; }
  // A sequence that no terminal would be sent, or the cursor above the first line.
  bool is_wrong() const { return m_is_wrong; }

 private:
  void obey(const std::string& sequence);

  std::vector<std::string> m_lines{""};
  std::size_t m_row = 0;
  std::size_t m_column = 0;
  std::string m_sequence;  // that has begun
  std::size_t m_redraws = 0;
  bool m_has_color = false;
  bool m_is_wrong = false;
};

class on_terminal_st {
 public:
  // `environment`: NAME=VALUE, in place of the test's own.
  on_terminal_st(const std::vector<std::string>& command, unsigned short columns, unsigned short rows,
                 const std::map<std::string, std::string>& environment = {});
  ~on_terminal_st();
  on_terminal_st(const on_terminal_st&) = delete;
  on_terminal_st& operator=(const on_terminal_st&) = delete;

  // Whether the screen comes to look so within 30 seconds.
  bool wait_for(const std::function<bool(const screen_st&)>& is_so);
  void type(const std::string& text) const;
  void send_signal(int number) const;
  // Its exit status, or 128 and the signal's number.
  int wait();
  const screen_st& screen() const { return m_screen; }

 private:
  bool read_some();

  int m_fd = -1;
  pid_t m_pid = 0;
  screen_st m_screen;
};
