// The phone's WiFi MAC address: the factory's record of it, and the copy of the WiFi driver's nvram text into which it
// is patched. The address is the station's text; nothing here judges it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pub/result.h"

inline constexpr char AMT_WIFI_ADDRESS_FILE[] = "/amt/WIFI/WIFI_nvram.txt";
inline constexpr std::size_t AMT_WIFI_ADDRESS_SIZE = 60;  // 59 characters and the terminator

// The address without its line end, cut to size - 1 characters. A record without a line end loses its last character,
// on purpose: the line end is taken off unseen. 0, or ERR_FAIL with the buffer empty.
result_code_en amt_read_wifi_address(char* buffer, std::size_t size);

// Replaces the record by the address and a line end. 0; ERR_ARGUMENT for a null or empty address, or one of more than
// 98 characters; ERR_FAIL when the file cannot be opened; ERR_SYSTEM when it cannot be written.
result_code_en amt_write_wifi_address(const char* address);

// Rewrites the driver's nvram text with the recorded address: in place of every address line, or after the last line
// when there is no address line. Once, at the start of the service. 0 or ERR_FAIL. The old text stays when the record
// or the source is there but cannot be read; without any source it is emptied.
result_code_en amt_write_wifi_to_nvram_file();
