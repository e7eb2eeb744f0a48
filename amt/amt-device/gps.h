// GPS: start and stop, the connectivity check, and the signal of one satellite. Both links.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// Request 174. Atom 140: 0, or no atom, stops GPS, 2 checks its connectivity, anything else starts it.
result_code_en amt_gps_control(std::uint8_t link, amt_message_st* request, amt_message_st* response);
// Request 176: confirms that there is a GPS test. Answered with 175, the id of the control request's answer, on
// purpose: stations wait for that id.
result_code_en amt_gps_test(std::uint8_t link, amt_message_st* request, amt_message_st* response);
// Request 178: reads the satellite in the slot of atom 141; answered with its carrier-to-noise value in atom 144 and
// its id in atom 141. 0 also when the answer could not be sent.
result_code_en amt_gps_read_result(std::uint8_t link, amt_message_st* request, amt_message_st* response);
