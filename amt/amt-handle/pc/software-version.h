// The software version of the application processor, and the end of a station's work: the power-off.
#pragma once

#include <cstdint>
#include <string_view>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

inline constexpr std::uint32_t AMT_VERSION_TEXT_SIZE = 100;  // room that get_ap_sw_version needs

// Composes the version text from the build's properties: *length characters, no terminator. 0; ERR_ARGUMENT for a null
// argument; ERR_FAIL when a property gives nothing.
result_code_en get_ap_sw_version(char* buffer, std::uint32_t* length);

// AT chain links of "AT^DSVER\r" and "AT^DAMTOFF\r".
result_code_en handle_amt_sw_version_at(std::string_view received, amt_message_st* response);
result_code_en handle_amt_power_off_at(std::string_view received, amt_message_st* response);

// PC request 236: answers OK, then switches the phone off as "AT^DAMTOFF\r" does.
result_code_en amt_handle_power_off(std::uint8_t link, amt_message_st* request, amt_message_st* response);
