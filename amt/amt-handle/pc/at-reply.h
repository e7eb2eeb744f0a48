// The replies that AT chain links have in common. Each is sent to the PC from the context's response record and gives
// the result of sending it.
#pragma once

#include <cstdint>

std::int32_t handle_amt_reply_ok();
std::int32_t handle_amt_reply_error();
std::int32_t handle_amt_reply_cme_error();  // of the address and version commands
// A text of at most 4095 characters; more are cut off.
std::int32_t handle_amt_reply(const char* format, ...) __attribute__((format(printf, 1, 2)));
