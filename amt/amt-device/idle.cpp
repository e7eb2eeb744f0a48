#include "amt/amt-device/idle.h"

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-device/misc-library.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "pub/result.h"

result_code_en amt_make_ue_enter_idle() {
  pub_log_entry(k_log);
  return amt_device_call_misc<int()>(__func__, "enter_idle", [](auto* enter_idle) {
    LOG_LINE("will call enter_idle.");
    const int result = enter_idle();
    LOG_LINE("stop call enter_idle. return value:%d.", result);
    if (result == 0) LOG_LINE("enter_idle return OK.");
    return result;
  });
}

result_code_en amt_enter_idle(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const result_code_en result = amt_make_ue_enter_idle();
  if (result != ERR_NONE) return result;
  LOG_LINE("enter_idle return OK.");
  return amt_handle_send_rsp_ok(link, response, AMT_ENTER_IDLE_RSPCMD);
}
