// What the command line asks for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "completion/command.h"
#include "station/program/command-line.h"
#include "station/words/exchange.h"
#include "station/words/word.h"

enum class station_task_en { WORD, EXPLAIN, WAIT, SHELL };

struct station_options_st {
  std::string m_port;
  std::string m_app;  // the port, when it is the application's link
  unsigned m_baud = 0;
  std::optional<unsigned> m_timeout_ms;
  std::size_t m_expect = 0;
  bool m_json = false;
  bool m_hex = false;
  bool m_value = false;  // the bare value alone on standard output
  bool m_no_wait = false;
  std::optional<bool> m_verify;
  station_task_en m_task = station_task_en::WORD;
  const station_word_st* m_word = nullptr;  // for WORD
  std::string m_name;                       // what the result is about; for EXPLAIN the word to explain
  station_arguments_st m_arguments;

  bool is_app() const { return !m_app.empty(); }
  const std::string& path() const { return is_app() ? m_app : m_port; }
  station_wishes_st wishes() const;
};

inline constexpr unsigned STATION_DEFAULT_TIMEOUT_MS = 5000;
inline constexpr unsigned STATION_DEFAULT_PHONE_WAIT_MS = 60000;

// Fills the options; gives an exit status when the run ends here, after help, a version or a wrong command line. A line
// of the shell begins with the shell's own options and has no port of its own.
std::optional<int> station_parse(std::vector<std::string> arguments, const station_io_st& io, bool is_shell_line,
                                 station_options_st* options);

// The words and the program's own options, for completion and the manual.
completion_command_st station_describe_words();
