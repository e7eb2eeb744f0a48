// The identities that the modem keeps: IMEI, board number, serial number.
#pragma once

#include <cstdint>

#include "amt/amt-handle/context/handle-context.h"

// APP requests 7, 85 and 234. Whatever goes wrong with the modem is answered with an error response; nothing is sent
// for a bad request (ERR_ARGUMENT) or without a modem (ERR_NO_MODEM).
std::int32_t amt_modem_handle_read_imei(std::uint8_t link, amt_message_st* request, amt_message_st* response);
std::int32_t amt_modem_handle_read_board(std::uint8_t link, amt_message_st* request, amt_message_st* response);
std::int32_t amt_read_serial_number(std::uint8_t link, amt_message_st* request, amt_message_st* response);
