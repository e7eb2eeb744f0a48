// The identity writes (IMEI, board serial number, channel) that pass through the service to the modem: captured on the
// way there, kept in files once the modem has confirmed them.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"

// Captures an identity write from the request. The id is the frame's command id, 255 for AT text. Never fails.
void handle_amt_imei_and_sn(std::uint8_t request_id);

// Looks at a block from the modem for the confirmation of the pending capture.
void handle_amt_imei_and_sn_rsp(const amt_message_st& block);
