// Every key of a plan and of a variant: where it may stand, its type, unit, default and meaning. The reader and the
// manual follow this one table.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

enum class plan_scope_en { PLAN, VARIABLE, GROUP, STEP, CONDITION, VARIANT };

enum class plan_type_en {
  TEXT,
  WHOLE,   // a whole number from m_least to m_most
  NUMBER,  // any finite number
  YES_NO,  // true or false
  CHOICE,  // one of the words of m_choices
  TEXTS,   // texts in an array, or one text; numbers and true or false count as their text
  WHOLES,  // whole numbers in an array, or one
  SCALAR,  // a text, a number, or true or false, as its text
  TABLE,   // read by a scope of its own
};

struct plan_key_st {
  plan_scope_en m_scope;
  const char* m_name;
  plan_type_en m_type;
  const char* m_unit;
  const char* m_default;
  const char* m_meaning;
  bool m_is_in_variant = false;  // a variant may change it
  const char* m_choices = "";
  std::int64_t m_least = 0;
  std::int64_t m_most = 0;
};

std::span<const plan_key_st> plan_keys();
// Null: there is no such key in that scope.
const plan_key_st* plan_find_key(plan_scope_en scope, std::string_view name);
// The key of that scope that was probably meant; null when none is near.
const plan_key_st* plan_nearest_key(plan_scope_en scope, std::string_view name);
// "whole number, 0 to 100", as the manual writes it.
std::string plan_type_text(const plan_key_st& key);
const char* plan_scope_name(plan_scope_en scope);
