#include "amt/amt-handle/service/registrations.h"

#include <array>

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/audio.h"
#include "amt/amt-device/battery.h"
#include "amt/amt-device/bluetooth.h"
#include "amt/amt-device/camera.h"
#include "amt/amt-device/card.h"
#include "amt/amt-device/dev-info.h"
#include "amt/amt-device/display.h"
#include "amt/amt-device/gps.h"
#include "amt/amt-device/idle.h"
#include "amt/amt-device/temperature.h"
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
#include "amt/amt-handle/pc/test-result.h"
#include "amt/amt-handle/pc/version.h"

namespace {

using enum amt_pre_response_en;

constexpr amt_registration_st PC_HANDLERS[] = {
    {AMT_LINK_PC, AMT_VERSION_CMD, handle_amt_pc_req_version, BY_HANDLER},
    {AMT_LINK_PC, AMT_BLUETOOTH_CMD, amt_device_bt},
    {AMT_LINK_PC, AMT_BLUETOOTH_ADDRESS_CMD, amt_device_bt_address},
    {AMT_LINK_PC, AMT_WIFI_TEST_CMD, amt_device_wifi_address},
    {AMT_LINK_PC, AMT_WIFI_RTX_TEST_CMD, amt_device_wifi_rtx_test},
    {AMT_LINK_PC, AMT_GPS_CONTROL_CMD, amt_gps_control},
    {AMT_LINK_PC, AMT_GPS_TEST_CMD, amt_gps_test},
    {AMT_LINK_PC, AMT_GPS_READ_RESULT_CMD, amt_gps_read_result},
    {AMT_LINK_PC, AMT_ADB_SERIAL_CMD, amt_handle_adb_serial_no},
    {AMT_LINK_PC, AMT_READ_VBATT_ADC_CMD, amt_device_battery_voltage_check},
    {AMT_LINK_PC, AMT_WRITE_VBATT_ADC_CMD, amt_device_battery_voltage_check},
    {AMT_LINK_PC, AMT_POWER_OFF_CMD, amt_handle_power_off},
    {AMT_LINK_PC, AMT_BOARD_PCBA_CTRL_CMD, amt_handle_board_pcba_ctrl},
    {AMT_LINK_PC, AMT_DAMT1_CMD, amt_handle_not_permit_handshake},
    {AMT_LINK_PC, AMT_ENTER_IDLE_CMD, amt_enter_idle},
    {AMT_LINK_PC, AMT_WRITE_TEST_RESULT_CMD, amt_modem_write_pc_test_result, BY_HANDLER},
    {AMT_LINK_PC, AMT_BOOT_DL_FIN_CMD, amt_modem_boot_dl_fin_read},
};

// Radio requests of the application, which only the modem understands. 42 is the id of an answer, but is forwarded,
// too; 219 is taken over by the last row below, which registers it once more.
constexpr std::uint8_t FORWARDED_IDS[] = {
    AMT_READFLASH_CMD,
    AMT_WRITEFLASH_CMD,
    AMT_WRITEIMEI_CMD,
    AMT_STARTTX_CMD,
    AMT_STOPTX_CMD,
    AMT_CHANGETXPOWER_CMD,
    AMT_CHANGETXFREQ_CMD,
    AMT_STARTRX_CMD,
    AMT_STOPRX_CMD,
    AMT_RXDATA_CMD,
    AMT_IQPOWER_CMD,
    AMT_CHANGERXFREQ_CMD,
    AMT_CHANGEMODE_CMD,
    AMT_KEYBOARD_CMD,
    AMT_KEYBOARD_RSPCMD,
    AMT_KEYVALUE_CMD,
    AMT_READTABLE_MEMORY_CMD,
    AMT_WRITETABLE_MEMORY_CMD,
    AMT_READ_BATTERYADC_CMD,
    AMT_WRITE_BATTERYADC_CMD,
    AMT_READ_RFADC_CMD,
    AMT_READTABLE_FLASH_CMD,
    AMT_WRITETABLE_FLASH_CMD,
    AMT_WRITE_OUTDATE_CMD,
    AMT_READ_FLUSHDATE_CMD,
    AMT_EXIT_CMD,
    AMT_WRITE_CONTROL_CMD,
    AMT_READ_CONTROL_CMD,
    AMT_IQSERIAL_CMD,
    AMT_IQCHECK_CMD,
    AMT_WRITE_GAININ_CMD,
    AMT_READ_GAININ_CMD,
    AMT_WRITE_BOARD_CMD,
    AMT_WRITE_VERSION_CMD,
    AMT_WRITE_MIC_PREAMP_CMD,
    AMT_READ_MIC_PREAMP_CMD,
    AMT_REFRESHTABLE_FLASH_CMD,
    AMT_GPIO_CMD,
    AMT_GSM_TRANSPARENT_CONTROL_CMD,
    AMT_GSM_READTABLE_FLASH_TO_MEMORY_CMD,
    AMT_GSM_READTABLE_FLAG_FLASH_CMD,
    AMT_GSM_REFRESHTABLE_MEMORY_TO_FLASH_CMD,
    AMT_GSM_READTABLE_MEMORY_CMD,
    AMT_GSM_WRITETABLE_MEMORY_CMD,
    AMT_DIAL_CMD,
    AMT_HUNGUP_CMD,
    AMT_SWITCH_MODE_CMD,
    AMT_WRITE_GAINOUT_CMD,
    AMT_READ_GAINOUT_CMD,
    AMT_WRITE_MIC_GAININ_CMD,
    AMT_READ_MIC_GAININ_CMD,
    AMT_SET_DEFAULT_ACCESS_TECH_CMD,
    AMT_WRITECARD_CMD,
    AMT_READCARD_CMD,
    AMT_NVRESUME_CMD,
    AMT_DSP_TRANSPARENT_CONTROL_CMD,
    AMT_EDGE_READTABLE_FLASH_TO_MEMORY_CMD,
    AMT_EDGE_REFRESHTABLE_MEMORY_TO_FLASH_CMD,
    CELL_SWITCH_MODE_CMD,
    CELL_RECIEVE_RSPDATA,
    CELL_READ_VERSION_CMD,
    CELL_READ_IDEN_CMD,
    CELL_SET_EXCEPTIONAL_RESET_CMD,
    CELL_QUERY_EXCEPTIONAL_RESET_CMD,
    CELL_CAMP_ON_CELL_CONTROL_CMD,
    AMT_DAMT1_CMD,
    AMT_DSP_TRANSPARENT_CONTROL_INDCMD,
};

constexpr amt_registration_st APP_HANDLERS[] = {
    {AMT_LINK_APP, AMT_READIMEI_CMD, amt_modem_handle_read_imei},
    {AMT_LINK_APP, AMT_READ_BATTERY_CMD, amt_device_battery_voltage},
    {AMT_LINK_APP, AMT_SHOWLCD_CMD, amt_device_lcd_color},
    {AMT_LINK_APP, AMT_AUDIOLOOP_CMD, amt_device_audio_loop},
    {AMT_LINK_APP, AMT_BELL_CMD, amt_device_audio},
    {AMT_LINK_APP, AMT_VIBRATION_CMD, amt_device_vibrator},
    {AMT_LINK_APP, AMT_BACKLIGHT_CMD, amt_device_button_backlight},
    {AMT_LINK_APP, AMT_VERSION_CMD, handle_amt_req_version},
    {AMT_LINK_APP, AMT_TEMPERATURE_CMD, amt_modem_handle_temperature},
    {AMT_LINK_APP, AMT_LCDLIGHT_CMD, amt_device_lcd_brightness},
    {AMT_LINK_APP, AMT_READ_OUTDATE_CMD, amt_modem_handle_read_outdate},
    {AMT_LINK_APP, AMT_READ_BOARD_CMD, amt_modem_handle_read_board},
    {AMT_LINK_APP, AMT_READ_TEST_RESULT_CMD, amt_modem_read_test_result},
    {AMT_LINK_APP, AMT_WRITE_TEST_RESULT_CMD, amt_modem_write_test_result},
    {AMT_LINK_APP, AMT_READCAPABILITY_CARD_CMD, amt_device_tf_card},
    {AMT_LINK_APP, AMT_CAMERA_PREVIEW_CMD, amt_device_camera},
    {AMT_LINK_APP, AMT_SECOND_CAMERA_PREVIEW_CMD, amt_device_camera},
    {AMT_LINK_APP, AMT_BLUETOOTH_CMD, amt_device_bt},
    {AMT_LINK_APP, AMT_BLUETOOTH_ADDRESS_CMD, amt_device_bt_address},
    {AMT_LINK_APP, AMT_WIFI_TEST_CMD, amt_device_wifi_address},
    {AMT_LINK_APP, AMT_GPS_CONTROL_CMD, amt_gps_control},
    {AMT_LINK_APP, AMT_GPS_TEST_CMD, amt_gps_test},
    {AMT_LINK_APP, AMT_GPS_READ_RESULT_CMD, amt_gps_read_result},
    {AMT_LINK_APP, AMT_CAMERA_CONTROL_CMD, amt_device_camera_control},
    {AMT_LINK_APP, AMT_READ_ITEM_CMD, amt_item_read_test_result},
    {AMT_LINK_APP, AMT_WRITE_ITEM_CMD, amt_item_write_test_result},
    {AMT_LINK_APP, AMT_WIFI_RTX_TEST_CMD, amt_device_wifi_rtx_test},
    {AMT_LINK_APP, AMT_CHANNEL_SWITCH_CMD, amt_at_to_modem},
    {AMT_LINK_APP, AMT_USIMCHECK_CMD, amt_dtoc_checkSIM},
    {AMT_LINK_APP, AMT_READ_SERIAL_NUMBER_CMD, amt_read_serial_number},
    {AMT_LINK_APP, AMT_READ_DEV_INFO_CMD, amt_read_dev_info},
    {AMT_LINK_APP, AMT_ENTER_IDLE_CMD, amt_enter_idle},
    {AMT_LINK_APP, AMT_NORMAL_TO_AMT_CMD, amt_handle_normal_to_amt},
    {AMT_LINK_APP, AMT_NORMAL_TO_AMT_SUPPORT_CMD, amt_query_amt_support},
    {AMT_LINK_APP, AMT_DAMT1_CMD, amt_handle_damt1_cmd},
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

// How often a later row takes an id over from an earlier one.
constexpr int count_doubles(std::span<const amt_registration_st> rows) {
  int count = 0;
  for (std::size_t later = 0; later < rows.size(); ++later) {
    for (std::size_t earlier = 0; earlier < later; ++earlier) {
      if (rows[earlier].m_link == rows[later].m_link && rows[earlier].m_request_id == rows[later].m_request_id) ++count;
    }
  }
  return count;
}

constexpr bool is_double(const amt_registration_st& row, std::span<const amt_registration_st> rows) {
  int count = 0;
  for (const auto& other : rows) count += other.m_link == row.m_link && other.m_request_id == row.m_request_id ? 1 : 0;
  return count == 2;
}

static_assert(count_doubles(REGISTRATIONS) == 1 && is_double(REGISTRATIONS.back(), REGISTRATIONS),
              "an id of a link may be registered once; the application's flag request alone is there twice");

}  // namespace

std::span<const amt_registration_st> amt_handle_registrations() {
  return REGISTRATIONS;
}
