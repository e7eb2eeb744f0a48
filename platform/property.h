// System properties, with the platform's own signatures.
#pragma once

inline constexpr int PROPERTY_VALUE_MAX = 92;  // a value with its terminator

// Copies the value of a property, or of default_value when the property is unset or empty (null: nothing), into value,
// a buffer of PROPERTY_VALUE_MAX. Gives the length of what was copied.
extern "C" int property_get(const char* key, char* value, const char* default_value);
// 0, or negative when the property cannot be set.
extern "C" int property_set(const char* key, const char* value);
