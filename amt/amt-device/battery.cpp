#include "amt/amt-device/battery.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "amt/amt-device/device.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-device/misc-library.h"
#include "amt/amt-device/shell.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-record/record.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr char VOLTAGE_FILE[] = "/sys/class/power_supply/battery/voltage_now";
constexpr char DRIVER_NODE[] = "/proc/driver/zelta_battery";
constexpr char CALIBRATION_RECORD[] = "/amt/vbatt";
constexpr char PREPARE_COMMAND[] = "echo \"amt_get_vbatt\" > /proc/driver/zelta_battery";
constexpr std::uint32_t PREPARE_PAUSE_MS = 20;

constexpr std::uint8_t READ_ADC_ID = 224;
constexpr std::uint8_t WRITE_ADC_ID = 226;
constexpr std::uint8_t ATOM_VOLTAGE = 5;
constexpr std::uint8_t ATOM_CALIBRATION = 146;  // and the three behind it
constexpr std::uint8_t ATOM_ADC = 151;

std::int32_t answer_adc(amt_message_st* response) {
  amt_handle_start_rsp(response, READ_ADC_ID + 1);
  std::uint32_t value = 0;
  const std::int32_t result = amt_read_adc(&value);
  if (result == ERR_NONE) amt_frame_add_int(&response->m_buf_a, ATOM_ADC, value);
  return result;
}

// The record is written before the driver is told: the driver reads it again at the phone's next start.
std::int32_t calibrate_adc(const amt_message_st* request, amt_message_st* response) {
  amt_handle_start_rsp(response, WRITE_ADC_ID + 1);
  std::array<std::int32_t, 4> value;
  for (std::size_t i = 0; i < value.size(); ++i) {
    value[i] = static_cast<std::int32_t>(
        amt_frame_get_int(&request->m_buf_a, static_cast<std::uint8_t>(ATOM_CALIBRATION + i)));
  }
  const std::int32_t result = amt_write_adc_diff_value(value[0], value[1], value[2], value[3]);
  if (result != ERR_NONE) return result;

  // Values that do not fit the command are cut with it; the record holds them whole.
  const amt_device_command command("echo \"amt_set_vbatt[%d] [%d] [%d] [%d]\" > %s", value[0], value[1], value[2],
                                   value[3], DRIVER_NODE);
  const int status = pub_util_run_command(command.text());
  LOG_LINE("%s", command.text());
  if (status < 0) LOG_SYS_CALL("system");
  return ERR_NONE;
}

}  // namespace

std::int32_t amt_device_battery_voltage(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  std::int32_t voltage = 0;
  const std::int32_t result = amt_device_read_number(__func__, VOLTAGE_FILE, &voltage);
  if (result != ERR_NONE) return result;
  LOG_LINE("battery_voltage: %d", voltage);
  amt_handle_start_rsp(response, 10);
  amt_frame_add_int(&response->m_buf_a, ATOM_VOLTAGE, static_cast<std::uint32_t>(voltage));
  return amt_device_finish_bare_rsp(link, response);
}

std::int32_t amt_device_battery_voltage_check(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  const std::uint8_t id = amt_frame_command_id(&request->m_buf_a);
  std::int32_t result = ERR_FAIL;
  if (id == READ_ADC_ID) {
    result = answer_adc(response);
  } else if (id == WRITE_ADC_ID) {
    result = calibrate_adc(request, response);
  } else {
    LOG_FAILURE(ERR_FAIL);
    LOG_LINE("Invalid command id[%d]", id);
  }
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}

std::int32_t amt_read_adc(std::uint32_t* value) {
  LOG_ENTRY();
  if (value == nullptr) {
    LOG_FAILURE(ERR_FAIL);
    LOG_LINE("Null pointer.");
    return ERR_FAIL;
  }
  if (amt_device_do_command(PREPARE_COMMAND) != ERR_NONE) return ERR_FAIL;
  pub_util_sleep_ms(PREPARE_PAUSE_MS);
  const pub_file node = pub_util_fopen(DRIVER_NODE, "r");
  if (!node) return amt_device_fail_sys_call(__func__, "fopen");
  const int count = std::fscanf(node.get(), "%u", value);
  LOG_LINE("ADC value: %u", *value);
  return count == 1 ? ERR_NONE : amt_device_fail_sys_call(__func__, "fscanf");
}

std::int32_t amt_write_adc_diff_value(std::int32_t value1, std::int32_t value2, std::int32_t value3,
                                      std::int32_t value4) {
  LOG_ENTRY();
  pub_file record = pub_util_fopen(CALIBRATION_RECORD, "w");
  if (!record) return amt_device_fail_sys_call(__func__, "fopen");
  char text[80];
  std::snprintf(text, sizeof text, "amt_set_vbatt[%d] [%d] [%d] [%d]", value1, value2, value3, value4);
  int error = 0;
  const bool is_written = amt_finish_record(std::move(record), text, [&](bool) {
    error = errno;
    LOG_LINE("SAVA ADC value: %d %d %d %d", value1, value2, value3, value4);
  });
  if (is_written) return ERR_NONE;
  errno = error;
  return amt_device_fail_sys_call(__func__, "fprintf");
}

std::int32_t amt_usb_charge_ctrl(std::int32_t type) {
  LOG_LINE("will call amt_usb_charger_enable , type:%d.", type);
  if (type < 0) {
    LOG_FAILURE(ERR_ARGUMENT);
    LOG_LINE("parameter type(%d) is not valid.", type);
    return ERR_ARGUMENT;
  }
  return amt_device_call_misc<int(int)>(__func__, "amt_usb_charger_enable", [type](auto* enable) {
    LOG_LINE("will call amt_usb_charger_enable.");
    const int result = enable(type);
    LOG_LINE("stop call amt_usb_charger_enable. return value:%d.", result);
    if (result == 0) LOG_LINE("amt_usb_charger_enable return OK.");
    return result;
  });
}

std::int32_t amt_get_charge_mode(std::int32_t* mode) {
  *mode = 0;
  LOG_ENTRY();
  return amt_device_call_misc<int()>(__func__, "IsChargeState", [mode](auto* is_charge_state) {
    LOG_LINE("will call IsChargeState.");
    *mode = is_charge_state();
    LOG_LINE("stop call IsChargeState. return value:%d.", *mode);
    return ERR_NONE;
  });
}

std::int32_t amt_boot_dl_fin_read(std::int32_t* flag) {
  *flag = 0;
  LOG_LINE("amt_boot_dl_fin_read start.");
  return amt_device_call_misc<int()>(__func__, "amt_check_system_sanity", [flag](auto* check) {
    LOG_LINE("will call amt_check_system_sanity.");
    *flag = check();
    LOG_LINE("stop call amt_check_system_sanity. return value:%d.", *flag);
    return ERR_NONE;
  });
}
