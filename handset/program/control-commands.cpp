// The commands of `handset ctl`, all families together.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>

#include "handset/program/control-command.h"
#include "handset/wire/error.h"

namespace handset {

namespace {

std::vector<control_command> all_commands() {
  std::vector<control_command> all;
  for (const auto family : {phone_commands(), hardware_commands(), modem_commands()}) {
    all.insert(all.end(), family.begin(), family.end());
  }
  return all;
}

words name_words(std::string_view name) {
  const auto space = name.find(' ');
  if (space == name.npos) return {std::string(name)};
  return {std::string(name.substr(0, space)), std::string(name.substr(space + 1))};
}

// "[pc|app]" lists what may stand there; another argument is the user's own text.
std::vector<completion_argument_st> arguments_of(const control_command& row) {
  std::vector<completion_argument_st> all;
  for (auto part : CLI::detail::split(std::string(row.arguments), ' ')) {
    std::erase_if(part, [](char one) { return one == '[' || one == ']'; });
    all.emplace_back();
    const bool is_list =
        part.find('|') != part.npos && std::ranges::none_of(part, [](char c) { return c >= 'A' && c <= 'Z'; });
    if (is_list) all.back().m_choices = CLI::detail::split(part, '|');
  }
  return all;
}

}  // namespace

std::size_t number_of(const std::string& text) {
  std::size_t number = 0;
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (failed != std::errc{} || end != text.data() + text.size())
    throw usage_error(fmt::format("\"{}\" is no number", text));
  return number;
}

std::string run_control(control_target& target, const words& all) {
  for (const auto& command : all_commands()) {
    const words name = name_words(command.name);
    if (all.size() < name.size() || !std::equal(name.begin(), name.end(), all.begin())) continue;
    const words rest(all.begin() + static_cast<std::ptrdiff_t>(name.size()), all.end());
    if (rest.size() >= command.least && rest.size() <= command.most) return command.run(target, rest);
    throw usage_error(fmt::format("usage: {} {}", command.name, command.arguments));
  }
  throw usage_error(fmt::format("unknown command: {}", fmt::join(all, " ")));
}

void describe_control(completion_command_st& ctl) {
  ctl.m_arguments.clear();
  for (const auto& row : all_commands()) {
    completion_command_st* place = &ctl;
    for (const auto& word : name_words(row.name)) {
      if (place->find(word) == nullptr) place->m_commands.push_back({word, std::string(row.help), {}, {}, {}});
      place = place->find(word);
    }
    place->m_help = row.help;
    if (place->m_arguments.empty()) place->m_arguments = arguments_of(row);
  }
}

std::string control_help() {
  std::string help = "Commands:\n";
  for (const auto& command : all_commands()) {
    help += fmt::format("  {:<34} {}\n", fmt::format("{} {}", command.name, command.arguments), command.help);
  }
  return help;
}

}  // namespace handset
