#include "amt/amt-handle/pc/capture.h"

#include "amt/amt-handle/channel/log-module.h"
#include "amt/amt-handle/channel/state.h"
#include "pub/result.h"

void handle_amt_imei_and_sn(std::uint8_t request_id) {
  LOG_LINE("handle_amt_imei_and_sn--->req_id_en:%d.", request_id);
}

void handle_amt_imei_and_sn_rsp(const amt_message_st& block) {
  if (block.m_buf_len == 0) {
    pub_log_failure(k_log, 9355, "handle_amt_imei_and_sn_rsp", ERR_ARGUMENT);
    LOG_LINE(" %d, %d", 0, 1);
    return;
  }
  LOG_LINE("g_cur_treat_cmd_type:%d;", std::uint8_t{g_cur_treat_cmd_type});
}
