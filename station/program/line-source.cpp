#include "station/program/line-source.h"

#include <fcntl.h>
#include <histedit.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int HISTORY_LINES = 500;
constexpr std::size_t LONGEST_LINE = 64 * 1024;

// Waits for input; false on an interrupt.
bool wait_for_input(int in_fd, int stop_fd) {
  std::array<pollfd, 2> fds = {{{in_fd, POLLIN, 0}, {stop_fd, POLLIN, 0}}};
  while (::poll(fds.data(), fds.size(), -1) < 0 && errno == EINTR) {
  }
  return fds[1].revents == 0;
}

class plain_lines_st : public station_line_source_st {
 public:
  plain_lines_st(int in_fd, int stop_fd) : m_in_fd(in_fd), m_stop_fd(stop_fd) {}

  station_line_en next(std::string* line) override {
    for (;;) {
      const std::size_t end = m_pending.find('\n');
      if (end != std::string::npos || m_is_over || m_pending.size() > LONGEST_LINE) {
        if (m_pending.empty()) return station_line_en::END;
        *line = m_pending.substr(0, end);
        m_pending.erase(0, end == std::string::npos ? end : end + 1);
        return station_line_en::LINE;
      }
      if (!wait_for_input(m_in_fd, m_stop_fd)) return station_line_en::INTERRUPTED;
      std::array<char, 4096> chunk{};
      const ssize_t count = ::read(m_in_fd, chunk.data(), chunk.size());
      if (count > 0) m_pending.append(chunk.data(), static_cast<std::size_t>(count));
      if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN)) m_is_over = true;
    }
  }

 private:
  int m_in_fd;
  int m_stop_fd;
  std::string m_pending;
  bool m_is_over = false;
};

std::string common_start(const std::vector<std::string>& words) {
  std::string common = words.front();
  for (const auto& word : words) {
    const auto [end, other] = std::ranges::mismatch(common, word);
    common.erase(end, common.end());
  }
  return common;
}

// The editing library calls back with its own handle; this program has one terminal.
struct editor_st {
  int m_in_fd = -1;
  int m_stop_fd = -1;
  bool m_is_interrupted = false;
  station_completer m_completer = nullptr;
};
editor_st g_editor;

int read_character(EditLine* /*edit*/, wchar_t* character) {
  if (!wait_for_input(g_editor.m_in_fd, g_editor.m_stop_fd)) {
    g_editor.m_is_interrupted = true;
    return 0;
  }
  std::uint8_t byte = 0;
  const ssize_t count = ::read(g_editor.m_in_fd, &byte, 1);
  *character = static_cast<wchar_t>(byte);
  return count == 1 ? 1 : 0;
}

char* prompt(EditLine* /*edit*/) {
  static char text[] = "amt> ";
  return text;
}

unsigned char complete(EditLine* edit, int /*character*/) {
  const LineInfo* info = el_line(edit);
  const std::string before(info->buffer, info->cursor);
  const auto words = g_editor.m_completer(before);
  if (words.empty()) return CC_ERROR;
  const std::size_t blank = before.find_last_of(' ');
  const std::size_t typed = blank == std::string::npos ? before.size() : before.size() - blank - 1;
  std::string more = common_start(words).substr(typed);
  if (words.size() == 1) more += ' ';
  if (!more.empty()) return el_insertstr(edit, more.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
  std::fputc('\n', stdout);
  for (const auto& word : words) std::fprintf(stdout, "%s  ", word.c_str());
  std::fputc('\n', stdout);
  std::fflush(stdout);
  return CC_REDISPLAY;
}

std::string history_path() {
  const char* home = std::getenv("HOME");
  return home == nullptr || *home == '\0' ? std::string() : std::string(home) + "/.amt-station-history";
}

class edited_lines_st : public station_line_source_st {
 public:
  edited_lines_st(int in_fd, int stop_fd, station_completer completer)
      : m_in(::fdopen(::fcntl(in_fd, F_DUPFD_CLOEXEC, 0), "r")), m_history(history_init()) {
    g_editor = {in_fd, stop_fd, false, completer};
    m_edit = el_init("amt-station", m_in, stdout, stderr);
    HistEvent event{};
    ::history(m_history, &event, H_SETSIZE, HISTORY_LINES);
    ::history(m_history, &event, H_SETUNIQUE, 1);
    if (!m_path.empty()) ::history(m_history, &event, H_LOAD, m_path.c_str());
    el_set(m_edit, EL_PROMPT, prompt);
    el_set(m_edit, EL_EDITOR, "emacs");
    el_set(m_edit, EL_HIST, ::history, m_history);
    el_set(m_edit, EL_ADDFN, "complete-word", "completes a word", complete);
    el_set(m_edit, EL_BIND, "^I", "complete-word", nullptr);
    el_set(m_edit, EL_GETCFN, read_character);
  }
  ~edited_lines_st() override {
    HistEvent event{};
    if (!m_path.empty()) ::history(m_history, &event, H_SAVE, m_path.c_str());
    el_end(m_edit);
    history_end(m_history);
    if (m_in != nullptr) std::fclose(m_in);
  }

  station_line_en next(std::string* line) override {
    int count = 0;
    g_editor.m_is_interrupted = false;
    const char* text = el_gets(m_edit, &count);
    if (g_editor.m_is_interrupted) {
      std::fputc('\n', stdout);
      std::fflush(stdout);
      el_reset(m_edit);
      return station_take_interrupt(g_editor.m_stop_fd) ? station_line_en::CANCELLED : station_line_en::INTERRUPTED;
    }
    if (text == nullptr || count <= 0) return station_line_en::END;
    *line = std::string(text, static_cast<std::size_t>(count));
    while (line->ends_with('\n')) line->pop_back();
    HistEvent event{};
    if (!line->empty()) ::history(m_history, &event, H_ENTER, line->c_str());
    return station_line_en::LINE;
  }

 private:
  std::FILE* m_in;
  History* m_history;
  EditLine* m_edit = nullptr;
  std::string m_path = history_path();
};

}  // namespace

bool station_take_interrupt(int stop_fd) {
  signalfd_siginfo signal{};
  const ssize_t count = ::read(stop_fd, &signal, sizeof signal);
  return count == static_cast<ssize_t>(sizeof signal) && signal.ssi_signo == SIGINT;
}

std::unique_ptr<station_line_source_st> station_open_lines(int in_fd, int stop_fd, station_completer completer) {
  if (::isatty(in_fd) != 0) return std::make_unique<edited_lines_st>(in_fd, stop_fd, completer);
  return std::make_unique<plain_lines_st>(in_fd, stop_fd);
}
