#include "station/program/shell.h"

#include <unistd.h>

#include <algorithm>
#include <ostream>

#include "station/program/line-source.h"
#include "station/words/explain.h"
#include "station/words/operations.h"
#include "station/words/words.h"

namespace {

bool is_blank(char character) {
  return character == ' ' || character == '\t' || character == '\r';
}

bool is_exit(const std::string& word) {
  return word == "exit" || word == "quit";
}

void add_if_starts(std::vector<std::string>* words, const std::string& word, const std::string& start) {
  if (!word.empty() && word.starts_with(start)) words->push_back(word);
}

// The names of the words; after the first, what may follow it.
std::vector<std::string> complete_line(const std::string& before) {
  const std::size_t blank = before.find_last_of(' ');
  const std::string start = blank == std::string::npos ? before : before.substr(blank + 1);
  const std::string first = before.substr(0, before.find(' '));
  std::vector<std::string> words;
  if (blank == std::string::npos || first == "explain") {
    for (const auto& word : station_words()) add_if_starts(&words, word.m_name, start);
    if (blank == std::string::npos) {
      for (const char* name : {"explain", "help", "exit"}) add_if_starts(&words, name, start);
    }
    return words;
  }
  const station_word_st* word = station_find_word(first);
  if (word == nullptr) return words;
  for (const auto& argument : station_first_arguments(*word)) add_if_starts(&words, argument, start);
  for (const char* option : {"--frame", "--json", "--value", "--timeout"}) {
    if (start.starts_with('-')) add_if_starts(&words, option, start);
  }
  return words;
}

class shell_st {
 public:
  shell_st(const station_options_st& options, const station_io_st& io, station_run_st* run)
      : m_options(options),
        m_io(io),
        m_run(run),
        m_is_terminal(::isatty(io.m_in_fd) != 0),
        m_lines(station_open_lines(io.m_in_fd, io.m_stop_fd, complete_line)) {}

  int run() {
    if (m_is_terminal) *m_io.m_out << "help lists the words, Tab completes one, Ctrl-D ends" << std::endl;
    for (;;) {
      std::string line;
      const station_line_en next = m_lines->next(&line);
      if (next == station_line_en::END) return m_status;
      if (next == station_line_en::INTERRUPTED) return STATION_INTERRUPTED;
      if (next == station_line_en::LINE && !run_line(line)) return m_status;
    }
  }

 private:
  // False when the line is the last.
  bool run_line(const std::string& line) {
    std::string wrong;
    auto words = station_split_line(line, &wrong);
    if (!words) {
      station_outcome_st outcome;
      outcome.m_exit = STATION_USAGE;
      outcome.m_message = wrong;
      return note(station_report_st(m_io, m_options).finish("", outcome));
    }
    if (words->empty()) return true;
    if (is_exit(words->front())) return false;
    if (words->front() == "help") words->front() = words->size() == 1 ? "--help" : "explain";
    return note(run_words(std::move(*words)));
  }

  int run_words(std::vector<std::string> words) {
    station_options_st options = m_options;
    options.m_task = station_task_en::WORD;
    options.m_name.clear();
    if (const auto status = station_parse(std::move(words), m_io, true, &options)) return *status;
    return options.m_task == station_task_en::EXPLAIN ? station_print_explanation(options, m_io) : m_run->run(options);
  }

  // A phone that is gone ends the sequence: what follows was meant for that one.
  bool note(int status) {
    if (status == STATION_OK) return true;
    m_status = status;
    if (status == STATION_INTERRUPTED) return station_take_interrupt(m_io.m_stop_fd) && m_is_terminal;
    return status != STATION_PORT_GONE && status != STATION_NO_OUTPUT;
  }

  const station_options_st& m_options;
  const station_io_st& m_io;
  station_run_st* m_run;
  bool m_is_terminal;
  std::unique_ptr<station_line_source_st> m_lines;
  int m_status = STATION_OK;
};

}  // namespace

std::optional<std::vector<std::string>> station_split_line(const std::string& line, std::string* wrong) {
  std::vector<std::string> words;
  bool is_in_word = false;
  char quote = '\0';
  for (std::size_t n = 0; n < line.size(); ++n) {
    const char character = line[n];
    if (quote == '\0' && is_blank(character)) {
      is_in_word = false;
      continue;
    }
    if (quote == '\0' && character == '#' && !is_in_word) break;
    if (!is_in_word) words.emplace_back();
    is_in_word = true;
    if (character == quote) {
      quote = '\0';
    } else if (quote == '\0' && (character == '\'' || character == '"')) {
      quote = character;
    } else if (character == '\\' && quote != '\'' && n + 1 < line.size()) {
      words.back() += line[++n];
    } else {
      words.back() += character;
    }
  }
  if (quote == '\0') return words;
  *wrong = "a quote stays open";
  return std::nullopt;
}

int station_shell(const station_options_st& options, const station_io_st& io, station_run_st* run) {
  return shell_st(options, io, run).run();
}
