#include "completion/command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>

namespace {

// The choices of a type such as "TEXT:{a,b}".
std::vector<std::string> choices_of(const std::string& type) {
  const std::size_t begin = type.find('{');
  const std::size_t end = type.find('}');
  if (begin == std::string::npos || end == std::string::npos || end < begin) return {};
  return CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
}

completion_value_en kind_of(std::string_view name) {
  constexpr std::string_view FILES[] = {"FILE", "PATH", "PLAN", "VARIANT"};
  if (name.find("DIR") != std::string_view::npos) return completion_value_en::FOLDER;
  const bool is_file =
      std::ranges::any_of(FILES, [name](std::string_view one) { return name.find(one) != std::string_view::npos; });
  return is_file ? completion_value_en::PATH : completion_value_en::TEXT;
}

void add_names(const std::vector<std::string>& names, const char* dashes, std::vector<std::string>* all) {
  for (const auto& name : names) all->push_back(dashes + name);
}

completion_option_st describe(const CLI::Option& option) {
  completion_option_st result;
  add_names(option.get_snames(), "-", &result.m_names);
  add_names(option.get_lnames(), "--", &result.m_names);
  result.m_help = option.get_description();
  if (option.get_expected_max() == 0) return result;
  const std::string type = option.get_type_name();
  result.m_choices = choices_of(type);
  result.m_value = kind_of(type);
  return result;
}

}  // namespace

completion_command_st* completion_command_st::find(const std::string& name) {
  const auto found = std::ranges::find(m_commands, name, &completion_command_st::m_name);
  return found == m_commands.end() ? nullptr : &*found;
}

completion_command_st completion_describe(const CLI::App& app) {
  completion_command_st result;
  result.m_name = app.get_name();
  result.m_help = app.get_description();
  for (const CLI::Option* option : app.get_options()) {
    if (option->nonpositional()) {
      result.m_options.push_back(describe(*option));
    } else {
      const std::string type = option->get_type_name();
      const std::string& name = type.empty() ? option->get_name() : type;
      result.m_arguments.push_back({kind_of(name), choices_of(type)});
    }
  }
  if (app.get_fallthrough() && app.get_parent() != nullptr) {
    for (const CLI::Option* option : app.get_parent()->get_options()) {
      const auto has_name = [option](const auto& one) { return option->check_name(one.m_names.front()); };
      if (option->nonpositional() && std::ranges::none_of(result.m_options, has_name))
        result.m_options.push_back(describe(*option));
    }
  }
  for (const CLI::App* command : app.get_subcommands(nullptr))
    result.m_commands.push_back(completion_describe(*command));
  return result;
}
