// Version queries: request 45, answered by 46.
#pragma once

#include <cstdint>
#include <optional>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

// The modules of a handset, as atom 19 names them.
enum amt_module_en : std::uint32_t {
  AMT_PRODUCT_MODULE = 1,
  AMT_SOFTWARE_MODULE = 16,
  AMT_L1_MODULE = 17,   // layer 1
  AMT_HLS_MODULE = 18,  // protocol stack
  AMT_PLATFORM_MODULE = 19,
  AMT_APP_MODULE = 20,
  AMT_HARDWARE_MODULE = 32,
  AMT_WHOLE_MODULE = 64,
};

// The name of a module code, "(undefined)" for an unknown one.
const char* amt_get_module_name(std::uint32_t module);

// Who knows a module's version; none for an unknown code.
enum class amt_version_source_en { FIXED_BLOCK, MODEM };
std::optional<amt_version_source_en> amt_get_version_source(std::uint32_t module);
// Adds the version atom of the modules that have a fixed version.
void amt_add_version_block(amt_message_st* response);

// APP request 45. The modem is asked for its own two modules' versions, the others have a fixed version. Nothing is
// sent on failure: ERR_ARGUMENT, ERR_NO_MODEM, ERR_FAIL for unknown modules and whatever goes wrong with the modem.
result_code_en handle_amt_req_version(std::uint8_t link, amt_message_st* request, amt_message_st* response);
// The modem's part of it: module 17 (layer 1) or 18 (protocol stack).
result_code_en handle_amt_req_l1_hls_version(std::uint8_t link, std::uint32_t module, amt_message_st* request,
                                             amt_message_st* response);
