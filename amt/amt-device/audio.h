// The audio path: a player program, and the codec's loop-back. Requests come from the test application.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// Request 33: flag 15 starts the player (any value but 0) or stops it. The player puts itself into the background; its
// pid file is how a later stop finds it.
result_code_en amt_device_audio(std::uint8_t link, amt_message_st* request, amt_message_st* response);
// Request 31: flag 15 is 1 to enable the loop-back, atom 30 its type, which only the board's library knows.
result_code_en amt_device_audio_loop(std::uint8_t link, amt_message_st* request, amt_message_st* response);
