#include "amt/amt-handle/pc/boot-download.h"

#include "amt/amt-device/battery.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/parameters.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/pc/at-reply.h"
#include "pub/result.h"

namespace {

constexpr std::int32_t FLAG_UNKNOWN = 2;
constexpr std::uint8_t RESPONSE_ID = 245;
constexpr std::uint8_t ATOM_FLAG = 204;

std::int32_t read_flag(std::int32_t& flag) {
  flag = FLAG_UNKNOWN;
  const std::int32_t result = amt_boot_dl_fin_read(&flag);
  LOG_LINE("amt_modem_boot_dl_fin_read finished. flag:%d; ret_val:%d.", flag, result);
  return result;
}

}  // namespace

std::int32_t handle_amt_boot_dl_fin_read_at() {
  if (!handle_amt_text_behind("AT^DBOOTDLFIN")) return ERR_NOT_HANDLED;
  const auto& response = g_handle_context.m_response;
  LOG_LINE("handle_amt_boot_dl_fin_read_at. at:%.*s.", static_cast<int>(response.m_buf_a.size()),
           reinterpret_cast<const char*>(response.m_buf_a.data()));
  std::int32_t flag = 0;
  if (read_flag(flag) != ERR_NONE) return handle_amt_reply_error();
  return handle_amt_reply("\r\n^DBOOTDLFIN: %d\r\n\r\nOK\r\n", flag);
}

std::int32_t amt_modem_boot_dl_fin_read(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  LOG_LINE("amt_modem_boot_dl_fin_read.");
  amt_handle_start_rsp(response, RESPONSE_ID);
  std::int32_t flag = 0;
  if (read_flag(flag) != ERR_NONE) {
    LOG_FAILURE(ERR_FAIL);
    LOG_LINE("read error");
    return ERR_FAIL;
  }
  amt_frame_add_int(&response->m_buf_a, ATOM_FLAG, static_cast<std::uint32_t>(flag));
  return amt_handle_finish_rsp(link, response);
}
