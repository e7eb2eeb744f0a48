// Version queries: request 45, answered by 46.
#pragma once

#include <cstdint>

#include "amt/amt-handle/context/handle-context.h"

// The name of a module code, "(undefined)" for an unknown one.
const char* amt_get_module_name(std::uint32_t module);

// PC request 45. It sends the pre-response itself, for the modules it answers. ERR_NOT_HANDLED, with nothing sent, for
// the two that the modem knows; ERR_FAIL for unknown ones.
std::int32_t handle_amt_pc_req_version(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// APP request 45. The modem is asked for its own two modules' versions, the others have a fixed version. Nothing is
// sent on failure: ERR_ARGUMENT, ERR_NO_MODEM, ERR_FAIL for unknown modules and whatever goes wrong with the modem.
std::int32_t handle_amt_req_version(std::uint8_t link, amt_message_st* request, amt_message_st* response);
// The modem's part of it: module 17 (layer 1) or 18 (protocol stack).
std::int32_t handle_amt_req_l1_hls_version(std::uint8_t link, std::uint32_t module, amt_message_st* request,
                                           amt_message_st* response);
