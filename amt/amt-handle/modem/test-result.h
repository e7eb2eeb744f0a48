// Results of the production line's test stations, kept twice: by the modem and in the record files of item.h.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// APP requests 91 and 89: the modem's store and the station result file. A failure of the modem is answered with an
// error response; one of the file is only logged. Nothing is sent for a bad request or without a modem.
result_code_en amt_modem_write_test_result(std::uint8_t link, amt_message_st* request, amt_message_st* response);
result_code_en amt_modem_read_test_result(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// APP requests 230 and 228: an item of the product file alone; they need no modem, but refuse the same bad requests.
result_code_en amt_item_write_test_result(std::uint8_t link, amt_message_st* request, amt_message_st* response);
result_code_en amt_item_read_test_result(std::uint8_t link, amt_message_st* request, amt_message_st* response);
