// The battery's temperature.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// APP request 55. In spite of its name the handler asks the battery driver, not the modem, and refuses no request.
// Every failure is answered with an error response.
result_code_en amt_modem_handle_temperature(std::uint8_t link, amt_message_st* request, amt_message_st* response);
