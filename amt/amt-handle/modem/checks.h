// Checks of the handset by the modem: SIM card, factory date. Whatever goes wrong after a good request is answered with
// an error response.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// APP request 99: whether the modem finds a SIM of a known type. The answer has no result atom, on purpose.
result_code_en amt_dtoc_checkSIM(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// APP request 65: the date at which the phone left the factory, as the modem keeps it.
result_code_en amt_modem_handle_read_outdate(std::uint8_t link, amt_message_st* request, amt_message_st* response);
