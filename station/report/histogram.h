// What a step's measured values say together, and their picture. Pure.
#pragma once

#include <optional>
#include <string>
#include <vector>

struct report_series_st {
  std::vector<double> m_values;
  std::optional<double> m_low;  // the limits
  std::optional<double> m_high;
};

struct report_statistics_st {
  double m_least = 0;
  double m_most = 0;
  double m_mean = 0;
  double m_deviation = 0;       // of a sample
  std::optional<double> m_cpk;  // how many times 3 deviations fit between the mean and the nearer limit
};

// Of at least one value. Without a limit, or when all values are the same, there is no Cpk.
report_statistics_st report_statistics(const report_series_st& series);

// An SVG element: bars, an axis and the limits as lines.
std::string report_histogram(const report_series_st& series);
