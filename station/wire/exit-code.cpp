#include "station/wire/exit-code.h"

#include <fmt/format.h>

const char* station_exit_meaning(station_exit_en code) {
  for (const auto& row : STATION_EXITS) {
    if (row.m_command == station_command_en::WORD && row.m_code == code) return row.m_meaning;
  }
  return "";
}

std::string station_exit_help(station_command_en command) {
  std::string help = "Exit codes:\n";
  for (const auto& row : STATION_EXITS) {
    if (row.m_command == command) help += fmt::format("  {:>3}  {}\n", row.m_code, row.m_meaning);
  }
  return help;
}
