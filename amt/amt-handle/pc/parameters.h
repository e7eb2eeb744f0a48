// The text of a received AT command, and the fields in it. One set of rules for every command.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// The received text: the request record up to its first NUL byte.
std::string_view handle_amt_request_text();

// What stands behind the first occurrence of a command in the received text; none when it is not in it.
std::optional<std::string_view> handle_amt_text_behind(std::string_view command);

// Takes the next comma field off a text, as the C library's tokenizer finds it: empty fields are skipped, anything
// else, a lone carriage return too, is a field. None when nothing is left. The text itself is not changed.
std::optional<std::string_view> handle_amt_next_field(std::string_view& rest);

// The decimal value of a field, by the rules of atoi: blanks skipped, a sign, digits up to the first other character;
// 0 when there are none.
std::int32_t handle_amt_field_value(std::string_view field);
