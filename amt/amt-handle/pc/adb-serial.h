// The serial number that the phone shows over USB (adb), kept in a record file.
#pragma once

#include <cstdint>

#include "amt/amt-handle/context/handle-context.h"

inline constexpr char AMT_ADB_SERIAL_FILE[] = "/amt/usb_serial";

// PC request 191: reads (operation 0) or writes (1) the record. Nothing is sent on failure: ERR_ARGUMENT for a bad
// request or operation; ERR_FAIL for a length that is not 1 to 99, or when the file cannot be read or written.
std::int32_t amt_handle_adb_serial_no(std::uint8_t link, amt_message_st* request, amt_message_st* response);
