#include "completion/script.h"

#include <fmt/format.h>

#include <algorithm>

#include "completion/templates.h"

namespace {

using texts = std::vector<std::string>;

// How a shell writes what the scripts need.
struct shell_st {
  const char* m_name;
  const char* m_template;
  bool m_is_fish;
};
constexpr shell_st SHELLS[] = {
    {"bash", COMPLETION_BASH, false}, {"zsh", COMPLETION_ZSH, false}, {"fish", COMPLETION_FISH, true}};

std::string replace_all(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// A word that the shell takes as it is; help may have line ends, a line of the tables has none.
std::string quote(const shell_st& shell, std::string text) {
  std::ranges::replace(text, '\n', ' ');
  if (shell.m_is_fish) return "'" + replace_all(replace_all(text, "\\", "\\\\"), "'", "\\'") + "'";
  return "'" + replace_all(text, "'", "'\\''") + "'";
}

std::string line_of(const std::string& name, const std::string& help) {
  return name + "\t" + help;
}

// One row of a table: what stands at a place of the command line.
struct row_st {
  std::string m_key;
  texts m_lines;
};
using rows = std::vector<row_st>;

// Rows with the same lines share them. Without its row a place has nothing, and the function fails.
std::string function_text(const shell_st& shell, const std::string& name, const rows& all, bool has_second) {
  std::vector<std::pair<texts, texts>> groups;  // lines, keys
  for (const auto& row : all) {
    auto group = std::ranges::find(groups, row.m_lines, &std::pair<texts, texts>::first);
    if (group == groups.end()) group = groups.insert(groups.end(), {row.m_lines, {}});
    group->second.push_back(quote(shell, row.m_key));
  }
  const char* key = has_second ? "$1|$2" : "$1";
  const std::string fish_key = replace_all(replace_all(key, "$1", "$argv[1]"), "$2", "$argv[2]");
  std::string text = shell.m_is_fish ? fmt::format("function {}\n    switch \"{}\"\n", name, fish_key)
                                     : fmt::format("{}() {{\n  case \"{}\" in\n", name, key);
  for (const auto& [lines, keys] : groups) {
    texts quoted;
    for (const auto& line : lines) quoted.push_back(quote(shell, line));
    if (shell.m_is_fish) {
      text += fmt::format("        case {}\n            printf '%s\\n' {}\n", fmt::join(keys, " "),
                          quoted.empty() ? "''" : fmt::format("{}", fmt::join(quoted, " ")));
    } else {
      text += fmt::format("    {}) printf '%s\\n' {} ;;\n", fmt::join(keys, " | "),
                          quoted.empty() ? "''" : fmt::format("{}", fmt::join(quoted, " ")));
    }
  }
  return text + (shell.m_is_fish ? "        case '*'\n            return 1\n    end\nend\n"
                                 : "    *) return 1 ;;\n  esac\n}\n");
}

texts value_lines(completion_value_en value, const texts& choices) {
  texts lines = choices;
  if (value == completion_value_en::PATH) lines.emplace_back("@file");
  if (value == completion_value_en::FOLDER) lines.emplace_back("@folder");
  return lines;
}

struct tables_st {
  rows m_commands;
  rows m_options;
  rows m_values;
  rows m_arguments;
};

void add(const completion_command_st& command, const std::string& path, tables_st* tables) {
  row_st commands{path, {}};
  for (const auto& one : command.m_commands) commands.m_lines.push_back(line_of(one.m_name, one.m_help));
  if (!commands.m_lines.empty()) tables->m_commands.push_back(commands);
  row_st options{path, {}};
  for (const auto& option : command.m_options) {
    for (const auto& name : option.m_names) {
      options.m_lines.push_back(line_of(name, option.m_help));
      if (option.m_value == completion_value_en::NONE) continue;
      tables->m_values.push_back({fmt::format("{}|{}", path, name), value_lines(option.m_value, option.m_choices)});
    }
  }
  tables->m_options.push_back(options);
  for (std::size_t n = 0; n < command.m_arguments.size(); ++n) {
    const auto& argument = command.m_arguments[n];
    const texts lines = value_lines(argument.m_value, argument.m_choices);
    if (!lines.empty()) tables->m_arguments.push_back({fmt::format("{}|{}", path, n), lines});
  }
  for (const auto& one : command.m_commands) add(one, path.empty() ? one.m_name : path + " " + one.m_name, tables);
}

}  // namespace

std::optional<std::string> completion_script(std::string_view name, const completion_command_st& program) {
  const auto* shell =
      std::ranges::find_if(SHELLS, [name](const shell_st& one) { return std::string_view(one.m_name) == name; });
  if (shell == std::end(SHELLS)) return std::nullopt;
  tables_st tables;
  add(program, "", &tables);
  const std::string function = "_" + replace_all(program.m_name, "-", "_");
  const std::string text = function_text(*shell, function + "_commands", tables.m_commands, false) +
                           function_text(*shell, function + "_options", tables.m_options, false) +
                           function_text(*shell, function + "_value", tables.m_values, true) +
                           function_text(*shell, function + "_argument", tables.m_arguments, true);
  std::string script = replace_all(shell->m_template, "WALK\n", COMPLETION_WALK);
  script = replace_all(replace_all(script, "FUNCTION", function), "PROGRAM", program.m_name);
  return replace_all(script, "TABLES\n", text);  // last: its texts are the program's
}
