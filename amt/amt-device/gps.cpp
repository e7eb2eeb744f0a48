#include "amt/amt-device/gps.h"

#include <tuple>

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/radio.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "pub/log.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

// The module as field tools know it, whatever the folder is called.
constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-gps"};

enum gps_request_en : std::uint32_t { GPS_STOP = 0, GPS_CHECK = 2 };  // of atom 140; anything else starts

result_code_en run_control(const pub_log_site& site, std::uint32_t request) {
  if (request == GPS_STOP) return amt_radio_stop_gps({site, "GPS stop"});
  if (request == GPS_CHECK) return amt_radio_check_gps(site);
  return amt_radio_start_gps({site, "GPS-start"});
}

}  // namespace

result_code_en amt_gps_control(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const std::uint32_t operation = amt_frame_get_int(&request->m_buf_a, AMT_ATOM_GPS_OPERATION);
  LOG_LINE("amt_gps_control is_start:%d", static_cast<int>(operation));
  const result_code_en result = run_control(k_log, operation);
  return result == ERR_NONE ? amt_handle_send_rsp_ok(link, response, AMT_GPS_CONTROL_RSPCMD) : result;
}

result_code_en amt_gps_test(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  return amt_handle_send_rsp_ok(link, response, AMT_GPS_CONTROL_RSPCMD);
}

result_code_en amt_gps_read_result(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) {
    pub_util_run_command("echo gps read result:invalid param > /data/local/wifi/gps_get_result.txt");
    return ERR_ARGUMENT;
  }
  const auto index = static_cast<int>(amt_frame_get_int(&request->m_buf_a, AMT_ATOM_SATELLITE));
  amt_satellite_st satellite{};
  const result_code_en result = amt_radio_read_gps(k_log, amt_radio_words_en::FRAME, index, &satellite);
  if (result != ERR_NONE) return result;
  amt_handle_start_rsp(response, AMT_GPS_READ_RESULT_RSPCMD);
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_CARRIER_TO_NOISE,
                    static_cast<std::uint32_t>(satellite.m_carrier_to_noise));
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_SATELLITE, static_cast<std::uint32_t>(satellite.m_id));
  std::ignore = amt_handle_finish_rsp(link, response);  // on purpose: the station asks again
  return ERR_NONE;
}
