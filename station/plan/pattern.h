// Regular expressions of a plan. The time of a match grows with the value's length only, whatever the expression.
#pragma once

#include <optional>
#include <string>

// What is wrong with the expression; empty: nothing.
std::string plan_pattern_error(const std::string& pattern);
// Whether the expression has a group that plan_pattern_take() can take.
bool plan_pattern_has_group(const std::string& pattern);
// Whether the expression matches the whole text. A wrong expression matches nothing.
bool plan_pattern_matches(const std::string& pattern, const std::string& text);
// What the first group matches where the expression first fits; none: it fits nowhere.
std::optional<std::string> plan_pattern_take(const std::string& pattern, const std::string& text);
