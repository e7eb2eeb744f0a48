// Battery and charging.
#pragma once

#include <cstdint>

#include "amt/amt-convert/frame.h"
#include "pub/result.h"

enum amt_charge_mode_en : std::int32_t {
  AMT_CHARGE_NOT_VALID = 0,  // or any other value: the supply is not known yet
  AMT_CHARGE_AC = 1,         // wall supply
  AMT_CHARGE_USB = 2,        // a USB host
};

// Request 9 of the test application: answered with the voltage, in the unit of the battery driver.
result_code_en amt_device_battery_voltage(std::uint8_t link, amt_message_st* request, amt_message_st* response);
// PC requests 224, which reads the battery's ADC, and 226, which calibrates it.
result_code_en amt_device_battery_voltage_check(std::uint8_t link, amt_message_st* request, amt_message_st* response);

// The ADC value of the battery, which the driver is first asked to prepare. 0 or ERR_FAIL.
result_code_en amt_read_adc(std::uint32_t* value);
// Charges from USB (1) or not (0). The board library's result; ERR_ARGUMENT for a negative type; ERR_SYSTEM when the
// library cannot be used.
result_code_en amt_usb_charge_ctrl(std::int32_t type);

// What powers the phone, an amt_charge_mode_en. 0, or ERR_SYSTEM with *mode 0.
result_code_en amt_get_charge_mode(std::int32_t* mode);

// The system-sanity flag: whether the software was downloaded completely. 0, or ERR_SYSTEM with *flag 0.
result_code_en amt_boot_dl_fin_read(std::int32_t* flag);
