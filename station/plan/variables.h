// References to variables in the texts of a plan: "${name}"; "$${" stands for "${" itself.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

// A letter or "_", then letters, digits and "_".
bool plan_is_variable_name(const std::string& name);

// The names that a text refers to. *wrong: what is wrong with a reference; left alone when nothing is.
std::vector<std::string> plan_references(const std::string& text, std::string* wrong);

// The value of a variable; none: it has none yet.
using plan_lookup = std::function<std::optional<std::string>(const std::string& name)>;

// The text with its variables filled in. None: *wrong is the reason (a variable without a value, or one whose value
// has a control character, which could end a request too early).
std::optional<std::string> plan_expand(const std::string& text, const plan_lookup& lookup, std::string* wrong);

// Whether the text has a character that no value of a variable may have.
bool plan_has_control_character(const std::string& text);

// The text as a finite number, with a sign, a point or an exponent; nothing else before or after it.
std::optional<double> plan_read_number(const std::string& text);
