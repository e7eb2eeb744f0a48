// Version queries of the PC: request 45, answered by 46.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// PC request 45. It sends the pre-response itself, for the modules it answers. ERR_NOT_HANDLED, with nothing sent, for
// the two that the modem knows; ERR_FAIL for unknown ones.
result_code_en handle_amt_pc_req_version(std::uint8_t link, amt_message_st* request, amt_message_st* response);
