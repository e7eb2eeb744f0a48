// Ground room `completion`: what a command line takes, read from the parser's own tree, and the scripts by which a
// shell completes it. It belongs to no program; each that has a parser uses it.
//
// A command with its options, arguments and commands, as data.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

enum class completion_value_en { NONE, TEXT, PATH, FOLDER };

struct completion_option_st {
  std::vector<std::string> m_names;  // "--timeout", "-q"
  std::string m_help;
  completion_value_en m_value = completion_value_en::NONE;
  std::vector<std::string> m_choices;  // values to offer
};

struct completion_argument_st {
  completion_value_en m_value = completion_value_en::TEXT;
  std::vector<std::string> m_choices;
};

struct completion_command_st {
  std::string m_name;
  std::string m_help;
  std::vector<completion_option_st> m_options;
  std::vector<completion_argument_st> m_arguments;  // by their place
  std::vector<completion_command_st> m_commands;

  completion_command_st* find(const std::string& name);
};

// An option or argument takes a file or a folder when its type, or the argument's name, says so ("FILE", "DIR"), and
// offers the choices that its check lists ("{a,b}"). A command that passes options on to its parent has those, too.
completion_command_st completion_describe(const CLI::App& app);
