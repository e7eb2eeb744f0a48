// The parts of the reports, for this room alone.
#pragma once

#include <iosfwd>
#include <string>

#include "station/store/store.h"

std::string report_write_csv(store_st* store, const store_filter_st& filter, std::ostream* out);
std::string report_write_junit(store_st* store, const store_filter_st& filter, std::ostream* out);
std::string report_write_page(store_st* store, const store_filter_st& filter, const std::string& made,
                              std::ostream* out);

// "3.6 to 4.2", "at least 3", "equals A"; empty without limits.
std::string report_limits(const result_step_st& step);
// The value with its unit.
std::string report_value(const result_step_st& step);
// "97.3 %"; of nothing: "-".
std::string report_percent(double part, double whole);
