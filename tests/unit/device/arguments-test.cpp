// What every device test refuses before it touches a device.
#include "amt/amt-device/audio.h"
#include "amt/amt-device/battery.h"
#include "amt/amt-device/bluetooth.h"
#include "amt/amt-device/camera.h"
#include "amt/amt-device/card.h"
#include "amt/amt-device/dev-info.h"
#include "amt/amt-device/gps.h"
#include "amt/amt-device/idle.h"
#include "tests/unit/device/device-test.h"
#include "tests/unit/device/misc-fake.h"

namespace {

struct handler_st {
  const char* m_name;
  amt_handle_func m_handler;
  std::uint8_t m_request_id;
  const char* m_module = "amt/amt-device";
};

constexpr handler_st HANDLERS[] = {
    {"amt_device_battery_voltage", amt_device_battery_voltage, 9},
    {"amt_device_battery_voltage_check", amt_device_battery_voltage_check, 224},
    {"amt_device_lcd_color", amt_device_lcd_color, 29},
    {"amt_device_lcd_brightness", amt_device_lcd_brightness, 57},
    {"amt_device_audio", amt_device_audio, 33},
    {"amt_device_audio_loop", amt_device_audio_loop, 31},
    {"amt_device_vibrator", amt_device_vibrator, 35},
    {"amt_device_button_backlight", amt_device_button_backlight, 37},
    {"amt_device_tf_card", amt_device_tf_card, 137},
    {"amt_device_camera", amt_device_camera, 139},
    {"amt_device_camera_control", amt_device_camera_control, 180},
    {"amt_device_bt", amt_device_bt, 170},
    {"amt_device_bt_address", amt_device_bt_address, 172},
    {"amt_device_wifi_address", amt_device_wifi_address, 185},
    {"amt_device_wifi_rtx_test", amt_device_wifi_rtx_test, 187},
    {"amt_read_dev_info", amt_read_dev_info, 238},
    {"amt_enter_idle", amt_enter_idle, 240},
    {"amt_gps_control", amt_gps_control, 174, "amt/amt-gps"},
    {"amt_gps_test", amt_gps_test, 176, "amt/amt-gps"},
    {"amt_gps_read_result", amt_gps_read_result, 178, "amt/amt-gps"},
};

class Arguments : public device_test, public testing::WithParamInterface<handler_st> {
 protected:
  // Whether the handler refused, logged the flags, and did nothing else.
  void expect_refused(std::uint8_t link, amt_message_st* request, amt_message_st* response, const char* flags) {
    const handler_st& row = GetParam();
    g_misc_fake = {};
    m_log.clear();
    EXPECT_EQ(row.m_handler(link, request, response), ERR_ARGUMENT);
    ASSERT_EQ(log().size(), 3u);
    EXPECT_EQ(log()[0], std::string(row.m_name) + "()");
    EXPECT_THAT(log()[1], failure_line(row.m_module, row.m_name, ERR_ARGUMENT));
    EXPECT_EQ(log()[2], flags);
    EXPECT_TRUE(is_silent());
    EXPECT_THAT(g_hwt_fake.m_calls, IsEmpty());
    EXPECT_THAT(g_misc_fake.m_calls, IsEmpty());
  }
};

TEST_P(Arguments, Handler_BadArguments_IsRefusedBeforeADeviceIsTouched) {
  install_misc_library();
  amt_message_st request = {};
  amt_message_st response = {};
  set_message(request, frame(GetParam().m_request_id, ""));
  expect_refused(255, &request, &response, "1, 0, 0, 0");
  expect_refused(AMT_LINK_PC, nullptr, &response, "0, 1, 0, 0");
  expect_refused(AMT_LINK_APP, &request, nullptr, "0, 0, 0, 1");
  request.m_buf_len = 0;
  expect_refused(AMT_LINK_APP, &request, &response, "0, 0, 1, 0");
}

INSTANTIATE_TEST_SUITE_P(All, Arguments, testing::ValuesIn(HANDLERS), [](const auto& row) { return row.param.m_name; });

}  // namespace
