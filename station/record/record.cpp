#include "station/record/record.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <uuid/uuid.h>

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

namespace {

using json = nlohmann::ordered_json;

constexpr std::size_t MOST_OBJECTS = 1000;  // of one attempt's exchange

json text_or_null(const std::string& text) {
  return text.empty() ? json(nullptr) : json(text);
}

double milliseconds(record_duration duration) {
  return static_cast<double>(duration.count()) / 1000.0;
}

json file_json(const plan_file_st& file) {
  return {{"file", file.m_path}, {"sha256", file.m_sha256}};
}

json plan_json(const record_st& record) {
  const plan_st& plan = *record.m_plan;
  json object = {{"name", plan.m_name}, {"revision", plan.m_revision}};
  object.update(file_json(plan.m_file));
  object["variant"] = nullptr;
  if (plan.m_variant) {
    object["variant"] = {{"name", plan.m_variant_name}};
    object["variant"].update(file_json(*plan.m_variant));
  }
  return object;
}

template <typename Value>
json optional_json(const std::optional<Value>& value) {
  return value ? json(*value) : json(nullptr);
}

json limits_json(const plan_limits_st& limits) {
  return {{"low", optional_json(limits.m_low)},
          {"high", optional_json(limits.m_high)},
          {"marginal", limits.m_marginal},
          {"equals", optional_json(limits.m_equals)},
          {"matches", optional_json(limits.m_matches)},
          {"one_of", optional_json(limits.m_one_of)}};
}

void add_value(const std::optional<record_value_st>& value, json* object) {
  (*object)["value"] = nullptr;
  if (!value) return;
  (*object)["value"] = value->m_number ? json(*value->m_number) : json(value->m_text);
  (*object)["raw"] = value->m_raw;
}

json parameters_json(const plan_step_st& step) {
  json object = {{"timeout_ms", step.m_timeout_ms == 0 ? json(nullptr) : json(step.m_timeout_ms)},
                 {"retries", step.m_retries},
                 {"repeat", step.m_repeat},
                 {"pause_ms", step.m_pause_ms},
                 {"on_fail", plan_on_fail_name(step.m_on_fail)}};
  if (step.m_is_number) {
    object["scale"] = step.m_scale;
    object["offset"] = step.m_offset;
  }
  if (step.m_pattern) object["pattern"] = *step.m_pattern;
  return object;
}

json action_json(const plan_step_st& step) {
  json object = {{"kind", plan_action_name(step.m_action)}};
  if (step.m_action == plan_action_en::OPERATOR) {
    object["ask"] = plan_ask_name(step.m_ask);
    object["prompt"] = step.m_prompt;
  } else if (step.m_action != plan_action_en::PAUSE) {
    object["request"] = step.m_word;
    object["arguments"] = step.m_args;
    object["link"] = plan_link_name(step.m_link);
  }
  return object;
}

json attempt_json(const record_attempt_st& attempt) {
  json object = {{"repetition", attempt.m_repetition},
                 {"try", attempt.m_try},
                 {"group_try", attempt.m_group_try},
                 {"started", record_time_text(attempt.m_started)},
                 {"duration_ms", milliseconds(attempt.m_duration)},
                 {"verdict", verdict_name(attempt.m_verdict)}};
  add_value(attempt.m_value, &object);
  object["marginal"] = attempt.m_is_marginal;
  object["message"] = text_or_null(attempt.m_message);
  object["exchange"] = attempt.m_exchange ? *attempt.m_exchange : json::array();
  return object;
}

json step_json(const record_step_st& step) {
  json object = {{"name", step.m_step.m_name},
                 {"group", text_or_null(step.m_group)},
                 {"teardown", step.m_is_teardown},
                 {"verdict", verdict_name(step.m_verdict)}};
  add_value(step.m_value, &object);
  object["unit"] = text_or_null(step.m_step.m_unit);
  object["limits"] = limits_json(step.m_limits);
  object["marginal"] = step.m_is_marginal;
  object["message"] = text_or_null(step.m_message);
  object["action"] = action_json(step.m_step);
  object["parameters"] = parameters_json(step.m_step);
  object["started"] =
      step.m_attempts.empty() ? json(nullptr) : json(record_time_text(step.m_attempts.front().m_started));
  record_duration duration{};
  for (const auto& attempt : step.m_attempts) duration += attempt.m_duration;
  object["duration_ms"] = milliseconds(duration);
  object["attempts"] = json::array();
  for (const auto& attempt : step.m_attempts) object["attempts"].push_back(attempt_json(attempt));
  return object;
}

// A value from the wire need not be UTF-8. Bytes that are not show as U+FFFD; the exchange has them in hexadecimal.
std::string dump(const json& object) {
  return object.dump(1, ' ', false, json::error_handler_t::replace);
}

// As it stands two levels down. A text has no line feed of its own.
std::string indented(const std::string& text) {
  static constexpr std::string_view INDENT = "  ";
  std::string all(INDENT);
  for (const char one : text) {
    all += one;
    if (one == '\n') all += INDENT;
  }
  return all;
}

record_step_st step_start(const plan_step_st& plan_step, const std::string& group, bool is_teardown) {
  record_step_st step;
  step.m_group = group;
  step.m_is_teardown = is_teardown;
  step.m_step = plan_step;
  step.m_limits = plan_step.m_limits;
  return step;
}

}  // namespace

