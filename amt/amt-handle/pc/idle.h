// Putting the phone into idle, as AT text.
#pragma once

#include <string_view>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// AT chain link of "AT^DENTERIDLE".
result_code_en handle_amt_enter_idle_at(std::string_view received, amt_message_st* response);
