// Putting the phone into idle, as AT text.
#pragma once

#include <cstdint>

// AT chain link of "AT^DENTERIDLE".
std::int32_t handle_amt_enter_idle_at();
