#include "station/store/record-reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "station/record/record.h"
#include "station/store/times.h"

namespace {

using nlohmann::json;

// A key's path and what is wrong there; caught below.
struct wrong_st {
  std::string m_text;
};

[[noreturn]] void refuse(const std::string& where, const char* what) {
  throw wrong_st{fmt::format("{}: {}", where, what)};
}

// The databases keep no zero byte within a text.
std::string without_zero_bytes(const std::string& text) {
  std::string clean;
  for (const char one : text) {
    if (one == '\0') {
      clean += "\xEF\xBF\xBD";
    } else {
      clean += one;
    }
  }
  return clean;
}

// One JSON object, and the path to it for messages.
class object_st {
 public:
  object_st(const json& value, std::string path) : m_value(value), m_path(std::move(path)) {
    if (!value.is_object()) refuse(m_path.empty() ? "record" : m_path, "must be an object");
  }

  const json& at(const char* key) const {
    const auto found = m_value.find(key);
    if (found == m_value.end()) refuse(path(key), "is missing");
    return *found;
  }

  object_st object(const char* key) const { return {at(key), path(key)}; }

  std::string text(const char* key) const {
    const json& value = at(key);
    if (!value.is_string()) refuse(path(key), "must be a text");
    return without_zero_bytes(value.get_ref<const std::string&>());
  }

  // Empty for null.
  std::string text_or_null(const char* key) const { return at(key).is_null() ? "" : text(key); }

  bool flag(const char* key) const {
    const json& value = at(key);
    if (!value.is_boolean()) refuse(path(key), "must be true or false");
    return value.get<bool>();
  }

  double number(const char* key) const {
    const json& value = at(key);
    if (!value.is_number() || !std::isfinite(value.get<double>())) refuse(path(key), "must be a number");
    return value.get<double>();
  }

  std::optional<double> number_or_null(const char* key) const {
    return at(key).is_null() ? std::nullopt : std::optional(number(key));
  }

  const json& list(const char* key) const {
    const json& value = at(key);
    if (!value.is_array()) refuse(path(key), "must be a list");
    return value;
  }

  verdict_en verdict(const char* key) const {
    const auto verdict = verdict_from_name(text(key));
    if (!verdict) refuse(path(key), "is no verdict");
    return *verdict;
  }

  std::int64_t time(const char* key) const {
    const auto time = store_parse_time(text(key));
    if (!time) refuse(path(key), "is no time");
    return *time;
  }

  std::string path(const char* key) const { return m_path.empty() ? key : m_path + "." + key; }

 private:
  const json& m_value;
  std::string m_path;
};

bool is_run_id(const std::string& text) {
  static constexpr std::string_view FORM = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  return std::ranges::equal(text, FORM, [](char one, char form) {
    const bool is_hex = (one >= '0' && one <= '9') || (one >= 'a' && one <= 'f');
    return form == 'x' ? is_hex : one == form;
  });
}

std::string expected(const object_st& limits) {
  if (const std::string text = limits.text_or_null("equals"); !text.empty()) return "equals " + text;
  if (const std::string text = limits.text_or_null("matches"); !text.empty()) return "matches " + text;
  if (limits.at("one_of").is_null()) return limits.at("equals").is_null() ? "" : "equals nothing";
  std::string all;
  for (const auto& one : limits.list("one_of")) {
    if (!one.is_string()) refuse(limits.path("one_of"), "must be a list of texts");
    all += (all.empty() ? "one of " : ", ") + without_zero_bytes(one.get_ref<const std::string&>());
  }
  return all;
}

void read_value(const object_st& step, result_step_st* read) {
  const json& value = step.at("value");
  if (value.is_string()) {
    read->m_value = step.text("value");
  } else if (!value.is_null()) {
    read->m_number = step.number("value");
    read->m_value = value.is_number_integer() ? value.dump() : fmt::format("{}", *read->m_number);
  }
}

result_step_st read_step(const object_st& step) {
  result_step_st read;
  read.m_name = step.text("name");
  read.m_group = step.text_or_null("group");
  read.m_is_teardown = step.flag("teardown");
  read.m_verdict = step.verdict("verdict");
  read_value(step, &read);
  read.m_unit = step.text_or_null("unit");
  const object_st limits = step.object("limits");
  read.m_low = limits.number_or_null("low");
  read.m_high = limits.number_or_null("high");
  read.m_expected = expected(limits);
  read.m_is_marginal = step.flag("marginal");
  read.m_message = step.text_or_null("message");
  read.m_duration_ms = step.number("duration_ms");
  const std::size_t attempts = step.list("attempts").size();
  read.m_attempts = static_cast<int>(std::min<std::size_t>(attempts, std::numeric_limits<int>::max()));
  return read;
}

result_st read_record(const json& document) {
  const object_st record(document, "");
  const json& version = record.at("schema_version");
  if (!version.is_number_integer()) refuse("schema_version", "must be a whole number");
  if (version != RECORD_SCHEMA_VERSION) refuse("schema_version", "is not one that this program knows");
  result_st read;
  read.m_run_id = record.text("run_id");
  if (!is_run_id(read.m_run_id)) refuse("run_id", "is no UUID in small letters");
  read.m_station = record.object("station").text("name");
  read.m_phone = record.object("phone").text("name");
  const object_st plan = record.object("plan");
  read.m_plan = plan.text("name");
  if (read.m_plan.empty()) refuse("plan.name", "is empty");
  read.m_revision = plan.text("revision");
  read.m_serial = record.text_or_null("serial");
  read.m_verdict = record.verdict("verdict");
  read.m_is_complete = record.flag("complete");
  read.m_message = record.text_or_null("message");
  read.m_started_ms = record.time("started");
  read.m_duration_ms = record.number("duration_ms");
  const json& steps = record.list("steps");
  for (std::size_t n = 0; n < steps.size(); ++n) {
    read.m_steps.push_back(read_step({steps[n], fmt::format("steps[{}]", n)}));
  }
  return read;
}

}  // namespace

std::string store_read_record(std::string_view text, result_st* result) {
  if (text.size() > RECORD_LONGEST) return "too long for a record";
  try {
    *result = read_record(json::parse(text));
  } catch (const wrong_st& wrong) {
    return wrong.m_text;
  } catch (const json::exception& error) {
    return error.what();
  }
  return {};
}
