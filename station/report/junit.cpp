// Each unit is a test suite, each step a test case.
#include <fmt/format.h>

#include <ostream>
#include <pugixml.hpp>

#include "station/report/parts.h"
#include "station/report/text.h"
#include "station/store/times.h"

namespace {

void set(pugi::xml_node* node, const char* name, const std::string& value) {
  node->append_attribute(name) = report_clean(value).c_str();
}

// The element that says why a test case did not pass; null: it did.
const char* outcome(verdict_en verdict) {
  switch (verdict) {
    case verdict_en::PASS:
      return nullptr;
    case verdict_en::SKIPPED:
    case verdict_en::NOT_RUN:
      return "skipped";
    case verdict_en::FAIL:
      return "failure";
    case verdict_en::TIMEOUT:
    case verdict_en::ERROR:
    case verdict_en::ABORTED:
      return "error";
  }
  return nullptr;
}

std::string seconds(double milliseconds) {
  return fmt::format("{:.3f}", milliseconds / 1000);
}

// The time without its zone, as this form of report has it; it is UTC.
std::string timestamp(std::int64_t milliseconds) {
  const std::string text = store_time_text(milliseconds);
  return text.substr(0, text.find('.'));
}

void add_step(const result_st& unit, const result_step_st& step, pugi::xml_node* suite) {
  pugi::xml_node test = suite->append_child("testcase");
  set(&test, "name", step.m_name);
  set(&test, "classname", step.m_group.empty() ? unit.m_plan : unit.m_plan + "." + step.m_group);
  set(&test, "time", seconds(step.m_duration_ms));
  if (const char* name = outcome(step.m_verdict); name != nullptr) {
    pugi::xml_node why = test.append_child(name);
    set(&why, "message", step.m_message.empty() ? verdict_name(step.m_verdict) : step.m_message);
    if (step.m_verdict != verdict_en::SKIPPED && step.m_verdict != verdict_en::NOT_RUN) {
      set(&why, "type", verdict_name(step.m_verdict));
    }
  }
  std::string text;
  if (!step.m_value.empty()) text += "value: " + report_value(step) + "\n";
  if (const std::string limits = report_limits(step); !limits.empty()) text += "limits: " + limits + "\n";
  if (step.m_is_marginal) text += "marginal\n";
  if (step.m_attempts > 1) text += fmt::format("attempts: {}\n", step.m_attempts);
  if (!text.empty()) test.append_child("system-out").text() = report_clean(text).c_str();
}

void add_property(const char* name, const std::string& value, pugi::xml_node* properties) {
  pugi::xml_node property = properties->append_child("property");
  set(&property, "name", name);
  set(&property, "value", value);
}

pugi::xml_document suite_of(const result_st& unit) {
  pugi::xml_document document;
  pugi::xml_node suite = document.append_child("testsuite");
  int failures = 0;
  int errors = 0;
  int skipped = 0;
  for (const auto& step : unit.m_steps) {
    const std::string_view name = outcome(step.m_verdict) == nullptr ? "" : outcome(step.m_verdict);
    failures += name == "failure" ? 1 : 0;
    errors += name == "error" ? 1 : 0;
    skipped += name == "skipped" ? 1 : 0;
  }
  set(&suite, "name", unit.m_serial.empty() ? unit.m_plan : unit.m_plan + " " + unit.m_serial);
  suite.append_attribute("tests") = unit.m_steps.size();
  suite.append_attribute("failures") = failures;
  suite.append_attribute("errors") = errors;
  suite.append_attribute("skipped") = skipped;
  set(&suite, "time", seconds(unit.m_duration_ms));
  set(&suite, "timestamp", timestamp(unit.m_started_ms));
  set(&suite, "hostname", unit.m_station);
  pugi::xml_node properties = suite.append_child("properties");
  add_property("run_id", unit.m_run_id, &properties);
  add_property("serial", unit.m_serial, &properties);
  add_property("phone", unit.m_phone, &properties);
  add_property("revision", unit.m_revision, &properties);
  add_property("verdict", verdict_name(unit.m_verdict), &properties);
  for (const auto& step : unit.m_steps) add_step(unit, step, &suite);
  if (!unit.m_message.empty()) suite.append_child("system-err").text() = report_clean(unit.m_message).c_str();
  return document;
}

}  // namespace

// The suites are written one by one: a year's units would not fit into memory together.
std::string report_write_junit(store_st* store, const store_filter_st& filter, std::ostream* out) {
  *out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"amt-station\">\n";
  std::string failed = store->visit(filter, true, 0, [&](const result_st& unit) {
    const pugi::xml_document document = suite_of(unit);
    document.first_child().print(*out, "  ", pugi::format_default, pugi::encoding_utf8, 1);
    return out->good();
  });
  *out << "</testsuites>\n";
  return failed;
}
