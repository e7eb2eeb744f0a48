#include "amt/amt-device/wifi.h"

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-device/radio.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-record/wifi-address.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr char ADDRESS_FOLDER[] = "/amt/WIFI";

result_code_en read_address(const pub_log_site& site, const amt_frame_st&, amt_frame_st& response) {
  char address[AMT_WIFI_ADDRESS_SIZE] = {};
  if (amt_read_wifi_address(address, sizeof address) != ERR_NONE) return pub_fail(site, ERR_FAIL, "read error");
  LOG_LINE("read WIFI address: %s", address);
  amt_frame_add_string(&response, AMT_ATOM_WIFI_ADDRESS, address);
  return ERR_NONE;
}

result_code_en write_address(const pub_log_site& site, const amt_frame_st& request, amt_frame_st&) {
  char address[AMT_WIFI_ADDRESS_SIZE + 1] = {};  // a text of exactly the size comes without a terminator
  amt_frame_get_string(&request, AMT_ATOM_WIFI_ADDRESS, address, AMT_WIFI_ADDRESS_SIZE);
  if (amt_write_wifi_address(address) != ERR_NONE) return pub_fail(site, ERR_FAIL, "write error");
  LOG_LINE("Write WIFI address: %s", address);
  pub_util_run_command("chmod -R 555 /amt/WIFI");
  LOG_LINE("path = %s change to chmod -R 555", ADDRESS_FOLDER);
  return ERR_NONE;
}

result_code_en check_connectivity(const pub_log_site& site, const amt_frame_st&, amt_frame_st&) {
  return amt_radio_check_wifi(site);
}

// Index = operation.
constexpr result_code_en (*OPERATIONS[])(const pub_log_site& site, const amt_frame_st& request,
                                         amt_frame_st& response) = {
    read_address,
    write_address,
    check_connectivity,
};

}  // namespace

result_code_en amt_device_wifi_address(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  amt_handle_start_rsp(response, AMT_WIFI_TEST_RSPCMD);
  const std::uint32_t type = amt_frame_get_int(&request->m_buf_a, AMT_ATOM_WIFI_OPERATION);
  LOG_LINE("amt_device_wifi_address op_type:%d", static_cast<int>(type));
  if (type >= std::size(OPERATIONS)) {
    return pub_fail(k_log, ERR_ARGUMENT, "unknown operation: %d", static_cast<int>(type));
  }
  const result_code_en result = OPERATIONS[type](k_log, request->m_buf_a, response->m_buf_a);
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}
