#include "amt/amt-device/dev-info.h"

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/device.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-device/misc-library.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "pub/result.h"

namespace {

constexpr int TEXT_LIMIT = 4055;

}  // namespace

result_code_en amt_read_dev_info(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  amt_handle_start_rsp(response, AMT_READ_DEV_INFO_RSPCMD);
  char text[TEXT_LIMIT + 1] = {};
  const result_code_en result =
      amt_device_call_misc<int(char*, int)>(__func__, "create_devinfo", [&text](auto* create_devinfo) {
        LOG_LINE("will call create_devinfo.");
        const int returned = create_devinfo(text, TEXT_LIMIT);
        LOG_LINE("stop call create_devinfo. return value:%d.", returned);
        return returned;
      });
  if (result != ERR_NONE) return result;
  text[TEXT_LIMIT] = '\0';
  LOG_LINE("create_devinfo return OK. %s", text);
  amt_frame_add_string(&response->m_buf_a, AMT_ATOM_DEV_INFO, text);
  return amt_device_finish_bare_rsp(link, response);
}
