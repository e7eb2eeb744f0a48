#include "amt/amt-device/bluetooth.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include "amt/amt-device/device.h"
#include "amt/amt-device/hwt-call.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/life/lifetime.h"
#include "amt/amt-record/record.h"
#include "platform/hwt.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/process.h"

namespace {

constexpr char ADDRESS_FILE[] = "/amt/BT/BT_Address.txt";
constexpr char ADDRESS_FOLDER[] = "/amt/BT";
constexpr std::size_t ADDRESS_SIZE = 60;  // 59 characters and the terminator

constexpr std::uint8_t BT_RESPONSE_ID = 171;
constexpr std::uint8_t ADDRESS_RESPONSE_ID = 173;
constexpr std::uint8_t ATOM_OPERATION = 110;
constexpr std::uint8_t ATOM_ADDRESS = 111;

constexpr char ADDRESS_HANDLER[] = "amt_device_bt_address";

pub_file open_address(const char* mode, std::int32_t code) {
  pub_file file = pub_util_fopen(ADDRESS_FILE, mode);
  if (!file) {
    const int error = errno;
    LOG_FAILURE_OF(ADDRESS_HANDLER, code);
    LOG_LINE("open(\"%s\") fail: %d - %s", ADDRESS_FILE, error, std::strerror(error));
  }
  return file;
}

std::int32_t read_address(const amt_frame_st&, amt_frame_st& response) {
  const pub_file file = open_address("r", ERR_ARGUMENT);
  if (!file) return ERR_ARGUMENT;
  char address[ADDRESS_SIZE] = {};
  if (std::fscanf(file.get(), "%59s", address) != 1) {
    LOG_FAILURE_OF(ADDRESS_HANDLER, ERR_FAIL);
    LOG_LINE("read not completed");
    return ERR_FAIL;
  }
  LOG_LINE("read BT address: %s", address);
  amt_frame_add_string(&response, ATOM_ADDRESS, address);
  return ERR_NONE;
}

// Text without a NUL that fits its room with a terminator.
bool take_address(const amt_frame_st& request, char (&address)[ADDRESS_SIZE]) {
  const std::size_t wanted = amt_frame_get_string(&request, ATOM_ADDRESS, nullptr, 0);
  const std::size_t count = amt_frame_get_string(&request, ATOM_ADDRESS, address, sizeof address);
  return count > 0 && wanted <= sizeof address && std::strlen(address) == count;
}

void report_write(bool is_written, const char* address) {
  if (!is_written) {
    LOG_FAILURE_OF(ADDRESS_HANDLER, ERR_SYSTEM);
    LOG_LINE("fputs() fail");
    return;
  }
  LOG_LINE("write BT address: %s", address);
  pub_util_run_command("chmod -R 555 /amt/BT");
  LOG_LINE("path = %s change to chmod -R 555", ADDRESS_FOLDER);
}

std::int32_t write_address(const amt_frame_st& request, amt_frame_st&) {
  pub_file file = open_address("w+", ERR_SYSTEM);
  if (!file) return ERR_SYSTEM;
  char address[ADDRESS_SIZE] = {};
  if (!take_address(request, address)) {
    LOG_FAILURE_OF(ADDRESS_HANDLER, ERR_ARGUMENT);
    LOG_LINE("unknown BT address");
    file.reset();
    amt_flush_records();
    return ERR_ARGUMENT;
  }
  char line[ADDRESS_SIZE + 1];
  std::snprintf(line, sizeof line, "%s\n", address);
  const bool is_written =
      amt_finish_record(std::move(file), line, [&address](bool written) { report_write(written, address); });
  return is_written ? ERR_NONE : ERR_SYSTEM;
}

std::int32_t check_hardware(const amt_frame_st&, amt_frame_st&) {
  const amt_hwt_step_st step{&k_log, __LINE__, ADDRESS_HANDLER, "BT hardware check", "hwt_btCheck"};
  return amt_device_call_hwt(step, hwt_btCheck);
}

std::int32_t switch_off(const amt_frame_st&, amt_frame_st&) {
  const amt_hwt_step_st step{&k_log, __LINE__, ADDRESS_HANDLER, "BT-start close", "hwt_btCtrl"};
  return amt_device_call_hwt(step, [] { return hwt_btCtrl(0); });
}

std::int32_t switch_on(const amt_frame_st&, amt_frame_st&) {
  const amt_hwt_step_st step{&k_log, __LINE__, ADDRESS_HANDLER, "BT-start open", "hwt_btCtrl"};
  return amt_device_call_hwt(step, [] { return hwt_btCtrl(1); });
}

struct operation_st {
  std::int32_t m_type;
  std::int32_t (*m_run)(const amt_frame_st& request, amt_frame_st& response);
};

constexpr operation_st OPERATIONS[] = {
    {1, read_address}, {2, write_address}, {3, check_hardware}, {10, switch_off}, {11, switch_on},
};

std::int32_t run_operation(std::int32_t type, const amt_frame_st& request, amt_frame_st& response) {
  const auto* operation = std::find_if(std::begin(OPERATIONS), std::end(OPERATIONS),
                                       [type](const operation_st& row) { return row.m_type == type; });
  if (operation != std::end(OPERATIONS)) return operation->m_run(request, response);
  LOG_FAILURE_OF(ADDRESS_HANDLER, ERR_ARGUMENT);
  LOG_LINE("unknown operation: %d", type);
  return ERR_ARGUMENT;
}

std::int32_t fail_bt() {
  LOG_FAILURE_OF("amt_device_bt", ERR_SYSTEM);
  LOG_LINE("error to exec: hciattach");
  return ERR_SYSTEM;
}

std::int32_t switch_on_in_child(std::uint8_t link, amt_message_st* response, pid_t forker) {
  amt_handle_become_child(forker);
  const amt_hwt_step_st step{&k_log, __LINE__, "amt_device_bt", "BT-start", "hwt_btCtrl"};
  if (amt_device_call_hwt(step, [] { return hwt_btCtrl(1); }) != ERR_NONE) return fail_bt();
  return amt_handle_send_rsp_ok(link, response, BT_RESPONSE_ID);
}

}  // namespace

std::int32_t amt_device_bt(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  amt_handle_get_run_mode();  // asked for and ignored: Bluetooth is switched on in the same way in every run mode
  const pid_t self = gettid();
  const pid_t child = pub_util_fork();
  if (child < 0) return fail_bt();
  if (child == 0) return switch_on_in_child(link, response, self);
  return amt_handle_send_rsp_ok(link, response, BT_RESPONSE_ID);
}

std::int32_t amt_device_bt_address(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  amt_handle_start_rsp(response, ADDRESS_RESPONSE_ID);
  const auto type = static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, ATOM_OPERATION));
  LOG_LINE("amt_device_bt_address op_type:%d", type);
  const std::int32_t result = run_operation(type, request->m_buf_a, response->m_buf_a);
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}
