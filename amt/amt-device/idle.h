// Putting the phone into idle.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// 0; the board library's own result when it refuses; ERR_SYSTEM when the library cannot be used.
result_code_en amt_make_ue_enter_idle();

// Request 240 on both links. Codes as for amt_make_ue_enter_idle.
result_code_en amt_enter_idle(std::uint8_t link, amt_message_st* request, amt_message_st* response);
