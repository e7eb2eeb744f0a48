// The boot-download-finished query: whether the phone's software was downloaded completely.
#pragma once

#include <cstdint>

#include "amt/amt-handle/context/handle-context.h"

// AT chain link of "AT^DBOOTDLFIN".
std::int32_t handle_amt_boot_dl_fin_read_at();

// PC request 244.
std::int32_t amt_modem_boot_dl_fin_read(std::uint8_t link, amt_message_st* request, amt_message_st* response);
