#include "station/program/options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <ostream>

#include "station/program/plan-commands.h"
#include "station/program/report.h"
#include "station/wire/link.h"
#include "station/words/explain.h"
#include "station/words/operations.h"
#include "station/words/words.h"

namespace {

constexpr unsigned LONGEST_TIMEOUT_MS = 24 * 3600 * 1000;
constexpr int MANY = CLI::detail::expected_max_vector_size;

std::string check_baud(const std::string& text) {
  unsigned baud = 0;
  const bool is_number = CLI::detail::lexical_cast(text, baud);
  return is_number && station_is_baud(baud) ? "" : text + " is no speed of a serial line";
}

void add_port_options(CLI::App* app, station_options_st* options) {
  auto* port = app->add_option("--port", options->m_port, "The terminal that leads to the phone's PC link");
  auto* application = app->add_option("--app", options->m_app, "The terminal of the phone's test application");
  port->type_name("PATH")->excludes(application);
  application->type_name("PATH");
  app->add_option("--baud", options->m_baud, "Speed of the line; left as it is otherwise")
      ->check(check_baud)
      ->type_name("N");
}

void add_common_options(CLI::App* app, station_options_st* options) {
  app->add_option("--timeout", options->m_timeout_ms,
                  fmt::format("Milliseconds to wait for the answer ({}); monitor: to listen; wait-for-phone: {}",
                              STATION_DEFAULT_TIMEOUT_MS, STATION_DEFAULT_PHONE_WAIT_MS))
      ->check(CLI::Range(1U, LONGEST_TIMEOUT_MS).description(""))
      ->type_name("MS");
  app->add_option("--expect", options->m_expect, "Wait for so many frames and texts, whatever they are")
      ->check(CLI::Range(1, 1000000).description(""))
      ->type_name("N");
  auto* json =
      app->add_flag("--json", options->m_json, "One JSON object for each frame or text, and one for the result");
  app->add_flag("--value", options->m_value, "The value alone, as the phone gives it; the rest on standard error")
      ->excludes(json);
  app->add_flag("--hex", options->m_hex, "Show the bytes in hexadecimal and ASCII too");
}

void add_write_options(CLI::App* command, const station_word_st& word, station_options_st* options) {
  const auto has = [&word](auto member) {
    return std::ranges::any_of(word.m_operations, [member](const auto& row) { return member(row); });
  };
  command->add_flag("--force", options->m_arguments.m_is_forced,
                    "Send it though a value is wrong, or the modem owes an earlier answer");
  if (!has([](const auto& row) { return row.m_read_back != nullptr; })) return;
  const bool is_usual = has([](const auto& row) { return row.m_is_identity; });
  auto* verify = command->add_flag_callback(
      "--verify", [options] { options->m_verify = true; },
      is_usual ? "Read back what was written; usual" : "Read back what was written");
  command
      ->add_flag_callback(
          "--no-verify", [options] { options->m_verify = false; }, "Do not read it back")
      ->excludes(verify);
}

void add_word(CLI::App* app, const station_word_st& word, station_options_st* options) {
  CLI::App* command = app->add_subcommand(word.m_name, word.m_help);
  command->fallthrough();
  command->footer(
      fmt::format("More: amt-station explain {}\nThe options of every command: amt-station --help", word.m_name));
  if (word.m_most != 0) {
    const std::string usage = station_usage(word);
    const bool has_operations = !word.m_operations.empty();
    // The operations know best what is missing or too much. Where extra arguments are on, the parser splits "[a,b]".
    const std::size_t most = has_operations ? MANY : word.m_most;
    command
        ->add_option(has_operations ? "ARGUMENT" : usage.substr(0, usage.find(' ')), options->m_arguments.m_words,
                     usage)
        ->expected(static_cast<int>(has_operations ? 1 : word.m_least), static_cast<int>(most))
        ->type_name("")
        ->allow_extra_args(has_operations || word.m_most > word.m_least);
  }
  if (word.m_can_be_raw) command->add_flag("--raw", options->m_arguments.m_is_raw, "Send the text without a CR");
  if (!word.m_operations.empty()) {
    command->add_flag("--frame", options->m_arguments.m_is_frame, "Send a frame where AT text would do");
  }
  if (word.is_sending()) command->add_flag("--no-wait", options->m_no_wait, "Send and wait for nothing");
  if (word.is_sending()) add_write_options(command, word, options);
  command->callback([&word, options] {
    options->m_word = &word;
    options->m_name = word.m_name;
  });
}

CLI::App* add_task(CLI::App* app, const char* name, const char* help, station_task_en task,
                   station_options_st* options) {
  CLI::App* command = app->add_subcommand(name, help);
  command->fallthrough();
  command->callback([task, name, options] {
    options->m_task = task;
    if (task != station_task_en::EXPLAIN) options->m_name = name;
  });
  return command;
}

void add_tasks(CLI::App* app, bool is_shell_line, station_options_st* options) {
  add_task(app, "explain", "What a word sends on which link, its units and answers", station_task_en::EXPLAIN, options)
      ->add_option("WORD", options->m_name, "One of the words")
      ->required()
      ->type_name("");
  if (is_shell_line) return;
  add_task(app, "wait-for-phone", "Wait until there is a phone at the port and it answers", station_task_en::WAIT,
           options);
  add_task(app, "shell", "Keep the port open and take words from the terminal, or line by line from standard input",
           station_task_en::SHELL, options);
}

// The commands that have a parser of their own.
std::string plan_help() {
  std::string help = "With a plan (amt-station run --help):\n";
  for (const auto& row : station_plan_commands())
    help += fmt::format("  {} {}  {}\n", row.m_name, row.m_usage, row.m_help);
  return help +
         "  results send|list|show|export|yield  keeps what runs left, and reports it\n"
         "\nFor a shell:\n  completion bash|zsh|fish  prints what makes it complete this command line\n\n";
}

void add_all(CLI::App* app, bool is_shell_line, station_options_st* options) {
  if (!is_shell_line) app->set_version_flag("--version", "amt-station " VX_VERSION);
  if (!is_shell_line) add_port_options(app, options);
  add_common_options(app, options);
  for (const auto& word : station_words()) add_word(app, word, options);
  add_tasks(app, is_shell_line, options);
}

// Whether the parser would take the argument after it for this option's value.
bool takes_value(const CLI::App& app, const std::string& argument) {
  const CLI::Option* option = app.get_option_no_throw(argument);
  return option != nullptr && option->get_expected_max() != 0;
}

// The first argument that is neither an option nor its value: the word, known or not. Empty: there is none.
std::string first_word(const CLI::App& app, const std::vector<std::string>& arguments) {
  for (std::size_t n = 0; n < arguments.size(); ++n) {
    if (!arguments[n].starts_with('-')) return arguments[n];
    if (takes_value(app, arguments[n])) ++n;
  }
  return {};
}

// Why the line is wrong: the parser's own reason, but for the word, which it does not name.
std::string explain_error(const CLI::App& app, const CLI::ParseError& error,
                          const std::vector<std::string>& arguments) {
  const std::string word = first_word(app, arguments);
  if (word.empty() && error.get_name() == "RequiredError") return "a word is missing; amt-station --help lists them";
  const auto has_name = [&word](const CLI::App* command) { return command->get_name() == word; };
  if (!word.empty() && app.get_subcommands(has_name).empty()) return station_explain_unknown(word);
  return fmt::format("{}{}", word.empty() ? "" : word + ": ", error.what());
}

// What the parser cannot know; empty when nothing is wrong.
std::string check_together(const station_options_st& options, bool is_shell_line) {
  if (options.m_no_wait && options.m_expect != 0) return "--no-wait and --expect exclude each other";
  const auto& words = options.m_arguments.m_words;
  if (options.m_task != station_task_en::WORD && !words.empty()) return fmt::format("'{}' is too much", words.front());
  if (options.m_task == station_task_en::EXPLAIN) return {};
  const bool has_port = !options.path().empty();
  return has_port || is_shell_line ? "" : "one of --port and --app is required";
}

int refuse(const station_io_st& io, const station_options_st& options, const std::string& wrong) {
  station_outcome_st outcome;
  outcome.m_exit = STATION_USAGE;
  outcome.m_message = wrong;
  return station_report_st(io, options).finish(options.m_name, outcome);
}

}  // namespace

