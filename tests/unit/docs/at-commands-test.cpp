// docs/at-commands.md against the commands that stand in the service's sources.
#include <algorithm>

#include "tests/unit/docs/text.h"

namespace {

// A literal of a source as the document writes it, up to its first conversion.
std::string as_documented(std::string literal) {
  literal = std::regex_replace(literal, std::regex("\\\\r"), "␍");
  literal = std::regex_replace(literal, std::regex("\\\\([?\"])"), "$1");
  return literal.substr(0, literal.find('%'));
}

std::set<std::string> commands_in(const char* folder) {
  std::set<std::string> result;
  for (const auto& path : project_files(folder, {".cpp"})) {
    for (const auto& literal : matches(project_text(path), R"re("(AT;?\^(?:[^"\\]|\\.)*)")re")) {
      result.insert(as_documented(literal));
    }
  }
  EXPECT_FALSE(result.empty()) << folder;
  return result;
}

std::vector<std::string> documented(const std::string& text) {
  return matches(text, "`(AT;?\\^[^`]*)`");
}

bool is_documented(const std::vector<std::string>& commands, const std::string& wanted) {
  return std::any_of(commands.begin(), commands.end(),
                     [&](const std::string& command) { return command.starts_with(wanted); });
}

std::string document() {
  return project_text("docs/at-commands.md");
}

// "AT^DBTADDR" of "AT^DBTADDR=?␍".
std::string name_of(const std::string& command) {
  return matches(command, "(AT\\^[A-Z0-9]+)").at(0);
}

std::vector<std::string> names(const std::vector<std::string>& commands) {
  std::vector<std::string> result;
  for (const auto& command : commands) result.push_back(name_of(command));
  result.erase(std::unique(result.begin(), result.end()), result.end());
  return result;
}

}  // namespace

// With its carriage return, where the service looks for that, too.
TEST(AtCommandsDocument, EachCommandFromThePc_IsThere) {
  const auto all = documented(document());
  for (const auto& command : commands_in("amt/amt-handle/pc")) EXPECT_TRUE(is_documented(all, command)) << command;
}

// There the line end goes without saying.
TEST(AtCommandsDocument, EachCommandForTheModem_IsThere) {
  const auto all = documented(document());
  for (const char* folder : {"amt/amt-handle/modem", "amt/amt-handle/service"}) {
    for (const auto& command : commands_in(folder)) {
      EXPECT_TRUE(is_documented(all, std::regex_replace(command, std::regex("␍"), ""))) << command;
    }
  }
}

TEST(AtCommandsDocument, EachCommandOfIt_IsInTheSources) {
  std::set<std::string> known;
  for (const auto& command : commands_in("amt")) known.insert(matches(command, "(AT;?\\^[A-Z0-9]+)").at(0));
  for (const auto& command : documented(document())) {
    EXPECT_EQ(known.count(matches(command, "(AT;?\\^[A-Z0-9]+)").at(0)), 1u) << command;
  }
}

TEST(AtCommandsDocument, CommandsOfTheChain_AreInTheOrderOfTheSearch) {
  const auto table = between(document(), "## Commands in the order of the search\n", "\nThe records");
  const auto chain = between(project_text("amt/amt-handle/pc/at-chain.cpp"), "AT_CHAIN[] = {", "};");
  EXPECT_EQ(names(matches(table, "\n\\| `(AT[^`]*)`")), names(matches(chain, "(AT\\^[A-Z0-9]+)")));
}
