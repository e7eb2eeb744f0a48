// The board's (PCBA) serial number, as the PC reads and writes it.
#pragma once

#include <cstdint>
#include <string_view>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// PC request 193: reads or writes the record. Nothing is sent on failure.
result_code_en amt_handle_board_pcba_ctrl(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// AT chain link of "AT^DPCBACTRL=": type 1 reads the record, type 2 writes the serial number after the comma.
result_code_en handle_amt_pcba_sn_at(std::string_view received, amt_message_st* response);