station_wishes_st station_options_st::wishes() const {
  const std::chrono::milliseconds timeout{m_timeout_ms.value_or(STATION_DEFAULT_TIMEOUT_MS)};
  return {timeout, m_expect, m_no_wait, m_verify};
}

std::optional<int> station_parse(std::vector<std::string> arguments, const station_io_st& io, bool is_shell_line,
                                 station_options_st* options) {
  CLI::App app{"Talks to a phone in factory test mode over its PC link", "amt-station"};
  app.require_subcommand(1);
  app.footer(is_shell_line ? station_exit_help(station_command_en::WORD)
                           : plan_help() + station_exit_help(station_command_en::WORD));
  add_all(&app, is_shell_line, options);
  // What follows "--" is the word's, whatever it looks like; the parser would take it for the word itself in places.
  const auto dashes = std::ranges::find(arguments, "--");
  const std::vector<std::string> rest(dashes == arguments.end() ? dashes : dashes + 1, arguments.end());
  arguments.erase(dashes, arguments.end());
  try {
    auto reversed = arguments;
    std::ranges::reverse(reversed);  // the parser takes them from the back
    app.parse(std::move(reversed));
  } catch (const CLI::Success& success) {
    app.exit(success, *io.m_out, *io.m_err);
    return station_report_st(io, *options).finish_output(STATION_OK);
  } catch (const CLI::ParseError& error) {
    options->m_json = options->m_json || std::ranges::find(arguments, "--json") != arguments.end();
    return refuse(io, *options, explain_error(app, error, arguments));
  }
  auto& words = options->m_arguments.m_words;
  words.insert(words.end(), rest.begin(), rest.end());
  options->m_arguments.m_form = options->is_app() ? stream_form_en::BARE : stream_form_en::WRAPPED;
  const std::string wrong = check_together(*options, is_shell_line);
  return wrong.empty() ? std::nullopt : std::optional(refuse(io, *options, wrong));
}

completion_command_st station_describe_words() {
  station_options_st options;
  CLI::App app{"", "amt-station"};
  add_all(&app, false, &options);
  completion_command_st all = completion_describe(app);
  std::vector<std::string> names;
  for (const auto& word : station_words()) {
    names.emplace_back(word.m_name);
    completion_command_st* command = all.find(word.m_name);
    command->m_arguments.clear();
    const auto choices = station_first_arguments(word);
    if (!choices.empty()) command->m_arguments.push_back({completion_value_en::TEXT, choices});
  }
  all.find("explain")->m_arguments = {{completion_value_en::TEXT, names}};
  return all;
}
