#include "station/plan/source.h"

#include <fmt/format.h>
#include <toml++/toml.h>

#include <algorithm>
#include <cmath>
#include <string_view>

namespace {

constexpr std::size_t MOST_STEPS = 10000;  // of a plan; more is a mistake, and the record of a unit has to stay small

class reader_st {
 public:
  reader_st(const std::string& path, plan_findings* findings) : m_path(path), m_findings(*findings) {}

  plan_source_st read_plan(const toml::table& file) {
    plan_source_st source;
    source.m_file = m_path;
    std::optional<plan_place_st> plain;
    for (const auto& [key, node] : file) {
      const std::string_view name = key.str();
      if (name == "plan") {
        source.m_plan = read_head(key, node, plan_scope_en::PLAN, &source.m_has_head);
      } else if (name == "variables") {
        source.m_variables = read_variables(key, node);
      } else if (name == "step") {
        source.m_groups.push_back({{}, read_steps(key, node)});
        plain = place_of(key);
      } else if (name == "group") {
        read_groups(key, node, &source);
      } else if (name == "teardown") {
        source.m_teardown = read_steps(key, node);
      } else {
        report(place_of(key), std::string(name),
               "there is no such table; a plan has plan, variables, step, group and teardown");
      }
    }
    // TOML keeps no order between the two, so a plan could not tell which comes first.
    if (plain && source.m_groups.size() > 1) {
      report(*plain, "step", "a plan has either steps or groups of steps; put all steps into groups");
    }
    return source;
  }

  plan_source_st read_variant(const toml::table& file) {
    plan_source_st source;
    source.m_file = m_path;
    for (const auto& [key, node] : file) {
      const std::string_view name = key.str();
      if (name == "variant") {
        source.m_plan = read_head(key, node, plan_scope_en::VARIANT, &source.m_has_head);
      } else if (name == "variables") {
        source.m_variables = read_variables(key, node);
      } else if (name == "step") {
        source.m_changes = read_changes(key, node);
      } else {
        report(place_of(key), std::string(name), "there is no such table; a variant has variant, variables and step");
      }
    }
    return source;
  }

 private:
  plan_place_st place_at(const toml::source_region& region) const {
    return {m_path, region.begin.line, region.begin.column};
  }
  plan_place_st place_of(const toml::key& key) const { return place_at(key.source()); }

  void report(const plan_place_st& place, const std::string& key, const std::string& text) {
    m_findings.push_back({place, key, text});
  }

  const toml::table* as_table(const toml::key& key, const toml::node& node) {
    if (const auto* table = node.as_table()) return table;
    report(place_of(key), std::string(key.str()), "must be a table");
    return nullptr;
  }

  plan_settings_st read_head(const toml::key& key, const toml::node& node, plan_scope_en scope, bool* is_there) {
    const auto* table = as_table(key, node);
    *is_there = table != nullptr;
    return table == nullptr ? plan_settings_st{} : read_table(*table, scope, place_of(key));
  }

  // Calls the action with each table of an array of tables, and its place.
  template <typename Action>
  void for_each_table(const toml::key& key, const toml::node& node, const Action& action) {
    const auto* array = node.as_array();
    if (array == nullptr) {
      report(place_of(key), std::string(key.str()), fmt::format("must be an array of tables: [[{}]]", key.str()));
      return;
    }
    for (const auto& entry : *array) {
      if (const auto* table = entry.as_table()) {
        action(*table, place_at(entry.source()));
      } else {
        report(place_at(entry.source()), std::string(key.str()), "must be an array of tables");
      }
    }
  }

  std::vector<plan_settings_st> read_steps(const toml::key& key, const toml::node& node) {
    std::vector<plan_settings_st> steps;
    for_each_table(key, node, [&](const toml::table& table, const plan_place_st& place) {
      if (++m_step_count == MOST_STEPS + 1)
        report(place, "step", fmt::format("a plan has at most {} steps", MOST_STEPS));
      if (m_step_count <= MOST_STEPS) steps.push_back(read_table(table, plan_scope_en::STEP, place));
    });
    return steps;
  }

