#include <fmt/format.h>

#include <ostream>

#include "station/plan/request.h"
#include "station/run/measure.h"
#include "station/run/run.h"
#include "station/wire/render.h"

namespace {

class dry_st {
 public:
  dry_st(const run_options_st& options, const run_io_st& io, const run_work_order_st& order)
      : m_options(options), m_out(*io.m_out), m_order(order) {}

  void show() {
    for (const auto& unit : m_options.m_phones) {
      m_out << fmt::format("{} at {}{}\n", unit.m_name, unit.m_pc, unit.m_app.empty() ? "" : " and " + unit.m_app);
    }
    for (const auto& group : m_options.m_plan->m_groups) {
      if (!group.m_name.empty()) m_out << fmt::format("group {}\n", group.m_name);
      for (const auto& step : group.m_steps) show_step(step);
    }
    if (!m_options.m_plan->m_teardown.empty()) m_out << "teardown\n";
    for (const auto& step : m_options.m_plan->m_teardown) show_step(step);
    m_out.flush();
  }

 private:
  void show_step(const plan_step_st& step) {
    const std::string limits = run_limits_text(step.m_limits, step.m_unit);
    m_out << fmt::format("  {:>3} {}: {}{}{}\n", ++m_number, step.m_name, plan_step_summary(step),
                         limits.empty() ? "" : "; " + limits, step.m_is_skipped ? "; left out" : "");
    if (step.m_action == plan_action_en::PAUSE || step.m_action == plan_action_en::OPERATOR) return;
    plan_request_st made;
    const std::string wrong = plan_make_request(
        step, [this](const auto& name) { return m_values.find(name); }, &made);
    if (!wrong.empty()) {
      m_out << fmt::format("      known when it runs: {}\n", wrong);
      return;
    }
    const station_request_st& request = made.m_request;
    const auto bytes = station_wire_bytes(request, plan_form(step));
    const std::string text = request.m_is_frame ? fmt::format("{:02X}", fmt::join(bytes, ""))
                                                : station_quote(std::string(bytes.begin(), bytes.end()));
    m_out << fmt::format("      {} -> {}\n", plan_link_name(step.m_link), text);
  }

  // Nobody is asked, and no unit has a serial number yet.
  static std::optional<std::string> nobody(const std::string&) { return std::nullopt; }

  const run_options_st& m_options;
  std::ostream& m_out;
  const run_work_order_st& m_order;
  run_values_st m_values{m_options.m_plan, &m_options.m_variables, &m_order, nobody};
  unsigned m_number = 0;
};

}  // namespace

int run_dry(const run_options_st& options, const run_io_st& io) {
  run_work_order_st order;
  std::string wrong = options.m_work_order.empty() ? "" : order.read(options.m_work_order);
  if (wrong.empty()) wrong = run_check_given(*options.m_plan, options.m_variables, order);
  if (!wrong.empty()) {
    *io.m_err << "amt-station: " << wrong << std::endl;
    return RUN_USAGE;
  }
  dry_st(options, io, order).show();
  return RUN_PASS;
}
