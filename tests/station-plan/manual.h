// What the station's manuals are held against.
#pragma once

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "station/program/command-line.h"
#include "station/wire/exit-code.h"
#include "tests/unit/docs/text.h"

// The rows below the head are the command's exit codes, and no others.
inline void expect_exit_table(const std::string& text, const std::string& head, station_command_en command) {
  std::string wanted;
  for (const auto& row : STATION_EXITS) {
    if (row.m_command == command) wanted += "| " + std::to_string(row.m_code) + " | " + row.m_meaning + " |\n";
  }
  EXPECT_EQ(between(text + "\n", head, "\n\n") + "\n", wanted);
}

// The options that the command's help lists, but for --help.
inline std::set<std::string> options_in_help(std::vector<std::string> command) {
  std::ostringstream out;
  std::ostringstream err;
  command.emplace_back("--help");
  EXPECT_EQ(station_run(command, {&out, &err}), 0);
  const auto found = matches(out.str(), "\n +(?:-[a-z],)?(--[a-z-]+)");
  std::set<std::string> options(found.begin(), found.end());
  EXPECT_EQ(options.erase("--help"), 1u);
  EXPECT_FALSE(options.empty());
  return options;
}
