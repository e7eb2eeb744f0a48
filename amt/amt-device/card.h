// The memory card.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// Request 137 of the test application: answered with the card's capacity in KB in atom 55, 0 when there is no card.
result_code_en amt_device_tf_card(std::uint8_t link, amt_message_st* request, amt_message_st* response);
