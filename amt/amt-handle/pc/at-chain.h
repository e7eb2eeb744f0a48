// The AT commands that the service answers itself, in the order in which they are searched.
#pragma once

#include <string_view>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// Runs the first link that recognises its command in the received data; it builds its reply in the response record.
// ERR_NOT_HANDLED when none does; else the result of sending the reply, or the link's own code.
result_code_en handle_amt_pc_req_at(std::string_view received, amt_message_st* response);
