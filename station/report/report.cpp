#include "station/report/report.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>

#include "station/report/parts.h"
#include "station/report/text.h"
#include "station/store/times.h"

namespace {

std::string or_dash(const std::string& text) {
  return text.empty() ? "-" : report_clean(text);
}

// The records as they are, in a list.
std::string write_json(store_st* store, const store_filter_st& filter, std::ostream* out) {
  const char* separator = "";
  std::string wrong;
  *out << "[";
  const std::string failed = store->visit(filter, false, 0, [&](const result_st& result) {
    std::string document;
    wrong = store->document(result.m_run_id, &document);
    *out << separator << "\n" << document.substr(0, document.find_last_not_of(" \n") + 1);
    separator = ",";
    return wrong.empty() && out->good();
  });
  *out << "\n]\n";
  return failed.empty() ? wrong : failed;
}

}  // namespace

std::string report_write(report_form_en form, store_st* store, const store_filter_st& filter, const std::string& made,
                         std::ostream* out) {
  switch (form) {
    case report_form_en::JSON:
      return write_json(store, filter, out);
    case report_form_en::CSV:
      return report_write_csv(store, filter, out);
    case report_form_en::JUNIT:
      return report_write_junit(store, filter, out);
    case report_form_en::HTML:
      return report_write_page(store, filter, made, out);
  }
  return {};
}

std::string report_limits(const result_step_st& step) {
  if (step.m_low && step.m_high) return fmt::format("{} to {}", *step.m_low, *step.m_high);
  if (step.m_low) return fmt::format("at least {}", *step.m_low);
  if (step.m_high) return fmt::format("at most {}", *step.m_high);
  return step.m_expected;
}

std::string report_value(const result_step_st& step) {
  return step.m_unit.empty() || step.m_value.empty() ? step.m_value : step.m_value + " " + step.m_unit;
}

std::string report_percent(double part, double whole) {
  return whole <= 0 ? "-" : fmt::format("{:.1f} %", 100 * part / whole);
}

std::string report_list(store_st* store, const store_filter_st& filter, std::size_t from_last, std::ostream* out) {
  bool has_head = false;
  return store->visit(filter, false, from_last, [&](const result_st& unit) {
    constexpr const char* LINE = "{:<24}  {:<7}  {:<20}  {:<20}  {:<12}  {}\n";
    if (!has_head) fmt::print(*out, LINE, "started", "verdict", "serial", "plan", "phone", "run id");
    has_head = true;
    fmt::print(*out, LINE, store_time_text(unit.m_started_ms), verdict_name(unit.m_verdict), or_dash(unit.m_serial),
               or_dash(unit.m_plan), or_dash(unit.m_phone), unit.m_run_id);
    return out->good();
  });
}

void report_show(const result_st& unit, std::ostream* out) {
  fmt::print(*out, "{}{}\n", verdict_name(unit.m_verdict), unit.m_is_complete ? "" : ", the run ended early");
  fmt::print(*out, "run id    {}\nserial    {}\n", unit.m_run_id, or_dash(unit.m_serial));
  fmt::print(*out, "plan      {}, revision {}\n", or_dash(unit.m_plan), or_dash(unit.m_revision));
  fmt::print(*out, "station   {}, phone {}\n", or_dash(unit.m_station), or_dash(unit.m_phone));
  fmt::print(*out, "started   {}, took {}\n", store_time_text(unit.m_started_ms), report_duration(unit.m_duration_ms));
  if (!unit.m_message.empty()) fmt::print(*out, "message   {}\n", report_clean(unit.m_message));
  std::size_t width = 4;
  for (const auto& step : unit.m_steps) width = std::max(width, step.m_name.size());
  fmt::print(*out, "\n");
  for (const auto& step : unit.m_steps) {
    std::string line = fmt::format("{:<7}  {:<{}}  {}", verdict_name(step.m_verdict), report_clean(step.m_name), width,
                                   report_clean(report_value(step)));
    if (const std::string limits = report_limits(step); !limits.empty())
      line += fmt::format(" ({})", report_clean(limits));
    if (step.m_is_marginal) line += ", marginal";
    if (step.m_attempts > 1) line += fmt::format(", {} attempts", step.m_attempts);
    if (!step.m_message.empty()) line += ": " + report_clean(step.m_message);
    line.erase(line.find_last_not_of(' ') + 1);
    *out << line << "\n";
  }
}

void report_yield(const std::vector<store_yield_st>& plans, std::ostream* out) {
  for (const auto& plan : plans) {
    const auto units = static_cast<double>(plan.m_units);
    fmt::print(*out, "{}\n", or_dash(plan.m_plan));
    fmt::print(*out, "  units             {:>9}\n", plan.m_units);
    fmt::print(*out, "  first-pass yield  {:>9}  {}\n", plan.m_good_at_first,
               report_percent(static_cast<double>(plan.m_good_at_first), units));
    fmt::print(*out, "  final yield       {:>9}  {}\n", plan.m_good_at_last,
               report_percent(static_cast<double>(plan.m_good_at_last), units));
    fmt::print(*out, "  runs              {:>9}\n", plan.m_runs);
    for (int n = 0; n < VERDICT_COUNT; ++n) {
      const auto count = plan.m_verdicts.at(static_cast<std::size_t>(n));
      if (count != 0) fmt::print(*out, "    {:<16}{:>9}\n", verdict_name(static_cast<verdict_en>(n)), count);
    }
    if (!plan.m_failing.empty()) *out << "  steps that failed, and in how many runs\n";
    for (const auto& step : plan.m_failing) {
      fmt::print(*out, "    {:<40} {:>9}  {}\n", report_clean(step.m_step), step.m_runs,
                 report_percent(static_cast<double>(step.m_runs), static_cast<double>(plan.m_runs)));
    }
  }
}
