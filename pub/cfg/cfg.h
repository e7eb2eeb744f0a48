// Lines of "key=value" text. The line is split in place; only the space character counts as a blank.
#pragma once

#include <cstdint>
#include <cstdio>

#include "pub/result.h"

// Reads one line, or as much of it as fits: at most size - 2 characters, the line feed included. Nothing left to read
// gives an empty buffer and *is_eof 1. 0, or ERR_ARGUMENT for a null argument.
result_code_en pub_cfg_get_line(std::FILE* file, char* buffer, std::uint32_t size, std::uint32_t* length,
                                std::int32_t* is_eof);

// Splits "  key = value  \r\n" into "key" and "value", pointers into line. 0; ERR_NOT_HANDLED for a comment ('#' first)
// or a line without '='; ERR_ARGUMENT for a null argument.
result_code_en pub_cfg_get_param_and_value(char* line, char** key, char** value);
