// The page: yields, failing steps, the measured steps' values, the last units. It needs nothing from elsewhere.
#include "station/report/page.h"

#include <fmt/format.h>

#include <deque>
#include <kainjow/mustache.hpp>
#include <map>
#include <ostream>

#include "station/report/histogram.h"
#include "station/report/parts.h"
#include "station/report/text.h"
#include "station/store/times.h"

namespace {

using kainjow::mustache::data;
using list = data::type;

constexpr std::size_t MOST_UNITS_SHOWN = 500;

struct measured_st {
  report_series_st m_series;
  std::string m_unit;
  bool m_has_other_limits = false;
};

// The steps of one plan in the order of their first appearance.
struct plan_steps_st {
  std::vector<std::string> m_names;
  std::map<std::string, measured_st> m_steps;
};

// What is collected from the units on their way by.
struct collected_st {
  std::map<std::string, plan_steps_st> m_plans;
  std::deque<result_st> m_last;
  std::size_t m_runs = 0;
  std::int64_t m_first_ms = 0;
  std::int64_t m_last_ms = 0;
};

data text(const std::string& value) {
  return data(report_clean(value));
}

std::string figure(double value) {
  return fmt::format("{:.5g}", value);
}

void collect_step(const result_step_st& step, plan_steps_st* plan) {
  if (!step.m_number) return;
  const auto [found, is_new] = plan->m_steps.try_emplace(step.m_name);
  if (is_new) plan->m_names.push_back(step.m_name);
  measured_st& measured = found->second;
  report_series_st& series = measured.m_series;
  if (!is_new && (series.m_low != step.m_low || series.m_high != step.m_high)) measured.m_has_other_limits = true;
  series.m_low = step.m_low;
  series.m_high = step.m_high;
  series.m_values.push_back(*step.m_number);
  measured.m_unit = step.m_unit;
}

void collect(const result_st& unit, collected_st* all) {
  plan_steps_st& plan = all->m_plans[unit.m_plan];
  for (const auto& step : unit.m_steps) collect_step(step, &plan);
  if (all->m_runs++ == 0) all->m_first_ms = unit.m_started_ms;
  all->m_last_ms = unit.m_started_ms;
  all->m_last.push_back(unit);
  if (all->m_last.size() > MOST_UNITS_SHOWN) all->m_last.pop_front();
}

std::string limits_text(const measured_st& measured) {
  result_step_st step;
  step.m_low = measured.m_series.m_low;
  step.m_high = measured.m_series.m_high;
  const std::string limits = report_limits(step);
  if (limits.empty()) return measured.m_unit.empty() ? "no limits" : "in " + measured.m_unit + ", no limits";
  return measured.m_unit.empty() ? limits : limits + " " + measured.m_unit;
}

data step_data(const std::string& name, const measured_st& measured) {
  const report_statistics_st statistics = report_statistics(measured.m_series);
  data step;
  step.set("step", text(name));
  step.set("limits", text(limits_text(measured)));
  step.set("histogram", report_histogram(measured.m_series));
  step.set("cpk", statistics.m_cpk ? fmt::format("{:.2f}", *statistics.m_cpk) : "-");
  step.set("count", fmt::format("{}", measured.m_series.m_values.size()));
  step.set("mean", figure(statistics.m_mean));
  step.set("deviation", figure(statistics.m_deviation));
  step.set("least", figure(statistics.m_least));
  step.set("most", figure(statistics.m_most));
  step.set("has_other_limits", measured.m_has_other_limits);
  return step;
}

data failing_data(const store_yield_st& plan) {
  data rows{list::list};
  double all = 0;
  for (const auto& step : plan.m_failing) all += static_cast<double>(step.m_runs);
  double together = 0;
  for (const auto& step : plan.m_failing) {
    const auto runs = static_cast<double>(step.m_runs);
    together += runs;
    data row;
    row.set("step", text(step.m_step));
    row.set("runs", fmt::format("{}", step.m_runs));
    row.set("part", report_percent(runs, static_cast<double>(plan.m_runs)));
    row.set("together", report_percent(together, all));
    row.set("share", report_percent(runs, all));
    row.set("width", fmt::format("{:.1f}", 100 * runs / all));
    rows.push_back(row);
  }
  return rows;
}

data verdicts_data(const store_yield_st& plan) {
  data rows{list::list};
  for (int n = 0; n < VERDICT_COUNT; ++n) {
    const auto count = plan.m_verdicts.at(static_cast<std::size_t>(n));
    if (count == 0) continue;
    data row;
    row.set("verdict", verdict_name(static_cast<verdict_en>(n)));
    row.set("count", fmt::format("{}", count));
    rows.push_back(row);
  }
  return rows;
}

data plan_data(const store_yield_st& yield, const plan_steps_st& steps) {
  const auto units = static_cast<double>(yield.m_units);
  data plan;
  plan.set("plan", text(yield.m_plan));
  plan.set("units", fmt::format("{}", yield.m_units));
  plan.set("runs", fmt::format("{}", yield.m_runs));
  plan.set("first_yield", report_percent(static_cast<double>(yield.m_good_at_first), units));
  plan.set("last_yield", report_percent(static_cast<double>(yield.m_good_at_last), units));
  plan.set("verdicts", verdicts_data(yield));
  plan.set("has_failing", !yield.m_failing.empty());
  plan.set("failing", failing_data(yield));
  plan.set("has_steps", !steps.m_names.empty());
  data rows{list::list};
  for (const auto& name : steps.m_names) rows.push_back(step_data(name, steps.m_steps.at(name)));
  plan.set("steps", rows);
  return plan;
}

std::string failed_steps(const result_st& unit) {
  std::string all;
  for (const auto& step : unit.m_steps) {
    if (result_is_failure(step.m_verdict)) all += (all.empty() ? "" : ", ") + step.m_name;
  }
  return all;
}

data unit_data(const result_st& unit) {
  data row;
  row.set("started", store_time_text(unit.m_started_ms));
  row.set("verdict", verdict_name(unit.m_verdict));
  row.set("serial", text(unit.m_serial));
  row.set("plan", text(unit.m_plan));
  row.set("phone", text(unit.m_phone));
  row.set("failed", text(failed_steps(unit)));
  row.set("run_id", text(unit.m_run_id));
  return row;
}

std::string span_text(const collected_st& all) {
  if (all.m_runs == 0) return "No runs";
  return fmt::format("{} runs from {} to {}", all.m_runs, store_time_text(all.m_first_ms),
                     store_time_text(all.m_last_ms));
}

}  // namespace

std::string report_write_page(store_st* store, const store_filter_st& filter, const std::string& made,
                              std::ostream* out) {
  std::vector<store_yield_st> yields;
  std::string failed = store->yield(filter, &yields);
  collected_st all;
  if (failed.empty()) {
    failed = store->visit(filter, true, 0, [&](const result_st& unit) {
      collect(unit, &all);
      return true;
    });
  }
  if (!failed.empty()) return failed;
  data plans{list::list};
  for (const auto& yield : yields) plans.push_back(plan_data(yield, all.m_plans[yield.m_plan]));
  data last{list::list};
  for (auto unit = all.m_last.rbegin(); unit != all.m_last.rend(); ++unit) last.push_back(unit_data(*unit));
  data page;
  page.set("made", text(made));
  page.set("span", span_text(all));
  page.set("plans", plans);
  page.set("has_last", all.m_runs != 0);
  page.set("last_text", all.m_runs > MOST_UNITS_SHOWN
                            ? fmt::format("The last {} of {} runs.", MOST_UNITS_SHOWN, all.m_runs)
                            : "The newest first.");
  page.set("last", last);
  kainjow::mustache::mustache form(report_page_template());
  form.render(page, *out);
  return {};
}
