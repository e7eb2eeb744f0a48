// Which handler serves which command id on which link. Filled once, before any reader starts; only read afterwards.
#pragma once

#include <cstdint>

#include "amt/amt-handle/context/handle-context.h"
#include "pub/log.h"

// Puts a handler into the PC table (link 1) or the APP table (any other link); null clears the entry. 0, or
// ERR_ARGUMENT for an id above 254.
std::int32_t amt_handle_reg_handle_func(std::uint8_t link, std::uint32_t request_id, amt_handle_func handler);

// The arguments that every handler refuses: a link of 255, a null record, an empty request. True, logged, when one of
// them is met. module, line and function name the handler in the error-trace line.
bool amt_handle_is_bad_request(const pub_log_module_st& module, std::uint8_t link, const amt_message_st* request,
                               const amt_message_st* response, int line, const char* function);
#define AMT_IS_BAD_REQUEST(link, request, response) \
  amt_handle_is_bad_request(k_log, link, request, response, __LINE__, __func__)
