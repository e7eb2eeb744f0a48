#include "amt/amt-handle/service/registrations.h"

#include <array>

#include "amt/amt-device/audio.h"
#include "amt/amt-device/battery.h"
#include "amt/amt-device/bluetooth.h"
#include "amt/amt-device/camera.h"
#include "amt/amt-device/card.h"
#include "amt/amt-device/dev-info.h"
#include "amt/amt-device/display.h"
#include "amt/amt-device/gps.h"
#include "amt/amt-device/idle.h"
#include "amt/amt-device/wifi.h"
#include "amt/amt-handle/modem/checks.h"
#include "amt/amt-handle/modem/forward.h"
#include "amt/amt-handle/modem/identity.h"
#include "amt/amt-handle/modem/mode.h"
#include "amt/amt-handle/modem/test-result.h"
#include "amt/amt-handle/modem/version.h"
#include "amt/amt-handle/pc/adb-serial.h"
#include "amt/amt-handle/pc/amt1-flag.h"
#include "amt/amt-handle/pc/boot-download.h"
#include "amt/amt-handle/pc/pcba-sn.h"
#include "amt/amt-handle/pc/software-version.h"

namespace {

constexpr amt_registration_st PC_HANDLERS[] = {
    {AMT_LINK_PC, 45, handle_amt_pc_req_version},
    {AMT_LINK_PC, 170, amt_device_bt},
    {AMT_LINK_PC, 172, amt_device_bt_address},
    {AMT_LINK_PC, 185, amt_device_wifi_address},
    {AMT_LINK_PC, 187, amt_device_wifi_rtx_test},
    {AMT_LINK_PC, 174, amt_gps_control},
    {AMT_LINK_PC, 176, amt_gps_test},
    {AMT_LINK_PC, 178, amt_gps_read_result},
    {AMT_LINK_PC, 191, amt_handle_adb_serial_no},
    {AMT_LINK_PC, 224, amt_device_battery_voltage_check},
    {AMT_LINK_PC, 226, amt_device_battery_voltage_check},
    {AMT_LINK_PC, 236, amt_handle_power_off},
    {AMT_LINK_PC, 193, amt_handle_board_pcba_ctrl},
    {AMT_LINK_PC, 219, amt_handle_not_permit_handshake},
    {AMT_LINK_PC, 240, amt_enter_idle},
    {AMT_LINK_PC, 91, amt_modem_write_pc_test_result},
    {AMT_LINK_PC, 244, amt_modem_boot_dl_fin_read},
};

// Radio requests of the application, which only the modem understands. 42 is an answer's id and is forwarded all the
// same; 219 is taken over by the last row below, which registers it once more.
constexpr std::uint8_t FORWARDED_IDS[] = {
    1,   3,   5,   11,  13,  15,  17,  19,  21,  23,  25,  27,  39,  41,  42,  43,  47,  49,  51,  53,  59,  61,  63,
    67,  69,  71,  73,  75,  77,  79,  81,  83,  87,  93,  95,  97,  101, 103, 105, 107, 109, 111, 113, 115, 117, 119,
    121, 123, 125, 127, 129, 131, 133, 135, 149, 151, 153, 155, 201, 204, 205, 207, 209, 211, 213, 219, 221,
};

constexpr amt_registration_st APP_HANDLERS[] = {
    {AMT_LINK_APP, 7, amt_modem_handle_read_imei},
    {AMT_LINK_APP, 9, amt_device_battery_voltage},
    {AMT_LINK_APP, 29, amt_device_lcd_color},
    {AMT_LINK_APP, 31, amt_device_audio_loop},
    {AMT_LINK_APP, 33, amt_device_audio},
    {AMT_LINK_APP, 35, amt_device_vibrator},
    {AMT_LINK_APP, 37, amt_device_button_backlight},
    {AMT_LINK_APP, 45, handle_amt_req_version},
    {AMT_LINK_APP, 55, amt_modem_handle_temperature},
    {AMT_LINK_APP, 57, amt_device_lcd_brightness},
    {AMT_LINK_APP, 65, amt_modem_handle_read_outdate},
    {AMT_LINK_APP, 85, amt_modem_handle_read_board},
    {AMT_LINK_APP, 89, amt_modem_read_test_result},
    {AMT_LINK_APP, 91, amt_modem_write_test_result},
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
    {AMT_LINK_APP, 228, amt_item_read_test_result},
    {AMT_LINK_APP, 230, amt_item_write_test_result},
    {AMT_LINK_APP, 187, amt_device_wifi_rtx_test},
    {AMT_LINK_APP, 232, amt_at_to_modem},
    {AMT_LINK_APP, 99, amt_dtoc_checkSIM},
    {AMT_LINK_APP, 234, amt_read_serial_number},
    {AMT_LINK_APP, 238, amt_read_dev_info},
    {AMT_LINK_APP, 240, amt_enter_idle},
    {AMT_LINK_APP, 195, amt_handle_normal_to_amt},
    {AMT_LINK_APP, 197, amt_query_amt_support},
    {AMT_LINK_APP, 219, amt_handle_damt1_cmd},
};

constexpr std::size_t ROW_COUNT = std::size(PC_HANDLERS) + std::size(FORWARDED_IDS) + std::size(APP_HANDLERS);

constexpr std::array<amt_registration_st, ROW_COUNT> make_registrations() {
  std::array<amt_registration_st, ROW_COUNT> rows{};
  std::size_t count = 0;
  for (const auto& row : PC_HANDLERS) rows[count++] = row;
  for (const std::uint8_t id : FORWARDED_IDS) rows[count++] = {AMT_LINK_APP, id, amt_modem_handle_req};
  for (const auto& row : APP_HANDLERS) rows[count++] = row;
  return rows;
}

constexpr auto REGISTRATIONS = make_registrations();
static_assert(std::size(PC_HANDLERS) == 17);
static_assert(std::size(FORWARDED_IDS) == 67);
static_assert(std::size(FORWARDED_IDS) + std::size(APP_HANDLERS) == 102);

}  // namespace

std::span<const amt_registration_st> amt_handle_registrations() {
  return REGISTRATIONS;
}
