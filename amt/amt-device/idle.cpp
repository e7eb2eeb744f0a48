#include "amt/amt-device/idle.h"

#include "amt/amt-device/log-module.h"
#include "amt/amt-device/misc-library.h"

std::int32_t amt_make_ue_enter_idle() {
  LOG_ENTRY();
  return amt_device_call_misc<int()>(__func__, "enter_idle", [](auto* enter_idle) {
    LOG_LINE("will call enter_idle.");
    const int result = enter_idle();
    LOG_LINE("stop call enter_idle. return value:%d.", result);
    if (result == 0) LOG_LINE("enter_idle return OK.");
    return result;
  });
}
