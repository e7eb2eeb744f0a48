// A plan file and a variant file as they are written: keys with their values and places, types checked, nothing judged
// yet. Unknown keys and wrong types are findings; all of them are collected.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "station/plan/keys.h"
#include "station/plan/plan.h"

using plan_value = std::variant<std::string, std::int64_t, double, bool, std::vector<std::string>,  //
                                std::vector<std::int64_t>>;

struct plan_setting_st {
  plan_value m_value;
  plan_place_st m_place;  // of the key
};

// One table of a file.
struct plan_settings_st {
  std::map<std::string, plan_setting_st> m_keys;
  std::map<std::string, plan_settings_st> m_tables;  // those below it: skip_if
  plan_place_st m_place;

  // Null: the key is not there, or its value has another type, which is a finding.
  template <typename Value>
  const Value* find(const std::string& key) const {
    const auto row = m_keys.find(key);
    return row == m_keys.end() ? nullptr : std::get_if<Value>(&row->second.m_value);
  }
  bool has(const std::string& key) const { return m_keys.contains(key); }
  // The key's place; the table's when the key is not there.
  const plan_place_st& place(const std::string& key) const;
};

struct plan_group_source_st {
  plan_settings_st m_settings;
  std::vector<plan_settings_st> m_steps;
};

struct plan_source_st {
  std::string m_file;
  plan_settings_st m_plan;  // [plan]; of a variant [variant]
  bool m_has_head = false;
  std::vector<std::pair<std::string, plan_settings_st>> m_variables;
  std::vector<plan_group_source_st> m_groups;
  std::vector<plan_settings_st> m_teardown;
  std::vector<std::pair<std::string, plan_settings_st>> m_changes;  // of a variant: [step."name"]
};

using plan_findings = std::vector<plan_finding_st>;

// Reads the text of a file; `path` is for the findings.
plan_source_st plan_read_source(const std::string& text, const std::string& path, plan_findings* findings);
plan_source_st plan_read_variant_source(const std::string& text, const std::string& path, plan_findings* findings);
