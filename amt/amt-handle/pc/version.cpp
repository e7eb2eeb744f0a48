#include "amt/amt-handle/pc/version.h"

#include <tuple>

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/modem/version.h"
#include "amt/amt-handle/pc/software-version.h"

namespace {

// On the PC link the software module's version is the phone's own.
result_code_en set_ap_sw_version_rsp(amt_message_st* response) {
  pub_log_entry(k_log);
  char text[AMT_VERSION_TEXT_SIZE + 1] = {};
  std::uint32_t length = 0;
  const result_code_en result = get_ap_sw_version(text, &length);
  if (result != ERR_NONE) return pub_fail(k_log, result, "failed to get ap's sw version");
  amt_frame_add_bytes(&response->m_buf_a, AMT_ATOM_VERSION, reinterpret_cast<const std::uint8_t*>(text), length);
  return ERR_NONE;
}

}  // namespace

result_code_en handle_amt_pc_req_version(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const std::uint32_t code = amt_frame_get_int(&request->m_buf_a, AMT_ATOM_MODULE);
  LOG_LINE("version type: 0x%02x - %s", code, amt_get_module_name(code));
  const auto source = amt_get_version_source(code);
  if (!source) return pub_fail(k_log, ERR_FAIL, "unknown version type: 0x%02x", code);
  if (*source == amt_version_source_en::MODEM) return ERR_NOT_HANDLED;

  std::ignore =
      amt_handle_send_pre_rsp_for_pc(link, response);  // a PC that misses it waits for the answer all the same
  amt_handle_start_rsp(response, AMT_VERSION_RSPCMD);
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_MODULE, code);
  if (code == AMT_SOFTWARE_MODULE) {
    const result_code_en result = set_ap_sw_version_rsp(response);
    if (result != ERR_NONE) return result;
  } else {
    amt_add_version_block(response);
  }
  return amt_handle_finish_rsp(link, response);
}