  void read_groups(const toml::key& key, const toml::node& node, plan_source_st* source) {
    for_each_table(key, node, [&](const toml::table& table, const plan_place_st& place) {
      plan_settings_st settings = read_table(table, plan_scope_en::GROUP, place);
      std::vector<plan_settings_st> steps;
      for (const auto& [name, inner] : table) {
        if (name.str() == "step") steps = read_steps(name, inner);
      }
      source->m_groups.push_back({std::move(settings), std::move(steps)});
    });
  }

  std::vector<std::pair<std::string, plan_settings_st>> read_variables(const toml::key& key, const toml::node& node) {
    std::vector<std::pair<std::string, plan_settings_st>> variables;
    const auto* table = as_table(key, node);
    if (table == nullptr) return variables;
    for (const auto& [name, value] : *table) {
      plan_settings_st settings;
      if (const auto* inner = value.as_table()) {
        settings = read_table(*inner, plan_scope_en::VARIABLE, place_of(name));
      } else {
        settings.m_place = place_of(name);
        const auto* row = plan_find_key(plan_scope_en::VARIABLE, "default");
        if (auto read = read_value(*row, value, place_of(name), fmt::format("variables.{}", name.str()))) {
          settings.m_keys["default"] = {std::move(*read), place_of(name)};
        }
      }
      variables.emplace_back(name.str(), std::move(settings));
    }
    // The table is sorted by name; an operator is asked in the order of the file.
    std::ranges::stable_sort(variables, {}, [](const auto& variable) {
      return std::pair(variable.second.m_place.m_line, variable.second.m_place.m_column);
    });
    return variables;
  }

  std::vector<std::pair<std::string, plan_settings_st>> read_changes(const toml::key& key, const toml::node& node) {
    std::vector<std::pair<std::string, plan_settings_st>> changes;
    const auto* table = as_table(key, node);
    if (table == nullptr) return changes;
    for (const auto& [name, value] : *table) {
      if (const auto* inner = as_table(name, value)) {
        changes.emplace_back(name.str(), read_table(*inner, plan_scope_en::STEP, place_of(name)));
        refuse_fixed_keys(changes.back().second);
      }
    }
    return changes;
  }

  void refuse_fixed_keys(const plan_settings_st& change) {
    for (const auto& [name, setting] : change.m_keys) {
      const auto* row = plan_find_key(plan_scope_en::STEP, name);
      if (row != nullptr && !row->m_is_in_variant)
        report(setting.m_place, "step." + name, "a variant cannot change this");
    }
    for (const auto& [name, inner] : change.m_tables) {
      report(inner.m_place, "step." + name, "a variant cannot change this");
    }
  }

  plan_settings_st read_table(const toml::table& table, plan_scope_en scope, const plan_place_st& place) {
    plan_settings_st settings;
    settings.m_place = place;
    for (const auto& [key, node] : table) read_key(key, node, scope, &settings);
    return settings;
  }

  void read_key(const toml::key& key, const toml::node& node, plan_scope_en scope, plan_settings_st* settings) {
    const std::string name(key.str());
    const std::string full = fmt::format("{}.{}", plan_scope_name(scope), name);
    const plan_key_st* row = plan_find_key(scope, name);
    if (row == nullptr) {
      const plan_key_st* near = plan_nearest_key(scope, name);
      report(
          place_of(key), full,
          near == nullptr ? "there is no such key" : fmt::format("there is no such key; is {} meant?", near->m_name));
      return;
    }
    if (row->m_type == plan_type_en::TABLE) {
      if (name == "step") return;  // read by the group's reader
      if (const auto* inner = node.as_table()) {
        settings->m_tables[name] = read_table(*inner, plan_scope_en::CONDITION, place_of(key));
      } else {
        report(place_of(key), full, "must be a table such as { variable = \"color\", equals = \"red\" }");
      }
      return;
    }
    if (auto value = read_value(*row, node, place_of(key), full)) {
      settings->m_keys[name] = {std::move(*value), place_of(key)};
    }
  }

  // None: the value has another type, which has been reported.
  std::optional<plan_value> read_value(const plan_key_st& row, const toml::node& node, const plan_place_st& place,
                                       const std::string& full) {
    auto value = convert(row, node);
    if (!value) report(place, full, fmt::format("must be {}", plan_type_text(row)));
    return value;
  }

