#include "amt/amt-device/radio.h"

#include <cstdarg>
#include <cstdio>

#include "platform/hwt.h"

namespace {

enum gps_operation_en : int { GPS_STOP = 0, GPS_START = 1, GPS_READ = 2 };  // of hwt_gpsCtrl

// The variable part of a line; a longer text is cut.
class detail {
 public:
  detail() = default;
  explicit detail(const char* format, ...) __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(m_text_a, sizeof m_text_a, format, arguments);
    va_end(arguments);
  }
  const char* text() const { return m_text_a; }

 private:
  char m_text_a[96] = {};
};

// An empty detail.
detail nothing() {
  return {};
}

// Runs one step. operation: the library's function, as the error line names it. `describe`, run after the call, gives
// what follows the result in the end line.
template <typename Call, typename Describe = detail()>
result_code_en run(const amt_radio_step_st& step, const char* operation, const detail& start, Call call,
                   Describe describe = nothing) {
  const pub_log_module_st& k_log = step.m_site.m_module;
  LOG_LINE("%s%s start%s", step.m_lead, step.m_step, start.text());
  const int result = call();
  LOG_LINE("%s end. return:%d%s.", step.m_step, result, describe().text());
  if (result == 0) return ERR_NONE;
  return pub_fail(step.m_site, ERR_FAIL, "%s error. call %s fail: %d", step.m_step, operation, result);
}

// How the rate is meant, in the start line.
const char* rate_note(amt_radio_words_en words) {
  return words == amt_radio_words_en::AT ? "(will multi 100)" : "";
}

}  // namespace

result_code_en amt_radio_switch_bt(const amt_radio_step_st& step, int on) {
  return run(step, "hwt_btCtrl", nothing(), [on] { return hwt_btCtrl(on); });
}

result_code_en amt_radio_check_bt(const pub_log_site& site) {
  return run({site, "BT hardware check"}, "hwt_btCheck", nothing(), hwt_btCheck);
}

result_code_en amt_radio_switch_wifi(const amt_radio_step_st& step, int on) {
  return run(step, "hwt_wifiCtrl", nothing(), [on] { return hwt_wifiCtrl(on); });
}

result_code_en amt_radio_check_wifi(const pub_log_site& site) {
  // The error line names the Bluetooth operation, on purpose: field tools look for it.
  return run({site, "wifi connectivity check"}, "hwt_btCtrl", nothing(), hwt_wifiCheck);
}

result_code_en amt_radio_start_tx(const pub_log_site& site, amt_radio_words_en words, std::uint8_t channel,
                                  std::uint16_t rate, std::int16_t power) {
  return run({site, "WIFI-TX-start"}, "hwt_TxTest",
             detail(". channel:%d; power:%d; rate:%d%s", channel, power, rate, rate_note(words)),
             [=] { return hwt_TxTest(1, power, rate, channel); });
}

result_code_en amt_radio_stop_tx(const pub_log_site& site) {
  return run({site, "WIFI-TX-stop"}, "hwt_TxTest", detail(". "), [] { return hwt_TxTest(0, 0, 0, 0); });
}

result_code_en amt_radio_start_rx(const pub_log_site& site, amt_radio_words_en words, std::uint8_t channel,
                                  std::uint16_t rate) {
  return run({site, "WIFI-RX-start"}, "hwt_RxTest", detail(". channel:%d; rate:%d%s", channel, rate, rate_note(words)),
             [=] { return hwt_RxTest(1, channel, rate, nullptr); });
}

result_code_en amt_radio_stop_rx(const pub_log_site& site, std::uint8_t channel, int* count) {
  return run(
      {site, "WIFI-RX-stop"}, "hwt_RxTest", detail(". channel:%d", channel),
      [=] { return hwt_RxTest(0, channel, 0, count); }, [count] { return detail("; cnt:%d", *count); });
}

result_code_en amt_radio_start_gps(const amt_radio_step_st& step) {
  return run(step, "hwt_gpsCtrl", nothing(), [] { return hwt_gpsCtrl(GPS_START, 0, nullptr, nullptr); });
}

result_code_en amt_radio_stop_gps(const amt_radio_step_st& step) {
  return run(step, "hwt_gpsCtrl", nothing(), [] { return hwt_gpsCtrl(GPS_STOP, 0, nullptr, nullptr); });
}

result_code_en amt_radio_check_gps(const pub_log_site& site) {
  return run({site, "GPS connectivity check"}, "hwt_gpsCheck", nothing(), hwt_gpsCheck);
}

result_code_en amt_radio_read_gps(const pub_log_site& site, amt_radio_words_en words, int index,
                                  amt_satellite_st* satellite) {
  return run(
      {site, "GPS-READ-SIGNAL"}, "hwt_gpsCtrl", detail(". index:%d", index),
      [=] { return hwt_gpsCtrl(GPS_READ, index, &satellite->m_id, &satellite->m_carrier_to_noise); },
      [=] {
        const detail repeated = words == amt_radio_words_en::AT ? detail("; index:%d", index) : nothing();
        return detail("%s; svid:%d; cnr:%d", repeated.text(), satellite->m_id, satellite->m_carrier_to_noise);
      });
}
