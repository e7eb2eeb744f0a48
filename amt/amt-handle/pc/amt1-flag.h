// The AMT1 flag, as the PC writes and reads it.
#pragma once

#include <cstdint>
#include <string_view>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// AT chain link of "AT^DAMT1=".
result_code_en handle_amt_not_permit_handshake_at(std::string_view received, amt_message_st* response);

// PC request 219: forbids the handshake at the next start.
result_code_en amt_handle_not_permit_handshake(std::uint8_t link, amt_message_st* request, amt_message_st* response);
