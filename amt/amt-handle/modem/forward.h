// Radio requests: the service does not understand them, it carries them to the modem, and the answer back.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// Sends the request as "AT^DTTEST=<AT data in hexadecimal>\r" and turns each "\r\n^DTTEST: <AT data>\r\n" of the answer
// into a response, until the final result. 0; ERR_ARGUMENT; ERR_NO_MODEM; ERR_FAIL when the request cannot be
// converted, or the modem reported an error; codes of the AT link and of the response's sending. Never sends an error
// response itself.
result_code_en amt_modem_handle_req(std::uint8_t link, amt_message_st* request, amt_message_st* response);
