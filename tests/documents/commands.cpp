#include "tests/documents/commands.h"

#include <algorithm>
#include <regex>
#include <sstream>

namespace {

const std::regex PROGRAM(R"(^(build/bin/\S+|amt-station|handset|python3|sleep)( |$))");
const std::regex EXPLANATION(R"((\s{2,}#|\s{3,}).*$)");
const std::regex EXIT(R"(#\s*exit (\d+))");
const std::regex INLINE("`((?:build/bin/)\\S+ [^`]+)`");
const std::regex NOT_RUN(R"(<!--\s*not run: (.*?)\s*-->)");
const std::regex FILE_BLOCK(R"(^```\w+ (\S+\.\w+)$)");

bool is_command(const std::string& text) {
  return std::regex_search(text, PROGRAM) && text.find("...") == text.npos && text.find('<') == text.npos;
}

// Goes over a document line by line.
class extraction {
 public:
  printed take(const std::string& document) {
    std::istringstream lines(document);
    for (std::string line; std::getline(lines, line);) take_line(line);
    return std::move(m_found);
  }

 private:
  void take_line(const std::string& line) {
    std::smatch match;
    if (line.starts_with("```")) return take_fence(line);
    if (m_is_output) {
      *m_found.commands.back().output += line + "\n";
    } else if (!m_file.empty()) {
      m_found.files[m_file] += line + "\n";
    } else if (m_is_fenced) {
      take_command(line);
    } else if (std::regex_search(line, match, NOT_RUN)) {
      m_reason = match[1];
    } else if (line.starts_with("    ")) {
      m_is_block = true;
      take_command(line.substr(4));
    } else {
      if (m_is_block || !line.empty()) m_reason.clear();
      m_is_block = false;
      for (auto at = std::sregex_iterator(line.begin(), line.end(), INLINE); at != std::sregex_iterator(); ++at) {
        take_command((*at)[1]);
      }
    }
  }
  void take_fence(const std::string& line) {
    std::smatch match;
    m_is_fenced = !m_is_fenced;
    m_file = m_is_fenced && std::regex_match(line, match, FILE_BLOCK) ? match[1].str() : "";
    m_is_output = m_is_fenced && line == "```text output" && !m_found.commands.empty();
    if (m_is_output) m_found.commands.back().output = "";
    if (!m_is_fenced) m_reason.clear();
  }
  void take_command(std::string text) {
    if (text.starts_with("$ ")) text.erase(0, 2);
    std::smatch match;
    printed_command command;
    if (std::regex_search(text, match, EXIT)) command.exit = std::stoi(match[1]);
    command.text = std::regex_replace(text, EXPLANATION, "");
    if (!is_command(command.text)) return;
    if (m_reason.empty())
      m_found.commands.push_back(command);
    else
      m_found.skipped.push_back(command.text + ": " + m_reason);
  }

  printed m_found;
  std::string m_reason;
  std::string m_file;
  bool m_is_fenced = false;
  bool m_is_output = false;
  bool m_is_block = false;
};

}  // namespace

printed commands_of(const std::string& document) {
  return extraction().take(document);
}
