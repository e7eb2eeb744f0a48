// The wrapping of messages as the service calls it: the pure core of wrap.h with the service's log lines.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"

// Bare frame to PC form, in place; 0 or ERR_ARGUMENT.
std::int32_t amt_convert_app_2_pc(amt_message_st* message);
// PC form to bare frame, in place; 0, ERR_ARGUMENT, or ERR_FAIL without a log line: callers ask it to tell a wrapped
// frame from anything else.
std::int32_t amt_convert_pc_2_app(amt_message_st* message);
