#include "station/program/command-line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <optional>

#include "station/program/plan-commands.h"
#include "station/wire/judge.h"
#include "station/wire/link.h"
#include "station/wire/session.h"
#include "station/words/words.h"

namespace {

constexpr unsigned DEFAULT_TIMEOUT_MS = 5000;
constexpr unsigned LONGEST_TIMEOUT_MS = 24 * 3600 * 1000;
constexpr std::chrono::milliseconds MONITOR_PART_WAIT{1000};

struct options_st {
  std::string m_port;
  std::string m_app;  // the port, when it is the application's link
  unsigned m_baud = 0;
  std::optional<unsigned> m_timeout_ms;
  std::size_t m_expect = 0;
  bool m_json = false;
  bool m_hex = false;
  bool m_no_wait = false;
  const station_word_st* m_word = nullptr;
  station_arguments_st m_arguments;
};

std::string exit_code_help() {
  std::string help = "Exit codes:\n";
  for (const auto& row : STATION_EXITS)
    help += fmt::format("  {:>3}  {}\n", static_cast<int>(row.m_code), row.m_meaning);
  return help;
}

std::string check_baud(const std::string& text) {
  unsigned baud = 0;
  const bool is_number = CLI::detail::lexical_cast(text, baud);
  return is_number && station_is_baud(baud) ? "" : text + " is no speed of a serial line";
}

void add_common_options(CLI::App* app, options_st* options) {
  auto* port = app->add_option("--port", options->m_port, "The terminal that leads to the phone's PC link");
  auto* application = app->add_option("--app", options->m_app, "The terminal of the phone's test application");
  port->type_name("PATH")->excludes(application);
  application->type_name("PATH");
  app->add_option("--baud", options->m_baud, "Speed of the line; left as it is otherwise")
      ->check(check_baud)
      ->type_name("N");
  app->add_option("--timeout", options->m_timeout_ms,
                  fmt::format("Milliseconds to wait for the answer ({}); monitor: to listen", DEFAULT_TIMEOUT_MS))
      ->check(CLI::Range(1U, LONGEST_TIMEOUT_MS).description(""))
      ->type_name("MS");
  app->add_option("--expect", options->m_expect, "Wait for so many frames and texts, whatever they are")
      ->check(CLI::Range(1, 1000000).description(""))
      ->type_name("N");
  app->add_flag("--json", options->m_json, "One JSON object for each frame or text, and one for the result");
  app->add_flag("--hex", options->m_hex, "Show the bytes in hexadecimal and ASCII too");
}

void add_word(CLI::App* app, const station_word_st& word, options_st* options) {
  CLI::App* command = app->add_subcommand(word.m_name, word.m_help);
  command->fallthrough();
  command->footer("The options of every command: amt-station --help");
  if (word.m_most != 0) {
    const std::string usage = word.m_usage;
    command->add_option(usage.substr(0, usage.find(' ')), options->m_arguments.m_words, usage)
        ->required(word.m_least != 0)
        ->expected(static_cast<int>(std::max<std::size_t>(word.m_least, 1)), static_cast<int>(word.m_most))
        ->type_name("")
        ->allow_extra_args(word.m_most > word.m_least);  // where this is on, the parser splits "[a,b]"
  }
  if (word.m_can_be_raw) command->add_flag("--raw", options->m_arguments.m_is_raw, "Send the text without a CR");
  if (!word.m_operations.empty()) {
    command->add_flag("--frame", options->m_arguments.m_is_frame, "Send a frame where AT text would do");
  }
  if (word.is_sending()) command->add_flag("--no-wait", options->m_no_wait, "Send and wait for nothing");
  command->callback([&word, options] { options->m_word = &word; });
}

// Fills the options; gives an exit status when the run ends here, after help or a wrong command line.
std::optional<int> parse(std::vector<std::string> arguments, const station_io_st& io, options_st* options) {
  CLI::App app{"Talks to a phone in factory test mode over its PC link", "amt-station"};
  app.require_subcommand(1);
  app.footer(exit_code_help());
  add_common_options(&app, options);
  for (const auto& word : station_words()) add_word(&app, word, options);
  for (const auto& command : station_plan_commands()) app.add_subcommand(command.m_name, command.m_help);
  try {
    std::ranges::reverse(arguments);  // the parser takes them from the back
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    return app.exit(error, *io.m_out, *io.m_err) == 0 ? STATION_OK : STATION_USAGE;
  }
  options->m_arguments.m_form = options->m_app.empty() ? stream_form_en::WRAPPED : stream_form_en::BARE;
  std::string wrong;
  if (options->m_no_wait && options->m_expect != 0) wrong = "--no-wait and --expect exclude each other";
  if (options->m_port.empty() && options->m_app.empty()) wrong = "one of --port and --app is required";
  // Here only when options stand before its name.
  if (options->m_word == nullptr) wrong = fmt::format("{} takes its options after its name", app.get_subcommands()[0]->get_name());
  if (wrong.empty()) return std::nullopt;
  *io.m_err << "amt-station: " << wrong << std::endl;
  return STATION_USAGE;
}

class run_st {
 public:
  run_st(const options_st& options, const station_io_st& io) : m_options(options), m_io(io) {}

