// The transmit and receive test of WiFi.
#include <iterator>

#include "amt/amt-convert/ids.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-device/radio.h"
#include "amt/amt-device/shell.h"
#include "amt/amt-device/wifi.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "pub/result.h"
#include "pub/util/io.h"
relaxed<std::int32_t> g_wifi_is_running;
relaxed<std::uint8_t> g_wifi_rtx_rx_channel = std::uint8_t{6};

namespace {

struct rtx_parameters_st {
  std::uint8_t m_channel;
  std::uint16_t m_rate;
};

constexpr auto WORDS = amt_radio_words_en::FRAME;

result_code_en fail(const pub_log_site& site, const char* direction, const char* missing) {
  return pub_fail(site, ERR_FAIL, "%s get %s error", direction, missing);
}

// A little-endian number of up to two bytes; one that comes with one byte has a zero high byte. False when the atom is
// absent or empty.
bool take_number(const amt_frame_st& request, std::uint8_t atom_id, std::size_t size, std::uint16_t& value) {
  std::uint8_t bytes[2] = {};
  if (amt_frame_get_bytes(&request, atom_id, bytes, size) == 0) return false;
  value = amt_read_u16(bytes);
  return true;
}

result_code_en take_channel_and_rate(const pub_log_site& site, const amt_frame_st& request, const char* direction,
                                     rtx_parameters_st& parameters) {
  std::uint16_t channel = 0;
  if (!take_number(request, AMT_ATOM_RTX_CHANNEL, 1, channel)) return fail(site, direction, "channel");
  parameters.m_channel = static_cast<std::uint8_t>(channel);
  return take_number(request, AMT_ATOM_RTX_RATE, 2, parameters.m_rate) ? ERR_NONE : fail(site, direction, "rate");
}

result_code_en start_wifi(const pub_log_site& site, const amt_frame_st&, amt_frame_st&) {
  if (g_wifi_is_running != 0) return ERR_NONE;
  const result_code_en result = amt_radio_switch_wifi({site, "WIFI-start"}, 1);
  if (result == ERR_NONE) g_wifi_is_running = 1;
  return result;
}

result_code_en stop_wifi(const pub_log_site& site, const amt_frame_st&, amt_frame_st&) {
  if (g_wifi_is_running == 0) return ERR_NONE;
  const result_code_en result = amt_radio_switch_wifi({site, "WIFI-stop"}, 0);
  if (result == ERR_NONE) g_wifi_is_running = 0;
  return result;
}

result_code_en start_transmit(const pub_log_site& site, const amt_frame_st& request, amt_frame_st&) {
  rtx_parameters_st wanted{};
  const result_code_en result = take_channel_and_rate(site, request, "Tx", wanted);
  if (result != ERR_NONE) return result;
  std::uint16_t power = 0;
  if (!take_number(request, AMT_ATOM_RTX_POWER, 2, power)) return fail(site, "Tx", "power");
  return amt_radio_start_tx(site, WORDS, wanted.m_channel, wanted.m_rate, static_cast<std::int16_t>(power));
}

result_code_en stop_transmit(const pub_log_site& site, const amt_frame_st&, amt_frame_st&) {
  return amt_radio_stop_tx(site);
}

result_code_en start_receive(const pub_log_site& site, const amt_frame_st& request, amt_frame_st&) {
  rtx_parameters_st wanted{};
  result_code_en result = take_channel_and_rate(site, request, "Rx", wanted);
  if (result != ERR_NONE) return result;
  result = amt_radio_start_rx(site, WORDS, wanted.m_channel, wanted.m_rate);
  if (result == ERR_NONE) g_wifi_rtx_rx_channel = wanted.m_channel;
  return result;
}

result_code_en stop_receive(const pub_log_site& site, const amt_frame_st&, amt_frame_st& response) {
  int count = 0;
  const result_code_en result = amt_radio_stop_rx(site, g_wifi_rtx_rx_channel, &count);
  if (result == ERR_NONE) amt_frame_add_int(&response, AMT_ATOM_RTX_COUNT, static_cast<std::uint32_t>(count));
  return result;
}

struct operation_st {
  bool m_needs_wifi;
  result_code_en (*m_run)(const pub_log_site& site, const amt_frame_st& request, amt_frame_st& response);
};

// Index = operation.
constexpr operation_st OPERATIONS[] = {
    {false, nullptr},      {false, start_wifi},   {false, stop_wifi},   {true, start_transmit},
    {true, stop_transmit}, {true, start_receive}, {true, stop_receive},
};

// The station's engineers follow a test in this file.
void note_operation(std::uint8_t operation) {
  const amt_device_command command(" echo the cmd value received from pc is : %u >> /data/local/wifi/wifi_dbg_file.txt",
                                   operation);
  pub_util_run_command(command.text());
}

result_code_en run_operation(const pub_log_site& site, std::uint8_t number, const amt_frame_st& request,
                             amt_frame_st& response) {
  if (number == 0 || number >= std::size(OPERATIONS)) {
    pub_log_failure(site, ERR_ARGUMENT, "unknown operation: %u", number);
    pub_util_run_command("echo the subcmd is invalid >> /data/local/wifi/wifi_dbg_file.txt");
    return ERR_ARGUMENT;
  }
  const operation_st& operation = OPERATIONS[number];
  if (operation.m_needs_wifi && g_wifi_is_running == 0) return pub_fail(site, ERR_FAIL, "WIFI is not running");
  return operation.m_run(site, request, response);
}

}  // namespace

result_code_en amt_device_wifi_rtx_test(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  pub_log_entry(k_log);
  if (amt_handle_is_bad_request(k_log, link, request, response)) return ERR_ARGUMENT;
  amt_handle_start_rsp(response, AMT_WIFI_RTX_TEST_RSPCMD);
  std::uint8_t operation = 0;
  amt_frame_get_bytes(&request->m_buf_a, AMT_ATOM_RTX_OPERATION, &operation, 1);
  note_operation(operation);
  amt_frame_add_bytes(&response->m_buf_a, AMT_ATOM_RTX_OPERATION, &operation, 1);
  const result_code_en result = run_operation(k_log, operation, request->m_buf_a, response->m_buf_a);
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}
