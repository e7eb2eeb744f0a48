#include "amt/amt-device/bluetooth.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-device/radio.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/life/lifetime.h"
#include "amt/amt-record/bt-address.h"
#include "amt/amt-record/record.h"

namespace {

result_code_en read_address(const pub_log_site& site, const amt_frame_st&, amt_frame_st& response) {
  char address[AMT_BT_ADDRESS_SIZE];
  const result_code_en result = amt_read_bt_address(site, address);
  if (result == ERR_NONE) amt_frame_add_string(&response, AMT_ATOM_BT_ADDRESS, address);
  return result;
}

// Takes a text without a NUL that fits into its room with a terminator. False for any other.
bool take_address(const amt_frame_st& request, char (&address)[AMT_BT_ADDRESS_SIZE]) {
  const std::size_t wanted = amt_frame_get_string(&request, AMT_ATOM_BT_ADDRESS, nullptr, 0);
  const std::size_t count = amt_frame_get_string(&request, AMT_ATOM_BT_ADDRESS, address, sizeof address);
  return count > 0 && wanted <= sizeof address && std::strlen(address) == count;
}

result_code_en write_address(const pub_log_site& site, const amt_frame_st& request, amt_frame_st&) {
  pub_file file = amt_open_bt_address(site);
  if (!file) return ERR_SYSTEM;
  char address[AMT_BT_ADDRESS_SIZE] = {};
  if (take_address(request, address)) return amt_finish_bt_address(site, std::move(file), address);
  pub_log_failure(site, ERR_ARGUMENT, "unknown BT address");
  file.reset();
  amt_flush_records();
  return ERR_ARGUMENT;
}

result_code_en check_hardware(const pub_log_site& site, const amt_frame_st&, amt_frame_st&) {
  return amt_radio_check_bt(site);
}

result_code_en switch_off(const pub_log_site& site, const amt_frame_st&, amt_frame_st&) {
  return amt_radio_switch_bt({site, "BT-start close"}, 0);
}

result_code_en switch_on(const pub_log_site& site, const amt_frame_st&, amt_frame_st&) {
  return amt_radio_switch_bt({site, "BT-start open"}, 1);
}

struct operation_st {
  std::int32_t m_type;
  result_code_en (*m_run)(const pub_log_site& site, const amt_frame_st& request, amt_frame_st& response);
};

constexpr operation_st OPERATIONS[] = {
    {1, read_address}, {2, write_address}, {3, check_hardware}, {10, switch_off}, {11, switch_on},
};

result_code_en run_operation(const pub_log_site& site, std::int32_t type, const amt_frame_st& request,
                             amt_frame_st& response) {
  const auto* operation = std::find_if(std::begin(OPERATIONS), std::end(OPERATIONS),
                                       [type](const operation_st& row) { return row.m_type == type; });
  if (operation != std::end(OPERATIONS)) return operation->m_run(site, request, response);
  return pub_fail(site, ERR_ARGUMENT, "unknown operation: %d", type);
}

result_code_en fail_bt(const pub_log_site& site) {
  return pub_fail(site, ERR_SYSTEM, "error to exec: hciattach");
}

result_code_en switch_on_in_child(const pub_log_site& site, std::uint8_t link, amt_message_st* response) {
  if (amt_radio_switch_bt({site, "BT-start"}, 1) != ERR_NONE) return fail_bt(site);
  return amt_handle_send_rsp_ok(link, response, AMT_BLUETOOTH_RSPCMD);
}

}  // namespace

result_code_en amt_device_bt(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  amt_handle_get_run_mode();  // asked for and ignored: Bluetooth is switched on in the same way in every run mode
  const pid_t child = amt_handle_fork();
  if (child < 0) return fail_bt(k_log);
  if (child == 0) return switch_on_in_child(k_log, link, response);
  return amt_handle_send_rsp_ok(link, response, AMT_BLUETOOTH_RSPCMD);
}

result_code_en amt_device_bt_address(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  amt_handle_start_rsp(response, AMT_BLUETOOTH_ADDRESS_RSPCMD);
  const auto type = static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, AMT_ATOM_BT_OPERATION));
  LOG_LINE("amt_device_bt_address op_type:%d", type);
  const result_code_en result = run_operation(k_log, type, request->m_buf_a, response->m_buf_a);
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}
