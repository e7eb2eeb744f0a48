// Changing the mode: of the phone (normal to factory test), of the modem's channel, of the AMT1 flag.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// APP request 195: puts the modem into factory test, answers, and then ends the service; init starts it again in that
// mode. A failure of the modem is answered with an error response, and nothing ends.
result_code_en amt_handle_normal_to_amt(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// APP request 197: whether the modem supports factory test, and by which radio technology.
result_code_en amt_query_amt_support(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// Switches the modem's channel; answered by 233. ERR_NO_MODEM, ERR_FAIL and the link's codes send nothing.
result_code_en amt_channel_switch(std::uint8_t link, amt_message_st* request, amt_message_st* response);
// APP request 232: the channel switch. 0, with no answer, for any other id.
result_code_en amt_at_to_modem(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// APP request 219: writes or reads the AMT1 flag.
result_code_en amt_handle_damt1_cmd(std::uint8_t link, amt_message_st* request, amt_message_st* response);
