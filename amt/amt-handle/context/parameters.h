// The text of a received AT command, and the fields in it. One set of rules for every command; one answer of the modem
// has fields of its own. Pure functions on what was received; the text ends at the first NUL byte of that.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// The received text: the data up to its first NUL byte.
std::string_view handle_amt_text(std::string_view received);

// What follows the first occurrence of a command in the received text; none when it is not in it.
std::optional<std::string_view> handle_amt_text_after(std::string_view received, std::string_view command);

// Takes the next comma field off a text, as the C library's tokenizer finds it: empty fields are skipped, anything
// else is a field, also a lone carriage return. None when nothing is left. The text itself is not changed.
std::optional<std::string_view> handle_amt_next_field(std::string_view& rest);

// Takes the field up to the next comma off a text that is split at every comma, for a value whose fields are known by
// their place: any field may be empty, also the one after a last comma. None, like the rest, after the last field.
std::optional<std::string_view> handle_amt_next_field_or_empty(std::optional<std::string_view>& rest);

// The decimal value of a field, by the rules of atoi: blanks skipped, a sign, digits up to the first other character;
// 0 when there are none.
std::int32_t handle_amt_field_value(std::string_view field);

inline constexpr std::uint32_t AMT_PARAMETER_LIMIT = 20;  // characters of a parameter; more are cut off

// The parameter after the first occurrence of prefix in the received text: leading blanks skipped, up to the first
// carriage return of the whole text (a parameter that would end before it starts is empty), or to the end of what was
// received. Quotes, commas and trailing blanks are kept. None when the prefix is not in the text.
std::optional<std::string_view> handle_amt_find_parameter(std::string_view received, std::string_view prefix);
