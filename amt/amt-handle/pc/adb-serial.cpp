#include "amt/amt-handle/pc/adb-serial.h"

#include "amt/amt-convert/ids.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-record/serial-number.h"

namespace {

constexpr std::uint32_t OPERATION_WRITE = 1;
constexpr std::uint32_t LENGTH_LIMIT = AMT_ADB_SERIAL_SIZE - 1;

result_code_en write_serial(const pub_log_site& site, const amt_message_st* request) {
  const std::uint32_t length = amt_frame_get_int(&request->m_buf_a, AMT_ATOM_ADB_LENGTH);
  if (length == 0 || length > LENGTH_LIMIT) return pub_fail(site, ERR_FAIL, "Invalid adb serial number length!");
  char serial[AMT_ADB_SERIAL_SIZE] = {};
  amt_frame_get_string(&request->m_buf_a, AMT_ATOM_ADB_SERIAL, serial, length + 1);
  serial[length] = '\0';  // a value one character longer than stated fills the room
  return amt_write_adb_serial(site, serial);
}

result_code_en read_serial(const pub_log_site& site, amt_message_st* response) {
  char serial[AMT_ADB_SERIAL_SIZE];
  const result_code_en result = amt_read_adb_serial(site, serial);
  if (result == ERR_NONE) amt_frame_add_string(&response->m_buf_a, AMT_ATOM_ADB_SERIAL, serial);
  return result;
}

}  // namespace

result_code_en amt_handle_adb_serial_no(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  amt_handle_start_rsp(response, AMT_ADB_SERIAL_RSPCMD);
  const std::uint32_t operation = amt_frame_get_int(&request->m_buf_a, AMT_ATOM_ADB_OPERATION);
  if (operation > OPERATION_WRITE) {
    return pub_fail(k_log, ERR_ARGUMENT, "unknown operation: %d", static_cast<int>(operation));
  }
  const result_code_en result =
      operation == OPERATION_WRITE ? write_serial(k_log, request) : read_serial(k_log, response);
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}
