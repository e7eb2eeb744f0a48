#include "amt/amt-device/wifi.h"

#include "amt/amt-device/device.h"
#include "amt/amt-device/hwt-call.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-record/wifi-address.h"
#include "platform/hwt.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr char ADDRESS_FOLDER[] = "/amt/WIFI";
constexpr char HANDLER[] = "amt_device_wifi_address";

constexpr std::uint8_t RESPONSE_ID = 186;
constexpr std::uint8_t ATOM_OPERATION = 152;
constexpr std::uint8_t ATOM_ADDRESS = 153;

std::int32_t fail(const char* text) {
  LOG_FAILURE_OF(HANDLER, ERR_FAIL);
  LOG_LINE("%s", text);
  return ERR_FAIL;
}

std::int32_t read_address(const amt_frame_st&, amt_frame_st& response) {
  char address[AMT_WIFI_ADDRESS_SIZE] = {};
  if (amt_read_wifi_address(address, sizeof address) != ERR_NONE) return fail("read error");
  LOG_LINE("read WIFI address: %s", address);
  amt_frame_add_string(&response, ATOM_ADDRESS, address);
  return ERR_NONE;
}

std::int32_t write_address(const amt_frame_st& request, amt_frame_st&) {
  char address[AMT_WIFI_ADDRESS_SIZE + 1] = {};  // a text of exactly the size comes without a terminator
  amt_frame_get_string(&request, ATOM_ADDRESS, address, AMT_WIFI_ADDRESS_SIZE);
  if (amt_write_wifi_address(address) != ERR_NONE) return fail("write error");
  LOG_LINE("Write WIFI address: %s", address);
  pub_util_run_command("chmod -R 555 /amt/WIFI");
  LOG_LINE("path = %s change to chmod -R 555", ADDRESS_FOLDER);
  return ERR_NONE;
}

// The error line names the Bluetooth operation: field tools look for the text as it always was.
std::int32_t check_connectivity(const amt_frame_st&, amt_frame_st&) {
  const amt_hwt_step_st step{&k_log, __LINE__, HANDLER, "wifi connectivity check", "hwt_btCtrl"};
  return amt_device_call_hwt(step, hwt_wifiCheck);
}

// Index = operation.
constexpr std::int32_t (*OPERATIONS[])(const amt_frame_st& request, amt_frame_st& response) = {
    read_address,
    write_address,
    check_connectivity,
};

}  // namespace

std::int32_t amt_device_wifi_address(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  amt_handle_start_rsp(response, RESPONSE_ID);
  const std::uint32_t type = amt_frame_get_int(&request->m_buf_a, ATOM_OPERATION);
  LOG_LINE("amt_device_wifi_address op_type:%d", static_cast<int>(type));
  if (type >= std::size(OPERATIONS)) {
    LOG_FAILURE(ERR_ARGUMENT);
    LOG_LINE("unknown operation: %d", static_cast<int>(type));
    return ERR_ARGUMENT;
  }
  const std::int32_t result = OPERATIONS[type](request->m_buf_a, response->m_buf_a);
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}
