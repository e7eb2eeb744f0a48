// The identities that the modem keeps: IMEI, board number, serial number.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// APP requests 7, 85 and 234. Whatever goes wrong with the modem is answered with an error response; nothing is sent
// for a bad request (ERR_ARGUMENT) or without a modem (ERR_NO_MODEM).
result_code_en amt_modem_handle_read_imei(std::uint8_t link, amt_message_st* request, amt_message_st* response);
result_code_en amt_modem_handle_read_board(std::uint8_t link, amt_message_st* request, amt_message_st* response);
result_code_en amt_read_serial_number(std::uint8_t link, amt_message_st* request, amt_message_st* response);
