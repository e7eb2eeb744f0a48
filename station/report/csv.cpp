// One line for each step of each unit. The lines end as RFC 4180 has it.
#include <fmt/format.h>

#include <array>
#include <ostream>

#include "station/report/parts.h"
#include "station/report/text.h"
#include "station/store/times.h"

namespace {

constexpr std::array<const char*, 23> COLUMNS = {
    "run_id",       "started",  "serial",   "station",  "phone",    "plan",        "revision", "unit_verdict",
    "unit_message", "complete", "group",    "step",     "teardown", "verdict",     "value",    "unit",
    "low",          "high",     "expected", "marginal", "attempts", "duration_ms", "message"};

std::string number(const std::optional<double>& value) {
  return value ? fmt::format("{}", *value) : "";
}

void write_line(const std::vector<std::string>& cells, std::ostream* out) {
  const char* separator = "";
  for (const auto& cell : cells) {
    *out << separator << report_csv_cell(cell);
    separator = ",";
  }
  *out << "\r\n";
}

std::vector<std::string> unit_cells(const result_st& unit) {
  return {unit.m_run_id,   store_time_text(unit.m_started_ms),
          unit.m_serial,   unit.m_station,
          unit.m_phone,    unit.m_plan,
          unit.m_revision, verdict_name(unit.m_verdict),
          unit.m_message,  unit.m_is_complete ? "yes" : "no"};
}

std::vector<std::string> step_cells(const result_step_st& step) {
  return {step.m_group,
          step.m_name,
          step.m_is_teardown ? "yes" : "no",
          verdict_name(step.m_verdict),
          step.m_value,
          step.m_unit,
          number(step.m_low),
          number(step.m_high),
          step.m_expected,
          step.m_is_marginal ? "yes" : "no",
          fmt::format("{}", step.m_attempts),
          fmt::format("{}", step.m_duration_ms),
          step.m_message};
}

}  // namespace

std::string report_write_csv(store_st* store, const store_filter_st& filter, std::ostream* out) {
  write_line({COLUMNS.begin(), COLUMNS.end()}, out);
  return store->visit(filter, true, 0, [&](const result_st& unit) {
    for (const auto& step : unit.m_steps) {
      std::vector<std::string> cells = unit_cells(unit);
      for (auto& cell : step_cells(step)) cells.push_back(std::move(cell));
      write_line(cells, out);
    }
    return out->good();
  });
}