  static std::optional<plan_value> convert(const plan_key_st& row, const toml::node& node) {
    switch (row.m_type) {
      case plan_type_en::TEXT:
        return as_value(node.value_exact<std::string>());
      case plan_type_en::CHOICE:
        return choice(row, node.value_exact<std::string>());
      case plan_type_en::WHOLE:
        return as_value(whole(row, node));
      case plan_type_en::NUMBER:
        return as_value(number(node));
      case plan_type_en::YES_NO:
        return as_value(node.value_exact<bool>());
      case plan_type_en::SCALAR:
        return as_value(scalar(node));
      case plan_type_en::TEXTS:
        return list<std::string>(node, scalar);
      case plan_type_en::WHOLES:
        return list<std::int64_t>(node, [&row](const toml::node& entry) { return whole(row, entry); });
      case plan_type_en::TABLE:
        break;
    }
    return std::nullopt;
  }

  template <typename Value>
  static std::optional<plan_value> as_value(std::optional<Value> value) {
    return value ? std::optional<plan_value>(std::move(*value)) : std::nullopt;
  }

  static std::optional<plan_value> choice(const plan_key_st& row, const std::optional<std::string>& text) {
    if (!text || text->empty() || text->find(' ') != std::string::npos) return std::nullopt;
    const bool is_known = fmt::format(" {} ", row.m_choices).find(fmt::format(" {} ", *text)) != std::string::npos;
    return is_known ? std::optional<plan_value>(*text) : std::nullopt;
  }

  static std::optional<std::int64_t> whole(const plan_key_st& row, const toml::node& node) {
    const auto value = node.value_exact<std::int64_t>();
    return value && *value >= row.m_least && *value <= row.m_most ? value : std::nullopt;
  }

  static std::optional<double> number(const toml::node& node) {
    if (const auto value = node.value_exact<std::int64_t>()) return static_cast<double>(*value);
    const auto value = node.value_exact<double>();
    return value && std::isfinite(*value) ? value : std::nullopt;
  }

  static std::optional<std::string> scalar(const toml::node& node) {
    if (auto text = node.value_exact<std::string>()) return text;
    if (const auto value = node.value_exact<bool>()) return *value ? "true" : "false";
    if (const auto value = node.value_exact<std::int64_t>()) return fmt::format("{}", *value);
    if (const auto value = number(node)) return fmt::format("{}", *value);
    return std::nullopt;
  }

  template <typename Value, typename Convert>
  static std::optional<plan_value> list(const toml::node& node, const Convert& convert_entry) {
    std::vector<Value> values;
    const auto* array = node.as_array();
    if (array == nullptr) {
      auto value = convert_entry(node);
      if (!value) return std::nullopt;
      values.push_back(std::move(*value));
      return values;
    }
    for (const auto& entry : *array) {
      auto value = convert_entry(entry);
      if (!value) return std::nullopt;
      values.push_back(std::move(*value));
    }
    return values;
  }

  std::string m_path;
  plan_findings& m_findings;
  std::size_t m_step_count = 0;
};

// An empty table after a text that is no TOML.
toml::table parse(const std::string& text, const std::string& path, plan_findings* findings) {
  try {
    return toml::parse(std::string_view(text), std::string_view(path));
  } catch (const toml::parse_error& error) {
    const auto& at = error.source().begin;
    findings->push_back({{path, at.line, at.column}, "", std::string(error.description())});
    return {};
  }
}

}  // namespace

const plan_place_st& plan_settings_st::place(const std::string& key) const {
  if (const auto row = m_keys.find(key); row != m_keys.end()) return row->second.m_place;
  const auto inner = m_tables.find(key);
  return inner == m_tables.end() ? m_place : inner->second.m_place;
}

plan_source_st plan_read_source(const std::string& text, const std::string& path, plan_findings* findings) {
  const toml::table file = parse(text, path, findings);
  return reader_st(path, findings).read_plan(file);
}

plan_source_st plan_read_variant_source(const std::string& text, const std::string& path, plan_findings* findings) {
  const toml::table file = parse(text, path, findings);
  return reader_st(path, findings).read_variant(file);
}
