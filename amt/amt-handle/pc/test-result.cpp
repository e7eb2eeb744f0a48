#include "amt/amt-handle/pc/test-result.h"

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-record/item.h"

result_code_en amt_modem_write_pc_test_result(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_NOT_HANDLED;
  const auto station = static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, AMT_ATOM_STATION));
  const auto result = static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, AMT_ATOM_STATION_RESULT));
  LOG_LINE("amt_modem_write_pc_test_result station_num=%d,station_result=%d", station, result);
  amt_note_station_result(k_log, station, result);
  return ERR_NOT_HANDLED;
}
