// Battery and charging.
#pragma once

#include <cstdint>

enum amt_charge_mode_en : std::int32_t {
  AMT_CHARGE_NOT_VALID = 0,  // or any other value: the supply cannot be told yet
  AMT_CHARGE_AC = 1,         // wall supply
  AMT_CHARGE_USB = 2,        // a USB host
};

// Charges from USB (1) or not (0). The board library's result; ERR_ARGUMENT for a negative type; ERR_SYSTEM when the
// library cannot be used.
std::int32_t amt_usb_charge_ctrl(std::int32_t type);

// What the phone is fed by, an amt_charge_mode_en. 0, or ERR_SYSTEM with *mode 0.
std::int32_t amt_get_charge_mode(std::int32_t* mode);

// The system-sanity flag: whether the software was downloaded completely. 0, or ERR_SYSTEM with *flag 0.
std::int32_t amt_boot_dl_fin_read(std::int32_t* flag);
