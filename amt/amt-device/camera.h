// The phone's cameras, through the video device. Requests come from the test application.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// Requests 139 and 147 select the main and the second camera. ERR_FAIL for any other id.
result_code_en amt_device_camera(std::uint8_t link, amt_message_st* request, amt_message_st* response);
// Request 180: atom 112 is the control, 1 or 2; answered with the driver's result in atom 113, 3 when the driver has
// no such input.
result_code_en amt_device_camera_control(std::uint8_t link, amt_message_st* request, amt_message_st* response);
