// The software version of the application processor, and the end of a station's work: the power-off.
#pragma once

#include <cstdint>

#include "amt/amt-handle/context/handle-context.h"

inline constexpr std::uint32_t AMT_VERSION_TEXT_SIZE = 100;  // room that get_ap_sw_version needs

// Composes the version text from the build's properties: *length characters, no terminator. 0; ERR_ARGUMENT for a null
// argument; ERR_FAIL when a property gives nothing.
std::int32_t get_ap_sw_version(char* buffer, std::uint32_t* length);

// AT chain links of "AT^DSVER\r" and "AT^DAMTOFF\r".
std::int32_t handle_amt_sw_version_at();
std::int32_t handle_amt_power_off_at();

// PC request 236: answers OK, then switches the phone off as "AT^DAMTOFF\r" does.
std::int32_t amt_handle_power_off(std::uint8_t link, amt_message_st* request, amt_message_st* response);
