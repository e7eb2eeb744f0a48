#include "amt/amt-device/battery.h"

#include "amt/amt-device/log-module.h"
#include "amt/amt-device/misc-library.h"
#include "pub/result.h"

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
