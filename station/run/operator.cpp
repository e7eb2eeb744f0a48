#include "station/run/operator.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace {

using clock = std::chrono::steady_clock;

constexpr std::size_t LONGEST_LINE = 4096;
constexpr std::chrono::milliseconds TURN_STEP{100};  // how soon a phone that waits for its turn sees an interrupt

bool is_readable(int fd) {
  pollfd wanted{fd, POLLIN, 0};
  return fd >= 0 && ::poll(&wanted, 1, 0) > 0;
}

int milliseconds_until(clock::time_point deadline) {
  constexpr std::int64_t LONGEST = 3'600'000;
  if (deadline == clock::time_point::max()) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, LONGEST));
}

}  // namespace

run_reply_en run_operator_st::ask(const run_question_st& question, clock::time_point deadline, int stop_fd,
                                  std::string* line) {
  std::unique_lock turn(m_turn, std::defer_lock);
  while (!turn.try_lock_for(TURN_STEP)) {
    if (is_readable(stop_fd)) return run_reply_en::INTERRUPTED;
    if (clock::now() >= deadline) return run_reply_en::TOO_LATE;
  }
  run_reply_en reply = run_reply_en::NO_INPUT;
  m_quietly([&] {
    question.m_tell(true);
    do {
      m_show(question.m_prompt);
      reply = read_line(deadline, stop_fd, line);
    } while (reply == run_reply_en::ANSWERED && !question.m_is_answer(*line));
    question.m_tell(false);
  });
  return reply;
}

// The next whole line of what has been read; at the end of the input, what is left of it.
bool run_operator_st::take_line(std::string* line) {
  const std::size_t end = m_buffer.find('\n');
  if (end == std::string::npos && (!m_is_ended || m_buffer.empty()) && m_buffer.size() <= LONGEST_LINE) return false;
  *line = m_buffer.substr(0, std::min(end, LONGEST_LINE));
  m_buffer.erase(0, end == std::string::npos ? m_buffer.size() : end + 1);
  // Scanners and terminals end a line in their own ways.
  while (!line->empty() && (line->back() == '\r' || line->back() == ' ')) line->pop_back();
  line->erase(0, std::min(line->find_first_not_of(' '), line->size()));
  return true;
}

run_reply_en run_operator_st::read_line(clock::time_point deadline, int stop_fd, std::string* line) {
  for (;;) {
    if (take_line(line)) return run_reply_en::ANSWERED;
    if (m_is_ended || m_fd < 0) return run_reply_en::NO_INPUT;
    std::array<pollfd, 2> fds = {{{m_fd, POLLIN, 0}, {stop_fd, POLLIN, 0}}};
    const int ready = ::poll(fds.data(), fds.size(), milliseconds_until(deadline));
    if (ready > 0 && fds[1].revents != 0) return run_reply_en::INTERRUPTED;
    if (ready == 0 && clock::now() >= deadline) return run_reply_en::TOO_LATE;
    if (ready <= 0) continue;
    std::array<char, 4096> chunk{};
    const ssize_t count = ::read(m_fd, chunk.data(), chunk.size());
    if (count > 0) {
      m_buffer.append(chunk.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
      m_is_ended = true;
    }
  }
}
