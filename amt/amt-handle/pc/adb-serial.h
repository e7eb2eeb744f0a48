// The serial number that the phone shows over USB (adb), as the PC reads and writes it.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// PC request 191: reads (operation 0) or writes (1) the record. Nothing is sent on failure: ERR_ARGUMENT for a bad
// request or operation; ERR_FAIL for a length that is not 1 to 99, or when the file cannot be read or written.
result_code_en amt_handle_adb_serial_no(std::uint8_t link, amt_message_st* request, amt_message_st* response);
