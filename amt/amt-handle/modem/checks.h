// Checks of the handset: SIM card, factory date, battery temperature. Whatever goes wrong behind a good request is
// answered with an error response.
#pragma once

#include <cstdint>

#include "amt/amt-handle/context/handle-context.h"

// APP request 99: whether the modem finds a SIM of a known type. The answer has no result atom: on purpose.
std::int32_t amt_dtoc_checkSIM(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// APP request 65: the date at which the phone left the factory, as the modem keeps it.
std::int32_t amt_modem_handle_read_outdate(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// APP request 55. In spite of its name it asks the battery driver, not the modem, and refuses nothing.
std::int32_t amt_modem_handle_temperature(std::uint8_t link, amt_message_st* request, amt_message_st* response);
