#include "amt/amt-handle/channel/registrations.h"

#include "amt/amt-device/audio.h"
#include "amt/amt-device/battery.h"
#include "amt/amt-device/bluetooth.h"
#include "amt/amt-device/camera.h"
#include "amt/amt-device/card.h"
#include "amt/amt-device/dev-info.h"
#include "amt/amt-device/display.h"
#include "amt/amt-device/idle.h"
#include "amt/amt-device/wifi.h"
#include "amt/amt-gps.h"
#include "amt/amt-handle/modem/version.h"
#include "amt/amt-handle/pc/amt1-flag.h"
#include "amt/amt-handle/pc/boot-download.h"
#include "amt/amt-handle/pc/software-version.h"

namespace {

constexpr amt_registration_st REGISTRATIONS[] = {
    {AMT_LINK_PC, 45, handle_amt_pc_req_version},
    {AMT_LINK_PC, 170, amt_device_bt},
    {AMT_LINK_PC, 172, amt_device_bt_address},
    {AMT_LINK_PC, 185, amt_device_wifi_address},
    {AMT_LINK_PC, 187, amt_device_wifi_rtx_test},
    {AMT_LINK_PC, 174, amt_gps_control},
    {AMT_LINK_PC, 176, amt_gps_test},
    {AMT_LINK_PC, 178, amt_gps_read_result},
    {AMT_LINK_PC, 224, amt_device_battery_voltage_check},
    {AMT_LINK_PC, 226, amt_device_battery_voltage_check},
    {AMT_LINK_PC, 236, amt_handle_power_off},
    {AMT_LINK_PC, 219, amt_handle_not_permit_handshake},
    {AMT_LINK_PC, 240, amt_enter_idle},
    {AMT_LINK_PC, 244, amt_modem_boot_dl_fin_read},
    {AMT_LINK_APP, 9, amt_device_battery_voltage},
    {AMT_LINK_APP, 29, amt_device_lcd_color},
    {AMT_LINK_APP, 31, amt_device_audio_loop},
    {AMT_LINK_APP, 33, amt_device_audio},
    {AMT_LINK_APP, 35, amt_device_vibrator},
    {AMT_LINK_APP, 37, amt_device_button_backlight},
    {AMT_LINK_APP, 57, amt_device_lcd_brightness},
    {AMT_LINK_APP, 137, amt_device_tf_card},
    {AMT_LINK_APP, 139, amt_device_camera},
    {AMT_LINK_APP, 147, amt_device_camera},
    {AMT_LINK_APP, 170, amt_device_bt},
    {AMT_LINK_APP, 172, amt_device_bt_address},
    {AMT_LINK_APP, 185, amt_device_wifi_address},
    {AMT_LINK_APP, 174, amt_gps_control},
    {AMT_LINK_APP, 176, amt_gps_test},
    {AMT_LINK_APP, 178, amt_gps_read_result},
    {AMT_LINK_APP, 180, amt_device_camera_control},
    {AMT_LINK_APP, 187, amt_device_wifi_rtx_test},
    {AMT_LINK_APP, 238, amt_read_dev_info},
    {AMT_LINK_APP, 240, amt_enter_idle},
};

}  // namespace

std::span<const amt_registration_st> amt_handle_registrations() {
  return REGISTRATIONS;
}
