#include "station/report/histogram.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr std::size_t BAR_COUNT = 24;
constexpr double WIDTH = 480;
constexpr double HEIGHT = 150;
constexpr double BASE = 128;     // y of the axis
constexpr double CEILING = 14;   // y of the highest bar
constexpr double MARGIN = 0.06;  // beside the outermost value or limit, as a part of the range

struct range_st {
  double m_from = 0;
  double m_to = 0;

  double x(double value) const { return WIDTH * ((value - m_from) / (m_to - m_from)); }
};

// The values and the limits, with a margin, so that a line never lies on the edge.
range_st range_of(const report_series_st& series) {
  const auto [least, most] = std::ranges::minmax(series.m_values);
  range_st range{std::min(least, series.m_low.value_or(least)), std::max(most, series.m_high.value_or(most))};
  range = {std::min(range.m_from, series.m_high.value_or(range.m_from)),
           std::max(range.m_to, series.m_low.value_or(range.m_to))};
  double width = range.m_to - range.m_from;
  // Values so far apart, or so near to each other, that no bar can be told from the next.
  if (!std::isfinite(width)) return {std::numeric_limits<double>::lowest() / 2, std::numeric_limits<double>::max() / 2};
  if (width <= std::abs(range.m_from) * 1e-12) width = std::max(std::abs(range.m_from) * 0.1, 1e-9);
  return {range.m_from - width * MARGIN, range.m_from + width * (1 + MARGIN)};
}

std::string line(double x, const char* name) {
  return fmt::format("<line class=\"{0}\" x1=\"{1:.1f}\" y1=\"{2}\" x2=\"{1:.1f}\" y2=\"{3}\"/>", name, x, 2, BASE);
}

// A number under the axis, kept within the picture.
std::string label(double x, double value, const char* name) {
  const char* anchor = x < WIDTH * 0.1 ? "start" : x > WIDTH * 0.9 ? "end" : "middle";
  return fmt::format("<text class=\"{}\" x=\"{:.1f}\" y=\"{}\" text-anchor=\"{}\">{:.6g}</text>", name,
                     std::clamp(x, 0.0, WIDTH), HEIGHT - 6, anchor, value);
}

std::string limit(const range_st& range, double value) {
  return line(range.x(value), "limit") + label(range.x(value), value, "limit-text");
}

}  // namespace

report_statistics_st report_statistics(const report_series_st& series) {
  report_statistics_st all;
  std::tie(all.m_least, all.m_most) = std::pair(std::ranges::min(series.m_values), std::ranges::max(series.m_values));
  const auto count = static_cast<double>(series.m_values.size());
  // Step by step: a sum of large values would lose the small differences between them.
  double squares = 0;
  double number = 0;
  for (const double value : series.m_values) {
    number += 1;
    const double before = value - all.m_mean;
    all.m_mean += before / number;
    squares += before * (value - all.m_mean);
  }
  all.m_deviation = count > 1 ? std::sqrt(squares / (count - 1)) : 0;
  if (!(all.m_deviation > 0) || !std::isfinite(all.m_deviation)) return all;
  double distance = std::numeric_limits<double>::infinity();
  if (series.m_low) distance = std::min(distance, all.m_mean - *series.m_low);
  if (series.m_high) distance = std::min(distance, *series.m_high - all.m_mean);
  if (std::isfinite(distance)) all.m_cpk = distance / (3 * all.m_deviation);
  return all;
}

std::string report_histogram(const report_series_st& series) {
  const range_st range = range_of(series);
  std::array<std::size_t, BAR_COUNT> bars{};
  const double bar_width = WIDTH / static_cast<double>(BAR_COUNT);
  for (const double value : series.m_values) {
    const double bar = std::clamp(range.x(value) / bar_width, 0.0, static_cast<double>(BAR_COUNT - 1));
    ++bars.at(static_cast<std::size_t>(bar));
  }
  const auto highest = static_cast<double>(*std::ranges::max_element(bars));
  std::string svg =
      fmt::format("<svg class=\"histogram\" viewBox=\"0 0 {} {}\" role=\"img\" aria-label=\"Histogram of {} values\">",
                  WIDTH, HEIGHT, series.m_values.size());
  for (std::size_t n = 0; n < BAR_COUNT; ++n) {
    if (bars.at(n) == 0) continue;
    const double height = (BASE - CEILING) * static_cast<double>(bars.at(n)) / highest;
    svg += fmt::format(
        "<rect class=\"bar\" x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\"><title>{}</title></rect>",
        static_cast<double>(n) * bar_width + 1, BASE - height, bar_width - 2, height, bars.at(n));
  }
  svg += fmt::format("<line class=\"axis\" x1=\"0\" y1=\"{0}\" x2=\"{1}\" y2=\"{0}\"/>", BASE, WIDTH);
  if (series.m_low) svg += limit(range, *series.m_low);
  if (series.m_high) svg += limit(range, *series.m_high);
  if (!series.m_low && !series.m_high)
    svg += label(0, range.m_from, "axis-text") + label(WIDTH, range.m_to, "axis-text");
  return svg + "</svg>";
}
