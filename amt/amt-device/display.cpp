#include "amt/amt-device/display.h"

#include <tuple>

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/device.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "pub/result.h"

relaxed<std::int32_t> g_src_lcd_brightness = -1;

namespace {

constexpr char LCD_FILE[] = "/sys/class/leds/lcd-backlight/brightness";
constexpr char BUTTON_FILE[] = "/sys/class/leds/button-backlight/brightness";
constexpr char VIBRATOR_FILE[] = "/sys/class/timed_output/vibrator/enable";

constexpr std::uint32_t MAX_BRIGHTNESS = 255;
constexpr std::int32_t DEFAULT_BRIGHTNESS = 200;
constexpr std::int32_t VIBRATOR_PULSE_MS = 3000;

void remember_brightness(const pub_log_site& site) {
  if (g_src_lcd_brightness >= 0) return;
  std::int32_t value = g_src_lcd_brightness;
  std::ignore = amt_device_read_number(site, LCD_FILE, &value);
  g_src_lcd_brightness = value;
}

// The level, or the phone's own when the level is out of range. Unsigned, so that a remembered -1 is out of range, too.
std::int32_t choose_brightness(std::uint32_t level) {
  if (level <= MAX_BRIGHTNESS) {
    LOG_LINE("lcd_brightness: %d", static_cast<int>(level));
    return static_cast<std::int32_t>(level);
  }
  const std::int32_t source = g_src_lcd_brightness;
  if (static_cast<std::uint32_t>(source) <= MAX_BRIGHTNESS) {
    LOG_LINE("src_lcd_brightness: %d", source);
    return source;
  }
  LOG_LINE("lcd_brightness: %d", DEFAULT_BRIGHTNESS);
  return DEFAULT_BRIGHTNESS;
}

}  // namespace

result_code_en amt_device_lcd_color(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  return amt_handle_send_rsp_ok(link, response, AMT_SHOWLCD_RSPCMD);
}

result_code_en amt_device_lcd_brightness(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  remember_brightness(k_log);
  const std::uint32_t level = amt_frame_get_int(&request->m_buf_a, AMT_ATOM_BRIGHTNESS);
  LOG_LINE("amt_device_lcd_brightness lcd_brightness: %d", static_cast<int>(level));
  LOG_LINE("amt_device_lcd_brightness src_lcd_brightness: %d", std::int32_t{g_src_lcd_brightness});
  if (amt_device_write_number(k_log, LCD_FILE, choose_brightness(level)) == ERR_NONE) {
    std::ignore = amt_handle_send_rsp_ok(link, response, AMT_LCDLIGHT_RSPCMD);
  }
  return ERR_NONE;
}

result_code_en amt_device_button_backlight(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const auto value = static_cast<std::int32_t>(amt_frame_get_flag(&request->m_buf_a, AMT_ATOM_SWITCH));
  const result_code_en result = amt_device_write_number(k_log, BUTTON_FILE, value);
  if (result != ERR_NONE) return result;
  LOG_LINE("%s button backlight", value == 1 ? "open" : "close");
  return amt_handle_send_rsp_ok(link, response, AMT_BACKLIGHT_RSPCMD);
}

result_code_en amt_device_vibrator(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  const std::uint32_t operation = amt_frame_get_flag(&request->m_buf_a, AMT_ATOM_SWITCH);
  const result_code_en result = amt_device_write_number(k_log, VIBRATOR_FILE, operation == 0 ? 0 : VIBRATOR_PULSE_MS);
  if (result != ERR_NONE) return result;
  LOG_LINE("%s vibrator", operation == 1 ? "start" : "stop");
  return amt_handle_send_rsp_ok(link, response, AMT_VIBRATION_RSPCMD);
}
