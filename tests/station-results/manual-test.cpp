// docs/results.md against the commands, their exit codes and the store's tables.
#include "tests/station-plan/manual.h"

#include <gtest/gtest.h>

namespace {

std::string manual() {
  return project_text("docs/results.md");
}

std::set<std::string> set_of(const std::vector<std::string>& texts) {
  return {texts.begin(), texts.end()};
}

TEST(ResultsManual, ExitCodes_AreThoseOfTheTable) {
  expect_exit_table(manual(), "| exit code of `results` | meaning |\n|---|---|\n", station_command_en::RESULTS);
}

// Each command has its row; an option stands there, with the filters, or with what all commands take.
TEST(ResultsManual, Options_AreThoseOfTheHelp) {
  const std::string text = manual();
  const std::string commands = between(text, "## Commands\n", "| exit code");
  std::set<std::string> in_help;
  for (const char* command : {"send", "list", "show", "export", "yield"}) {
    EXPECT_NE(commands.find("| `results " + std::string(command)), std::string::npos) << command;
    in_help.merge(options_in_help({"results", command}));
  }
  EXPECT_EQ(set_of(matches(commands, "(--[a-z]+)")), in_help);
  // The filter that one command does not have.
  EXPECT_FALSE(options_in_help({"results", "yield"}).contains("--verdict"));
  EXPECT_NE(commands.find("not for `yield`"), std::string::npos);
}

TEST(ResultsManual, Commands_AreThoseOfTheHelp) {
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(station_run({"results", "--help"}, {&out, &err}), 0);
  const auto in_help = matches(between(out.str() + "\n\n", "Subcommands:", "\n\n"), "\n  ([a-z]+) ");
  EXPECT_EQ(set_of(matches(manual(), "\n\\| `results ([a-z]+)")), set_of(in_help));
}

TEST(ResultsManual, Formats_AreThoseOfTheHelp) {
  const std::string text = manual();
  std::ostringstream out;
  std::ostringstream err;
  for (const auto& format : matches(between(text, "## Reports\n", "\n\n**Cpk**"), "\n- \\*\\*([a-z]+)\\*\\*")) {
    EXPECT_NE(text.find("--format json\\|csv\\|junit\\|html"), std::string::npos);
    EXPECT_NE(std::string("json csv junit html").find(format), std::string::npos) << format;
    EXPECT_EQ(station_run({"results", "export", "--format", format, "--records", "/there/is", "--db", "/there/is/none"},
                          {&out, &err}),
              24)
        << format;
  }
  EXPECT_EQ(station_run({"results", "export", "--format", "pdf", "--records", "/there/is", "--db", "/there/is/none"},
                        {&out, &err}),
            2);
}

// The names that stand in one row of the tables' table are those of the statement that makes the table.
TEST(ResultsManual, TablesAndColumns_AreThoseOfTheStore) {
  std::string source = project_text("station/store/store.cpp");
  source = std::regex_replace(source, std::regex("\"\\s*\""), "");
  const std::string rows = between(manual(), "| table | a row for each | columns |\n|---|---|---|\n", "\n\n") + "\n";
  const auto tables = matches(source, "CREATE TABLE ([a-z_]+) ");
  EXPECT_EQ(matches("\n" + rows, "\n\\| `([a-z_]+)`"), tables);
  for (const auto& table : tables) {
    const std::string made = between(source, "CREATE TABLE " + table + " (", ")\"");
    const std::string row = between(rows, "| `" + table + "` |", "\n");
    const auto columns = matches(made, "(?:^|, ?)([a-z_]+) (?:TEXT|INTEGER|BIGINT|DOUBLE)");
    EXPECT_EQ(matches(row, "`([a-z_]+)`"), columns) << table;
  }
}

}  // namespace
