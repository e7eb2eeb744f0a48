#include "amt/amt-device/gps.h"

#include "amt/amt-device/device.h"
#include "amt/amt-device/hwt-call.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "platform/hwt.h"
#include "pub/log.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-gps"};

constexpr std::uint8_t CONTROL_RESPONSE_ID = 175;
constexpr std::uint8_t READ_RESPONSE_ID = 179;
constexpr std::uint8_t ATOM_OPERATION = 140;
constexpr std::uint8_t ATOM_SATELLITE = 141;  // in the request its slot, in the answer its id
constexpr std::uint8_t ATOM_CARRIER_TO_NOISE = 144;

enum gps_request_en : std::uint32_t { GPS_STOP = 0, GPS_CHECK = 2 };        // of atom 140; anything else starts
enum gps_operation_en : int { HWT_STOP = 0, HWT_START = 1, HWT_READ = 2 };  // of hwt_gpsCtrl

amt_hwt_step_st control_step(int line, const char* step, const char* operation) {
  return {&k_log, line, "amt_gps_control", step, operation};
}

std::int32_t run_control(std::uint32_t request) {
  if (request == GPS_STOP) {
    return amt_device_call_hwt(control_step(__LINE__, "GPS stop", "hwt_gpsCtrl"),
                               [] { return hwt_gpsCtrl(HWT_STOP, 0, nullptr, nullptr); });
  }
  if (request == GPS_CHECK) {
    return amt_device_call_hwt(control_step(__LINE__, "GPS connectivity check", "hwt_gpsCheck"), hwt_gpsCheck);
  }
  return amt_device_call_hwt(control_step(__LINE__, "GPS-start", "hwt_gpsCtrl"),
                             [] { return hwt_gpsCtrl(HWT_START, 0, nullptr, nullptr); });
}

}  // namespace

std::int32_t amt_gps_control(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  const std::uint32_t operation = amt_frame_get_int(&request->m_buf_a, ATOM_OPERATION);
  LOG_LINE("amt_gps_control is_start:%d", static_cast<int>(operation));
  const std::int32_t result = run_control(operation);
  return result == ERR_NONE ? amt_handle_send_rsp_ok(link, response, CONTROL_RESPONSE_ID) : result;
}

std::int32_t amt_gps_test(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  return amt_handle_send_rsp_ok(link, response, CONTROL_RESPONSE_ID);
}

std::int32_t amt_gps_read_result(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) {
    pub_util_run_command("echo gps read result:invalid param > /data/local/wifi/gps_get_result.txt");
    return ERR_ARGUMENT;
  }
  const auto index = static_cast<int>(amt_frame_get_int(&request->m_buf_a, ATOM_SATELLITE));
  int svid = 0;
  int cnr = 0;
  const std::int32_t result = amt_device_call_hwt(
      AMT_HWT_STEP("GPS-READ-SIGNAL", "hwt_gpsCtrl"), amt_hwt_detail(". index:%d", index),
      [index, &svid, &cnr] { return hwt_gpsCtrl(HWT_READ, index, &svid, &cnr); },
      [&svid, &cnr] { return amt_hwt_detail("; svid:%d; cnr:%d", svid, cnr); });
  if (result != ERR_NONE) return result;
  amt_handle_start_rsp(response, READ_RESPONSE_ID);
  amt_frame_add_int(&response->m_buf_a, ATOM_CARRIER_TO_NOISE, static_cast<std::uint32_t>(cnr));
  amt_frame_add_int(&response->m_buf_a, ATOM_SATELLITE, static_cast<std::uint32_t>(svid));
  amt_handle_finish_rsp(link, response);
  return ERR_NONE;
}
