// Numbers of a contender, one for each round, and what is printed about them: medians and quartiles.
#pragma once

#include <string>
#include <vector>

struct quartiles_st {
  double m_low;
  double m_median;
  double m_high;
};

quartiles_st quartiles(std::vector<double> values);
double median(std::vector<double> values);
// The values divided by the reference's of the same round.
std::vector<double> ratios(const std::vector<double>& values, const std::vector<double>& reference);
// "1.07 (1.05..1.10)"
std::string show_ratio(const std::vector<double>& values, const std::vector<double>& reference);
