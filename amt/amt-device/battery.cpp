#include "amt/amt-device/battery.h"

#include <array>
#include <cerrno>
#include <cstdio>

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/device.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-device/misc-library.h"
#include "amt/amt-device/shell.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "amt/amt-record/calibration.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr char VOLTAGE_FILE[] = "/sys/class/power_supply/battery/voltage_now";
constexpr char DRIVER_NODE[] = "/proc/driver/zelta_battery";
constexpr char PREPARE_COMMAND[] = "echo \"amt_get_vbatt\" > /proc/driver/zelta_battery";
constexpr std::uint32_t PREPARE_PAUSE_MS = 20;

result_code_en answer_adc(amt_message_st* response) {
  amt_handle_start_rsp(response, AMT_READ_VBATT_ADC_RSPCMD);
  std::uint32_t value = 0;
  const result_code_en result = amt_read_adc(&value);
  if (result == ERR_NONE) amt_frame_add_int(&response->m_buf_a, AMT_ATOM_ADC, value);
  return result;
}

// The record is written before the driver gets the values: the driver reads the record at the phone's next start.
result_code_en calibrate_adc(const amt_message_st* request, amt_message_st* response) {
  amt_handle_start_rsp(response, AMT_WRITE_VBATT_ADC_RSPCMD);
  static constexpr std::uint8_t CALIBRATION_ATOMS[] = {AMT_ATOM_CALIBRATION_1, AMT_ATOM_CALIBRATION_2,
                                                       AMT_ATOM_CALIBRATION_3, AMT_ATOM_CALIBRATION_4};
  std::array<std::int32_t, std::size(CALIBRATION_ATOMS)> value;
  for (std::size_t i = 0; i < value.size(); ++i) {
    value[i] = static_cast<std::int32_t>(amt_frame_get_int(&request->m_buf_a, CALIBRATION_ATOMS[i]));
  }
  const result_code_en result = amt_write_adc_diff_value(value[0], value[1], value[2], value[3]);
  if (result != ERR_NONE) return result;

  // Values that do not fit the command are cut with it; the record holds them whole.
  const amt_device_command command("echo \"amt_set_vbatt[%d] [%d] [%d] [%d]\" > %s", value[0], value[1], value[2],
                                   value[3], DRIVER_NODE);
  const int status = pub_util_run_command(command.text());
  LOG_LINE("%s", command.text());
  if (status < 0) pub_log_sys_call(k_log, "system");
  return ERR_NONE;
}

}  // namespace

result_code_en amt_device_battery_voltage(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  std::int32_t voltage = 0;
  const result_code_en result = amt_device_read_number(k_log, VOLTAGE_FILE, &voltage);
  if (result != ERR_NONE) return result;
  LOG_LINE("battery_voltage: %d", voltage);
  amt_handle_start_rsp(response, AMT_READ_BATTERY_RSPCMD);
  amt_frame_add_int(&response->m_buf_a, AMT_ATOM_VOLTAGE, static_cast<std::uint32_t>(voltage));
  return amt_device_finish_bare_rsp(link, response);
}

result_code_en amt_device_battery_voltage_check(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const std::uint8_t id = amt_frame_command_id(&request->m_buf_a);
  result_code_en result = ERR_FAIL;
  if (id == AMT_READ_VBATT_ADC_CMD) {
    result = answer_adc(response);
  } else if (id == AMT_WRITE_VBATT_ADC_CMD) {
    result = calibrate_adc(request, response);
  } else {
    pub_log_failure(k_log, ERR_FAIL, "Invalid command id[%d]", id);
  }
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}

result_code_en amt_read_adc(std::uint32_t* value) {
  pub_log_entry(k_log);
  if (value == nullptr) return pub_fail(k_log, ERR_FAIL, "Null pointer.");
  if (amt_device_do_command(PREPARE_COMMAND) != ERR_NONE) return ERR_FAIL;
  pub_util_sleep_ms(PREPARE_PAUSE_MS);
  const pub_file node = pub_util_fopen(DRIVER_NODE, "r");
  if (!node) return amt_device_fail_sys_call(k_log, "fopen");
  const int count = pub_util_scan_number(node.get(), value);
  LOG_LINE("ADC value: %u", *value);
  return count == 1 ? ERR_NONE : amt_device_fail_sys_call(k_log, "fscanf");
}

result_code_en amt_usb_charge_ctrl(std::int32_t type) {
  LOG_LINE("will call amt_usb_charger_enable , type:%d.", type);
  if (type < 0) return pub_fail(k_log, ERR_ARGUMENT, "parameter type(%d) is not valid.", type);
  return amt_device_call_misc<int(int)>(__func__, "amt_usb_charger_enable", [type](auto* enable) {
    LOG_LINE("will call amt_usb_charger_enable.");
    const int result = enable(type);
    LOG_LINE("stop call amt_usb_charger_enable. return value:%d.", result);
    if (result == 0) LOG_LINE("amt_usb_charger_enable return OK.");
    return result;
  });
}

result_code_en amt_get_charge_mode(std::int32_t* mode) {
  *mode = 0;
  pub_log_entry(k_log);
  return amt_device_call_misc<int()>(__func__, "IsChargeState", [mode](auto* is_charge_state) {
    LOG_LINE("will call IsChargeState.");
    *mode = is_charge_state();
    LOG_LINE("stop call IsChargeState. return value:%d.", *mode);
    return ERR_NONE;
  });
}

result_code_en amt_boot_dl_fin_read(std::int32_t* flag) {
  *flag = 0;
  LOG_LINE("amt_boot_dl_fin_read start.");
  return amt_device_call_misc<int()>(__func__, "amt_check_system_sanity", [flag](auto* check) {
    LOG_LINE("will call amt_check_system_sanity.");
    *flag = check();
    LOG_LINE("stop call amt_check_system_sanity. return value:%d.", *flag);
    return ERR_NONE;
  });
}