verdict_en record_st::verdict() const {
  verdict_en worst = m_is_aborted ? verdict_en::ABORTED : verdict_en::PASS;
  for (const auto& step : m_steps) worst = verdict_worst(worst, step.m_verdict);
  return worst;
}

record_st record_start(const plan_st& plan) {
  record_st record;
  record.m_plan = &plan;
  record.m_run_id = record_new_id();
  record.m_started = std::chrono::system_clock::now();
  for (const auto& group : plan.m_groups) {
    for (const auto& step : group.m_steps) record.m_steps.push_back(step_start(step, group.m_name, false));
  }
  for (const auto& step : plan.m_teardown) record.m_steps.push_back(step_start(step, {}, true));
  return record;
}

std::string record_text(const record_st& record) {
  json object = {
      {"schema_version", RECORD_SCHEMA_VERSION},
      {"run_id", record.m_run_id},
      {"station", {{"name", record.m_station}, {"program", "amt-station"}, {"version", record.m_version}}},
      {"phone", {{"name", record.m_phone}, {"pc", record.m_pc_port}, {"app", text_or_null(record.m_app_port)}}},
      {"plan", plan_json(record)},
      {"serial", text_or_null(record.m_serial)},
      {"verdict", verdict_name(record.verdict())},
      {"complete", record.m_is_complete},
      {"message", text_or_null(record.m_message)},
      {"started", record_time_text(record.m_started)},
      {"ended", nullptr},
      {"duration_ms", milliseconds(record.m_duration)}};
  if (record.m_is_complete) object["ended"] = record_time_text(record.m_started + record.m_duration);
  object["variables"] = json::object();
  for (const auto& [name, variable] : record.m_variables) {
    object["variables"][name] = {{"value", variable.m_value}, {"source", variable.m_source}};
  }
  object["steps"] = json::array();
  std::string text = dump(object);
  if (record.m_steps.empty()) return text + '\n';
  static constexpr std::string_view END = "]\n}";
  text.erase(text.size() - END.size());
  std::size_t size = text.size() + 2 * END.size();
  for (const auto& step : record.m_steps) {
    if (step.m_text.empty()) step.m_text = indented(dump(step_json(step)));
    size += step.m_text.size() + 2;
  }
  text.reserve(size);
  for (const auto& step : record.m_steps) {
    text += &step == record.m_steps.data() ? "\n" : ",\n";
    text += step.m_text;
  }
  return text + "\n ]\n}\n";
}

std::shared_ptr<const json> record_exchange(const std::vector<std::string>& objects) {
  json array = json::array();
  for (std::size_t n = 0; n < std::min(objects.size(), MOST_OBJECTS); ++n) array.push_back(json::parse(objects[n]));
  if (objects.size() > MOST_OBJECTS) array.push_back({{"kind", "left out"}, {"count", objects.size() - MOST_OBJECTS}});
  return std::make_shared<const json>(std::move(array));
}

std::string record_time_text(record_time time) {
  const auto whole = std::chrono::floor<std::chrono::milliseconds>(time);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(whole);
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(std::chrono::system_clock::to_time_t(seconds)),
                     (whole - seconds).count());
}

std::string record_new_id() {
  uuid_t id;
  uuid_generate_random(id);
  std::array<char, UUID_STR_LEN> text{};
  uuid_unparse_lower(id, text.data());
  return text.data();
}
