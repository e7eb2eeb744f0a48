#include "station/wire/exit-code.h"

const char* station_exit_meaning(station_exit_en code) {
  for (const auto& row : STATION_EXITS) {
    if (row.m_code == code) return row.m_meaning;
  }
  return "";
}
