// The identity writes (IMEI, board serial number, channel) that pass through the service to the modem: captured on the
// way there, kept in files once the modem has confirmed them.
//
// Captured on the thread of the PC reader, saved on that of the modem reader.
#pragma once

#include <cstdint>
#include <string_view>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

enum amt_capture_en : std::uint8_t { AMT_CAPTURE_NONE = 0, AMT_CAPTURE_IMEI = 1, AMT_CAPTURE_BOARD = 2 };

// Forgets every capture. Only before any reader runs.
void handle_amt_clear_capture();

// Captures an identity write from what was received, or from the frame that it holds. The id is the frame's command id,
// 255 for AT text. Never fails.
void handle_amt_imei_and_sn(std::uint8_t request_id, std::string_view received, const amt_frame_st& frame);

// Looks at a block from the modem for the confirmation of the pending capture, and saves it.
void handle_amt_imei_and_sn_rsp(const amt_message_st& block);

// Writes the captured value of a type into its record file; an empty value writes nothing. 0; ERR_ARGUMENT for another
// type; ERR_FAIL when the file cannot be written.
result_code_en handle_amt_imei_and_sn_save_file(std::uint8_t type);
