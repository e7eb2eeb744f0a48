// The values of a plan's variables in the run of one unit, and where each came from.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "station/plan/plan.h"
#include "station/record/record.h"
#include "station/run/work-order.h"

class run_values_st {
 public:
  // Asks the operator; none: there was no answer.
  using ask = std::function<std::optional<std::string>(const std::string& question)>;

  // Everything is borrowed. `given` are the values of the command line.
  run_values_st(const plan_st* plan, const std::map<std::string, std::string>* given, const run_work_order_st* order,
                ask ask_operator)
      : m_plan(plan), m_given(given), m_order(order), m_ask(std::move(ask_operator)) {}

  // None: nothing gives the variable a value yet. The operator is asked once.
  std::optional<std::string> find(const std::string& name);
  // From now on the value comes from a step.
  void save(const std::string& name, const std::string& value, const std::string& step);
  void set_serial(const std::string& serial) { m_serial = serial; }

  // Those that were used so far.
  const std::map<std::string, record_variable_st>& known() const { return m_known; }

 private:
  std::optional<record_variable_st> resolve(const std::string& name);
  std::optional<record_variable_st> ask_for(const plan_variable_st& variable);

  const plan_st* m_plan;
  const std::map<std::string, std::string>* m_given;
  const run_work_order_st* m_order;
  ask m_ask;
  std::string m_serial;
  std::map<std::string, record_variable_st> m_known;
};

// What is wrong with the values of the command line: a name that the plan does not have, a value that does not match, a
// variable that nothing else gives a value. Empty: nothing.
std::string run_check_given(const plan_st& plan, const std::map<std::string, std::string>& given,
                            const run_work_order_st& order);
