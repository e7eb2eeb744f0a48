// What the board's library reports about the device.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// Request 238 of the test application: answered with the library's text in atom 200. The library's own result when it
// is not 0; ERR_SYSTEM when it cannot be used.
result_code_en amt_read_dev_info(std::uint8_t link, amt_message_st* request, amt_message_st* response);
