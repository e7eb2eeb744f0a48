// Screen, backlights and vibrator: each is driven by one device file. All requests come from the test application.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "amt/amt-handle/context/state.h"
#include "pub/result.h"

// The LCD brightness that the phone had before the first brightness request; -1 while it could not be read.
extern relaxed<std::int32_t> g_src_lcd_brightness;

// Request 29, answered OK: the test application draws the colours itself.
result_code_en amt_device_lcd_color(std::uint8_t link, amt_message_st* request, amt_message_st* response);
// Request 57: atom 26 is the level; one above 255 asks for the brightness that the phone had. When the file fails
// there is no answer, and the result is 0, on purpose: the station goes on after its own time-out.
result_code_en amt_device_lcd_brightness(std::uint8_t link, amt_message_st* request, amt_message_st* response);
// Request 37: flag 15 is written to the key light.
result_code_en amt_device_button_backlight(std::uint8_t link, amt_message_st* request, amt_message_st* response);
// Request 35: flag 15 stops the vibrator (0) or starts it for three seconds.
result_code_en amt_device_vibrator(std::uint8_t link, amt_message_st* request, amt_message_st* response);
