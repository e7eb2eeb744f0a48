// The replies that AT chain links have in common. Each becomes the response record's content, is sent to the PC, and
// gives the result of sending it.
#pragma once

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

result_code_en handle_amt_reply_ok(amt_message_st* response);
result_code_en handle_amt_reply_error(amt_message_st* response);
result_code_en handle_amt_reply_cme_error(amt_message_st* response);  // of the address and version commands
// A text of at most 4095 characters; more are cut off.
result_code_en handle_amt_reply(amt_message_st* response, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
