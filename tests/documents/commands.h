// The commands that a document prints.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

// A line of a block that begins with a program of this project, without the explanation that may follow.
struct printed_command {
  std::string text;
  int exit = 0;                       // "# exit 7" after the command
  std::optional<std::string> output;  // a block that begins "```text output" after the command's: all that it prints
};

struct printed {
  std::vector<printed_command> commands;     // in their order
  std::vector<std::string> skipped;          // with the reason: "<!-- not run: it never ends -->" before the block
  std::map<std::string, std::string> files;  // of blocks that begin "```python NAME"
};

// From fenced and indented blocks, and from code within lines that calls a program of build/bin with arguments. A text
// with "..." or "<" is no command.
printed commands_of(const std::string& document);
