// The phone's Bluetooth and WiFi addresses as AT text: links of the AT chain that answer from the factory's records.
#pragma once

#include <cstdint>

// The Bluetooth address file that exists, the phone's own first; null, logged, when there is none.
const char* get_bt_addr_file();

// AT chain links of "AT^DBTADDR" and "AT^DWIFIADDR", each with "?\r", "=?\r" and "=\"".
std::int32_t handle_amt_bt_at();
std::int32_t handle_amt_wifi_at();
