// The boot-download-finished query: whether the phone's software was downloaded completely.
#pragma once

#include <cstdint>
#include <string_view>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// AT chain link of "AT^DBOOTDLFIN".
result_code_en handle_amt_boot_dl_fin_read_at(std::string_view received, amt_message_st* response);

// PC request 244.
result_code_en amt_modem_boot_dl_fin_read(std::uint8_t link, amt_message_st* request, amt_message_st* response);
