// A device-test library that notes its calls, in order, as "hwt_gpsCtrl(2, 5, set, set)", and fails those that a test
// chooses.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

struct hwt_fake_st {
  std::vector<std::string> m_calls;
  std::map<std::string, int> m_results;  // a call as it is noted -> what it returns instead of 0
  // What it stores; none: it leaves the caller's variable alone.
  std::optional<int> m_svid;
  std::optional<int> m_cnr;
  std::optional<int> m_count;
};

extern hwt_fake_st g_hwt_fake;
