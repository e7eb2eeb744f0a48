// Putting the phone into idle.
#pragma once

#include <cstdint>

#include "amt/amt-handle/context/handle-context.h"

// 0; the board library's own result when it refuses; ERR_SYSTEM when the library cannot be used.
std::int32_t amt_make_ue_enter_idle();

// Request 240 on both links. Codes as for amt_make_ue_enter_idle.
std::int32_t amt_enter_idle(std::uint8_t link, amt_message_st* request, amt_message_st* response);
