// The one parameter of an AT command, as the service's requests take it: the pure rules of parameters.h with their log
// lines.
#pragma once

#include <cstdint>
#include <string_view>

#include "amt/amt-handle/context/parameters.h"
#include "pub/result.h"

// Copies the parameter after prefix (see handle_amt_find_parameter). out holds at least AMT_PARAMETER_LIMIT bytes and
// is cleared by the caller: no terminator is written. 0; ERR_ARGUMENT when nothing was received or an argument is null;
// ERR_FAIL when the prefix is not in the text.
result_code_en handle_amt_get_at_para(std::string_view received, const char* prefix, char* out,
                                      std::uint32_t* out_length);

// A parameter with its terminator.
using amt_parameter_text = char[AMT_PARAMETER_LIMIT + 1];

// handle_amt_get_at_para into a buffer that it clears, and the log line that shows what was found.
result_code_en handle_amt_take_at_para(std::string_view received, const char* prefix, amt_parameter_text& text);
