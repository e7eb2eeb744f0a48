// What the people at the station see of a run. On a terminal each phone has one line that is kept up to date, with what
// failed below it; elsewhere each event is one plain line.
#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
#include <mutex>
#include <string>
#include <vector>

#include "station/record/record.h"

struct run_display_style_st {
  bool m_is_terminal = false;
  bool m_color = false;
  int m_terminal_fd = -1;  // for its size
};

class run_display_st {
 public:
  run_display_st(std::ostream* out, run_display_style_st style, const std::vector<std::string>& phones);

  void wait_for_phone(std::size_t phone);
  void begin_unit(std::size_t phone, std::size_t step_count);
  void begin_step(std::size_t phone, const record_st& record, const record_step_st& step, std::size_t number);
  void end_step(std::size_t phone, const record_st& record, const record_step_st& step, std::size_t number);
  void end_unit(std::size_t phone, const record_st& record, const std::string& path);

  // A line of its own, above the phones' lines.
  void print(const std::string& line);
  // Runs the action while nothing is drawn; what happens meanwhile is shown afterwards.
  void quietly(const std::function<void()>& action);
  // Shows a question; for use within quietly().
  void question(const std::string& text);
  // Brings the running times up to date.
  void tick();

 private:
  using clock = std::chrono::steady_clock;

  struct row_st {
    std::string m_name;
    std::string m_serial;
    std::string m_step;
    std::size_t m_number = 0;
    std::size_t m_count = 0;
    clock::time_point m_begin;
    std::chrono::milliseconds m_time{};
    bool m_is_running = false;
    bool m_is_waiting = false;
    verdict_en m_verdict = verdict_en::NOT_RUN;
    bool m_has_verdict = false;
    std::vector<std::string> m_failures;
  };

  void say(const std::string& line);
  void erase();
  void draw();
  std::vector<std::string> lines(std::size_t width, std::size_t height) const;
  std::string row_line(const row_st& row, std::size_t width) const;
  std::string colored(verdict_en verdict, const std::string& text) const;

  std::ostream& m_out;
  run_display_style_st m_style;
  std::mutex m_lock;
  std::vector<row_st> m_rows;
  std::vector<std::string> m_later;  // lines for after a question
  std::size_t m_name_width = 0;
  std::size_t m_drawn = 0;  // lines on the terminal
  bool m_is_quiet = false;
};

// "voltage: FAIL: 3.1 V is not 3.6 to 4.2 V", "voltage: PASS 3.81 V (3.6 to 4.2 V), marginal".
std::string run_step_line(const record_step_st& step);