  int run() {
    station_request_st request;
    std::string wrong;
    const bool is_sending = m_options.m_word->is_sending();
    if (is_sending) wrong = station_build(*m_options.m_word, m_options.m_arguments, &request);
    const std::vector<std::uint8_t> bytes =
        is_sending && wrong.empty() ? station_wire_bytes(request, form()) : no_bytes();
    if (is_sending && wrong.empty() && bytes.empty()) wrong = "the frame is too long to be sent";
    if (!wrong.empty()) return finish(STATION_USAGE, wrong);

    m_link.set_stop_fd(m_io.m_stop_fd);
    const station_exit_en opened = m_link.open(is_app() ? m_options.m_app : m_options.m_port, m_options.m_baud);
    if (opened != STATION_OK) return finish(opened, m_link.error());
    return is_sending ? exchange(request, bytes) : listen();
  }

 private:
  static std::vector<std::uint8_t> no_bytes() { return {}; }
  bool is_app() const { return !m_options.m_app.empty(); }
  stream_form_en form() const { return m_options.m_arguments.m_form; }

  int exchange(const station_request_st& request, std::span<const std::uint8_t> bytes) {
    const station_exit_en sent = m_session.send(bytes, request.m_is_frame, deadline(DEFAULT_TIMEOUT_MS));
    if (sent != STATION_OK) return finish(sent, m_link.error());
    if (m_options.m_no_wait) return finish(STATION_OK, {});

    station_judge_st judge(station_rule_for(request, m_options.m_expect));
    const station_exit_en result =
        m_session.receive(&judge, deadline(DEFAULT_TIMEOUT_MS), std::chrono::milliseconds::max());
    return finish(result, {}, result == STATION_OK ? station_value(request, judge.answer()) : std::nullopt);
  }

  // The end of the given time and an interrupt are good ends; only a count that was not reached is a failure.
  int listen() {
    station_judge_st judge(m_options.m_expect == 0 ? station_rule_st{}
                                                   : station_rule_st{station_wait_en::COUNT, {}, m_options.m_expect});
    const station_exit_en result = m_session.receive(&judge, deadline(0), MONITOR_PART_WAIT);
    const bool is_end = result == STATION_INTERRUPTED || result == STATION_NO_ANSWER || result == STATION_DAMAGED;
    return finish(m_options.m_expect == 0 && is_end ? STATION_OK : result, {});
  }

  station_time deadline(unsigned default_ms) const {
    const unsigned timeout_ms = m_options.m_timeout_ms.value_or(default_ms);
    if (timeout_ms == 0) return station_time::max();
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  }

  void show(const station_entry_st& entry) {
    const station_style_st style{m_io.m_color, m_options.m_hex};
    *m_io.m_out << (m_options.m_json ? station_render_json(entry) : station_render_text(entry, style)) << std::endl;
  }

  // Where the link failed, its own error has more detail than the meaning of the code.
  std::string reason(station_exit_en code, const std::string& message) const {
    if (!message.empty()) return message;
    return code == STATION_PORT_GONE ? m_link.error() : station_exit_meaning(code);
  }

  int finish(station_exit_en code, const std::string& message, const std::optional<std::string>& value = std::nullopt) {
    if (code != STATION_OK) *m_io.m_err << "amt-station: " << reason(code, message) << std::endl;
    if (m_options.m_json) {
      *m_io.m_out << station_render_json_result(code, reason(code, message), m_options.m_word->m_name, value)
                  << std::endl;
    } else if (value) {
      *m_io.m_out << m_options.m_word->m_name << ": " << station_escape(*value) << std::endl;
    }
    return code;
  }

  const options_st& m_options;
  const station_io_st& m_io;
  station_link_st m_link;
  station_session_st m_session{&m_link, [this](const station_entry_st& entry) { show(entry); }, form()};
};

}  // namespace

int station_run(const std::vector<std::string>& arguments, const station_io_st& io) {
  if (const auto status = station_run_plan_command(arguments, io)) return *status;
  options_st options;
  if (const auto status = parse(arguments, io, &options)) return *status;
  return run_st(options, io).run();
}
