// Which units are meant. Data.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "station/plan/verdict.h"

struct store_filter_st {
  std::int64_t m_since_ms = std::numeric_limits<std::int64_t>::min();
  std::int64_t m_until_ms = std::numeric_limits<std::int64_t>::max();  // not itself
  std::string m_serial;                                                // empty: any
  std::string m_plan;                                                  // the same
  std::vector<verdict_en> m_verdicts;                                  // the same
};
