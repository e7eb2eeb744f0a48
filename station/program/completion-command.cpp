#include "station/program/completion-command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <ostream>

#include "completion/script.h"
#include "station/program/options.h"
#include "station/program/plan-commands.h"
#include "station/program/results-commands.h"
#include "station/wire/exit-code.h"

namespace {

struct commands_st {
  CLI::App m_app{"Print what makes a shell complete words, options and files", "completion"};
  std::string m_shell;

  commands_st() {
    m_app.add_option("SHELL", m_shell, "The shell")
        ->required()
        ->type_name("")
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
    m_app.footer(
        "bash: source <(amt-station completion bash)\n"
        "zsh:  source <(amt-station completion zsh)\n"
        "fish: amt-station completion fish | source\n");
  }
};

// "check" is a word and a command of plans: what either takes is offered.
void add(completion_command_st command, completion_command_st* all) {
  completion_command_st* same = all->find(command.m_name);
  if (same == nullptr) {
    all->m_commands.push_back(std::move(command));
    return;
  }
  for (auto& option : command.m_options) {
    const auto is_there = [&option](const auto& one) { return one.m_names == option.m_names; };
    if (std::ranges::none_of(same->m_options, is_there)) same->m_options.push_back(std::move(option));
  }
  for (std::size_t n = 0; n < command.m_arguments.size(); ++n) {
    if (same->m_arguments.size() == n) same->m_arguments.emplace_back();
    auto& argument = same->m_arguments[n];
    const auto& choices = command.m_arguments[n].m_choices;
    argument.m_choices.insert(argument.m_choices.end(), choices.begin(), choices.end());
    if (argument.m_value == completion_value_en::TEXT) argument.m_value = command.m_arguments[n].m_value;
  }
}

}  // namespace

completion_command_st station_command_tree() {
  completion_command_st all = station_describe_words();
  for (auto& command : station_describe_plan_commands()) add(std::move(command), &all);
  add(station_describe_results(), &all);
  add(completion_describe(commands_st().m_app), &all);
  return all;
}

std::optional<int> station_run_completion_command(const std::vector<std::string>& arguments, const station_io_st& io) {
  if (arguments.empty() || arguments[0] != "completion") return std::nullopt;
  commands_st commands;
  std::vector<std::string> rest(arguments.rbegin(), arguments.rend() - 1);  // the parser takes them from the back
  try {
    commands.m_app.parse(std::move(rest));
  } catch (const CLI::ParseError& error) {
    return commands.m_app.exit(error, *io.m_out, *io.m_err) == 0 ? STATION_OK : STATION_USAGE;
  }
  *io.m_out << completion_script(commands.m_shell, station_command_tree()).value_or("") << std::flush;
  return io.m_out->good() ? STATION_OK : STATION_NO_OUTPUT;
}
