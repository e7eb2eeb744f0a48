// The phone's Bluetooth and WiFi addresses as AT text: links of the AT chain that answer from the factory's records.
#pragma once

#include <string_view>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// AT chain links of "AT^DBTADDR" and "AT^DWIFIADDR", each with "?\r", "=?\r" and "=\"".
result_code_en handle_amt_bt_at(std::string_view received, amt_message_st* response);
result_code_en handle_amt_wifi_at(std::string_view received, amt_message_st* response);
