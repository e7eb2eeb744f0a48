// Sending answers. The link is the one that the handler was given: 1 = PC, any other but 0 and 255 = APP. Nothing is
// retried; after a successful send the record is all zero, after a failed one it is as it was.
//
// All give 0; ERR_ARGUMENT for a bad link, a null record or nothing to send; ERR_FAIL when the link is not open;
// ERR_SYSTEM when the write failed; ERR_INCOMPLETE when only a part was written.
#pragma once

#include <cstdint>
#include <string_view>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// Sends the record as it is; a length of 0 takes the length that the frame itself states.
result_code_en amt_handle_send_rsp(std::uint8_t link, amt_message_st* response);
// A frame with the response id and the one atom 1 = 0.
result_code_en amt_handle_send_rsp_ok(std::uint8_t link, amt_message_st* response, std::uint32_t response_id);
// A frame with the response id and the one atom 1 = code.
result_code_en amt_handle_send_rsp_err(std::uint8_t link, amt_message_st* response, std::uint32_t response_id,
                                       std::uint32_t code);
inline constexpr std::uint32_t AMT_ERROR_MODEM = 10;  // the code of an answer that the modem could not give
// The fixed message that confirms to the PC that its request arrived. Link 1 only.
result_code_en amt_handle_send_pre_rsp_for_pc(std::uint8_t link, amt_message_st* response);

// The start of every data reply: a frame with the response id. What an unsent answer left in the record is cleared.
void amt_handle_start_rsp(amt_message_st* response, std::uint8_t response_id);
// The end of every data reply: adds atom 1 = 0, wraps the frame when the link is the PC, sends it.
result_code_en amt_handle_finish_rsp(std::uint8_t link, amt_message_st* response);
// An AT reply to the PC: the text (at most 4095 characters) becomes the record's content and is sent.
result_code_en amt_handle_send_at_rsp(amt_message_st* response, std::string_view text);
