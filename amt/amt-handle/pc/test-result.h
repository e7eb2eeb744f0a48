// Results of the production line's test stations, as the PC reports them.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// PC request 91: notes the result in the station result file and gives ERR_NOT_HANDLED, always: the modem answers.
result_code_en amt_modem_write_pc_test_result(std::uint8_t link, amt_message_st* request, amt_message_st* response);
