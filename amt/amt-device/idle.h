// Putting the phone into idle.
#pragma once

#include <cstdint>

// 0; the board library's own result when it refuses; ERR_SYSTEM when the library cannot be used.
std::int32_t amt_make_ue_enter_idle();
