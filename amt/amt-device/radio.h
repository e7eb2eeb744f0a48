// The radios: the eight operations of the device-test library (platform/hwt.h), for frames and AT commands alike. Each
// blocks until the library is done, gives 0 or ERR_FAIL, and logs:
//
//   "<lead><step> start<detail>"      the call      "<step> end. return:%d<detail>."
//   and when it failed the error-trace line and      "<step> error. call <operation> fail: %d"
#pragma once

#include <cstdint>

#include "pub/log.h"

// A step as its caller names it; the same operation has other names in other requests.
struct amt_radio_step_st {
  pub_log_site m_site;
  const char* m_step;
  const char* m_lead = "";
};

// The log lines of an AT command hold more than those of a frame.
enum class amt_radio_words_en { FRAME, AT };

result_code_en amt_radio_switch_bt(const amt_radio_step_st& step, int on);
result_code_en amt_radio_check_bt(const pub_log_site& site);
result_code_en amt_radio_switch_wifi(const amt_radio_step_st& step, int on);
result_code_en amt_radio_check_wifi(const pub_log_site& site);

// The rate is the station's number, the power in the library's unit. WiFi must be on.
result_code_en amt_radio_start_tx(const pub_log_site& site, amt_radio_words_en words, std::uint8_t channel,
                                  std::uint16_t rate, std::int16_t power);
result_code_en amt_radio_stop_tx(const pub_log_site& site);
result_code_en amt_radio_start_rx(const pub_log_site& site, amt_radio_words_en words, std::uint8_t channel,
                                  std::uint16_t rate);
// *count: how many packets came.
result_code_en amt_radio_stop_rx(const pub_log_site& site, std::uint8_t channel, int* count);

result_code_en amt_radio_start_gps(const amt_radio_step_st& step);
result_code_en amt_radio_stop_gps(const amt_radio_step_st& step);
result_code_en amt_radio_check_gps(const pub_log_site& site);

struct amt_satellite_st {
  int m_id;
  int m_carrier_to_noise;
};
// The satellite in a slot.
result_code_en amt_radio_read_gps(const pub_log_site& site, amt_radio_words_en words, int index,
                                  amt_satellite_st* satellite);
