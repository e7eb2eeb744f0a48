// How one word ended: what a run shows last, prints as its result and ends with.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "station/wire/exit-code.h"
#include "station/wire/value.h"

struct station_outcome_st {
  station_exit_en m_exit = STATION_OK;
  std::string m_message;                   // why, when it did not end well
  std::string m_hint;                      // where to look then
  std::optional<std::int32_t> m_result;    // the result code of an answer that is a frame
  std::optional<std::string> m_value;      // as the phone gives it
  station_parts m_parts{};                 // of the value
  bool m_is_verified = false;              // what was written was read back, and is the same
  std::optional<std::string> m_read_back;  // where it is not
};
