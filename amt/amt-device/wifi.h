// WiFi: the record of the phone's address, the connectivity check, and the transmit and receive test. Both links.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "amt/amt-handle/context/state.h"
#include "pub/result.h"

// Request 185. Atom 152: 0 reads the address into atom 153, 1 writes it from there, 2 checks the connectivity.
result_code_en amt_device_wifi_address(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// State of the transmit and receive test: whether it has WiFi running, and the channel on which a receive stop acts,
// that of the last receive start.
extern relaxed<std::int32_t> g_wifi_is_running;
extern relaxed<std::uint8_t> g_wifi_rtx_rx_channel;

// Request 187. Byte 154 is the operation: 1 start WiFi, 2 stop it, 3 transmit, 4 stop transmitting, 5 receive, 6 stop
// receiving and report the count. 3 to 6 need a running WiFi.
result_code_en amt_device_wifi_rtx_test(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// The same test as a shell script for the WiFi chip's command-line tool, for engineers who have a shell on the phone;
// nothing in the service runs it. Lines end in a line feed.
extern const char g_wifi_test_script_a[];
