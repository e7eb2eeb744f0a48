// The operator at the station: one for all phones, so that one question is asked at a time. Answers are lines of
// standard input, from a terminal, a scanner or a pipe.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>

enum class run_reply_en { ANSWERED, NO_INPUT, TOO_LATE, INTERRUPTED };

// Runs what it is given while nothing else is printed.
using run_quietly = std::function<void(const std::function<void()>&)>;

struct run_question_st {
  std::string m_prompt;
  std::function<bool(const std::string& line)> m_is_answer;  // else it is asked again
  std::function<void(bool is_asked)> m_tell;                 // who looks on that it is asked, and not any more
};

class run_operator_st {
 public:
  // The descriptor is borrowed; show prints a question.
  run_operator_st(int input_fd, std::function<void(const std::string&)> show, run_quietly quietly)
      : m_fd(input_fd), m_show(std::move(show)), m_quietly(std::move(quietly)) {}

  // Shows the prompt when its turn has come, and waits for a line that is an answer; until then no other question has
  // its turn. NO_INPUT: the input has ended. stop_fd: readable means INTERRUPTED.
  run_reply_en ask(const run_question_st& question, std::chrono::steady_clock::time_point deadline, int stop_fd,
                   std::string* line);

 private:
  run_reply_en read_line(std::chrono::steady_clock::time_point deadline, int stop_fd, std::string* line);
  bool take_line(std::string* line);

  int m_fd;
  std::function<void(const std::string&)> m_show;
  run_quietly m_quietly;
  std::timed_mutex m_turn;
  std::string m_buffer;
  bool m_is_ended = false;
};
