// AT chain link of the radios: "AT^DDEVCONNCHK=", "AT^DBTCTRL=", "AT^DGPSCTRL=", "AT^DWLTSD=", "AT^DWLTRD=". Every
// command is one or two calls into the device-test library, which block the PC link while they run.
#pragma once

#include <string_view>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

result_code_en handle_amt_device_at(std::string_view received, amt_message_st* response);
