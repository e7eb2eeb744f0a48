#include "tests/bench/series.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

double at(const std::vector<double>& sorted, double part) {
  const double place = part * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<std::size_t>(place);
  const auto above = std::min(below + 1, sorted.size() - 1);
  return sorted[below] + (place - static_cast<double>(below)) * (sorted[above] - sorted[below]);
}

}  // namespace

quartiles_st quartiles(std::vector<double> values) {
  if (values.empty()) return {};
  std::sort(values.begin(), values.end());
  return {at(values, 0.25), at(values, 0.5), at(values, 0.75)};
}

double median(std::vector<double> values) {
  return quartiles(std::move(values)).m_median;
}

std::vector<double> ratios(const std::vector<double>& values, const std::vector<double>& reference) {
  std::vector<double> all;
  for (std::size_t i = 0; i < values.size(); ++i) all.push_back(values[i] / reference[i]);
  return all;
}

std::string show_ratio(const std::vector<double>& values, const std::vector<double>& reference) {
  const quartiles_st found = quartiles(ratios(values, reference));
  return fmt::format("{:.2f} ({:.2f}..{:.2f})", found.m_median, found.m_low, found.m_high);
}
