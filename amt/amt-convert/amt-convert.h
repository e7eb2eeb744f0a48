// The conversions of messages as the service calls them: the pure cores of wrap.h and at-data.h with the service's log
// lines.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// Bare frame to PC form, in place; 0 or ERR_ARGUMENT.
result_code_en amt_convert_app_2_pc(amt_message_st* message);
// PC form to bare frame, in place; 0, ERR_ARGUMENT, or ERR_FAIL without a log line: callers use it to find out whether
// a message is a wrapped frame.
result_code_en amt_convert_pc_2_app(amt_message_st* message);

// Request frame to AT data (at-data.h). *out_len counts its bytes. 0; ERR_ARGUMENT for a null pointer or an out_size of
// 0; ERR_FAIL when frame is not well-formed or out is too small.
result_code_en amt_convert_req_amt_data_2_at_data(const amt_frame_st* frame, std::uint8_t* out, std::uint32_t out_size,
                                                  std::uint32_t* out_len);
// Response AT data to a frame; frame_size is 4096. 0; ERR_ARGUMENT for a null pointer, another size, no data, or data
// with a byte string of length 0; ERR_FAIL when a field reaches past the 4096 bytes of a record.
result_code_en amt_convert_rsp_at_data_2_amt_data(const std::uint8_t* at_data, std::uint32_t at_len,
                                                  amt_frame_st* frame, std::uint32_t frame_size);
