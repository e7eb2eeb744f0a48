// Which handler serves which command id on which link. Filled once, before any reader starts; only read afterwards.
#pragma once

#include <cstdint>

#include "amt/amt-handle/context/handle-context.h"
#include "pub/log.h"

// Puts a handler into the PC table (link 1) or the APP table (any other link); null clears the entry. The pre-response
// matters on the PC link only. 0, or ERR_ARGUMENT for an id above 254.
result_code_en amt_handle_reg_handle_func(std::uint8_t link, std::uint32_t request_id, amt_handle_func handler,
                                          amt_pre_response_en pre_response = amt_pre_response_en::BY_DISPATCHER);

// The arguments that every handler refuses: a link of 255, a null record, an empty request. True, logged, when there is
// one. site: the handler's k_log.
bool amt_handle_is_bad_request(const pub_log_site& site, std::uint8_t link, const amt_message_st* request,
                               const amt_message_st* response);
