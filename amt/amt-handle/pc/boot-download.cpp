#include "amt/amt-handle/pc/boot-download.h"

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/battery.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "pub/result.h"

namespace {

constexpr std::int32_t FLAG_UNKNOWN = 2;

result_code_en read_flag(std::int32_t& flag) {
  flag = FLAG_UNKNOWN;
  const result_code_en result = amt_boot_dl_fin_read(&flag);
  LOG_LINE("amt_modem_boot_dl_fin_read finished. flag:%d; ret_val:%d.", flag, result);
  return result;
}

}  // namespace

result_code_en handle_amt_boot_dl_fin_read_at(std::string_view received, amt_message_st* response) {
  if (!handle_amt_text_after(received, "AT^DBOOTDLFIN")) return ERR_NOT_HANDLED;
  // "at:" shows the response record, not the command, on purpose: the line has always been so.
  LOG_LINE("handle_amt_boot_dl_fin_read_at. at:%.*s.", static_cast<int>(response->m_buf_a.size()),
           reinterpret_cast<const char*>(response->m_buf_a.data()));
  std::int32_t flag = 0;
  if (read_flag(flag) != ERR_NONE) return handle_amt_reply_error(response);
  return handle_amt_reply(response, "\r\n^DBOOTDLFIN: %d\r\n\r\nOK\r\n", flag);
}

result_code_en amt_modem_boot_dl_fin_read(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  LOG_LINE("amt_modem_boot_dl_fin_read.");
  amt_handle_start_rsp(response, AMT_BOOT_DL_FIN_RSPCMD);
  std::int32_t flag = 0;
  if (read_flag(flag) != ERR_NONE) return pub_fail(k_log, ERR_FAIL, "read error");
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_BOOT_FLAG, static_cast<std::uint32_t>(flag));
  return amt_handle_finish_rsp(link, response);
}
