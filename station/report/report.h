// The reports: what a store has, in the forms that other programs and people read. All are made of the same records.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "station/store/store.h"

enum class report_form_en { JSON, CSV, JUNIT, HTML };

// Writes the report. Returns why the store failed; empty: it did not. Whether the stream took it all is the caller's.
// `made` is the time that the page shows.
std::string report_write(report_form_en form, store_st* store, const store_filter_st& filter, const std::string& made,
                         std::ostream* out);

// For people: a line for each unit, the newest last; from_last: so many at most, 0: all.
std::string report_list(store_st* store, const store_filter_st& filter, std::size_t from_last, std::ostream* out);
// One unit with its steps.
void report_show(const result_st& result, std::ostream* out);
// The yield of each plan, and the steps that fail.
void report_yield(const std::vector<store_yield_st>& plans, std::ostream* out);
