// The transmit and receive test of WiFi.
#include <iterator>

#include "amt/amt-device/device.h"
#include "amt/amt-device/hwt-call.h"
#include "amt/amt-device/log-module.h"
#include "amt/amt-device/shell.h"
#include "amt/amt-device/wifi.h"
#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/context/response.h"
#include "platform/hwt.h"
#include "pub/result.h"
#include "pub/util/io.h"

relaxed<std::int32_t> g_wifi_is_running;
relaxed<std::uint8_t> g_wifi_rtx_rx_channel = std::uint8_t{6};

namespace {

constexpr char HANDLER[] = "amt_device_wifi_rtx_test";
constexpr std::uint8_t RESPONSE_ID = 188;
constexpr std::uint8_t ATOM_OPERATION = 154;
constexpr std::uint8_t ATOM_CHANNEL = 155;
constexpr std::uint8_t ATOM_RATE = 156;
constexpr std::uint8_t ATOM_POWER = 157;
constexpr std::uint8_t ATOM_COUNT = 158;

struct rtx_parameters_st {
  std::uint8_t m_channel;
  std::uint16_t m_rate;
  std::int16_t m_power;
};

amt_hwt_step_st step_of(int line, const char* step, const char* operation) {
  return {&k_log, line, HANDLER, step, operation};
}

std::int32_t fail(const char* direction, const char* missing) {
  LOG_FAILURE_OF(HANDLER, ERR_FAIL);
  LOG_LINE("%s get %s error", direction, missing);
  return ERR_FAIL;
}

// A little-endian number of up to two bytes; one that comes with one byte has a zero high byte. False when the atom is
// absent or empty.
bool take_number(const amt_frame_st& request, std::uint8_t atom_id, std::size_t size, std::uint16_t& value) {
  std::uint8_t bytes[2] = {};
  if (amt_frame_get_bytes(&request, atom_id, bytes, size) == 0) return false;
  value = amt_read_u16(bytes);
  return true;
}

std::int32_t take_channel_and_rate(const amt_frame_st& request, const char* direction, rtx_parameters_st& parameters) {
  std::uint16_t channel = 0;
  if (!take_number(request, ATOM_CHANNEL, 1, channel)) return fail(direction, "channel");
  parameters.m_channel = static_cast<std::uint8_t>(channel);
  return take_number(request, ATOM_RATE, 2, parameters.m_rate) ? ERR_NONE : fail(direction, "rate");
}

std::int32_t start_wifi(const amt_frame_st&, amt_frame_st&) {
  if (g_wifi_is_running != 0) return ERR_NONE;
  const std::int32_t result =
      amt_device_call_hwt(step_of(__LINE__, "WIFI-start", "hwt_wifiCtrl"), [] { return hwt_wifiCtrl(1); });
  if (result == ERR_NONE) g_wifi_is_running = 1;
  return result;
}

std::int32_t stop_wifi(const amt_frame_st&, amt_frame_st&) {
  if (g_wifi_is_running == 0) return ERR_NONE;
  const std::int32_t result =
      amt_device_call_hwt(step_of(__LINE__, "WIFI-stop", "hwt_wifiCtrl"), [] { return hwt_wifiCtrl(0); });
  if (result == ERR_NONE) g_wifi_is_running = 0;
  return result;
}

std::int32_t start_transmit(const amt_frame_st& request, amt_frame_st&) {
  rtx_parameters_st wanted{};
  const std::int32_t result = take_channel_and_rate(request, "Tx", wanted);
  if (result != ERR_NONE) return result;
  std::uint16_t power = 0;
  if (!take_number(request, ATOM_POWER, 2, power)) return fail("Tx", "power");
  wanted.m_power = static_cast<std::int16_t>(power);
  return amt_device_call_hwt(
      step_of(__LINE__, "WIFI-TX-start", "hwt_TxTest"),
      amt_hwt_detail(". channel:%d; power:%d; rate:%d", wanted.m_channel, wanted.m_power, wanted.m_rate),
      [&wanted] { return hwt_TxTest(1, wanted.m_power, wanted.m_rate, wanted.m_channel); });
}

std::int32_t stop_transmit(const amt_frame_st&, amt_frame_st&) {
  return amt_device_call_hwt(step_of(__LINE__, "WIFI-TX-stop", "hwt_TxTest"), amt_hwt_detail(". "),
                             [] { return hwt_TxTest(0, 0, 0, 0); });
}

std::int32_t start_receive(const amt_frame_st& request, amt_frame_st&) {
  rtx_parameters_st wanted{};
  std::int32_t result = take_channel_and_rate(request, "Rx", wanted);
  if (result != ERR_NONE) return result;
  result = amt_device_call_hwt(step_of(__LINE__, "WIFI-RX-start", "hwt_RxTest"),
                               amt_hwt_detail(". channel:%d; rate:%d", wanted.m_channel, wanted.m_rate),
                               [&wanted] { return hwt_RxTest(1, wanted.m_channel, wanted.m_rate, nullptr); });
  if (result == ERR_NONE) g_wifi_rtx_rx_channel = wanted.m_channel;
  return result;
}

std::int32_t stop_receive(const amt_frame_st&, amt_frame_st& response) {
  const std::uint8_t channel = g_wifi_rtx_rx_channel;
  int count = 0;
  const std::int32_t result = amt_device_call_hwt(
      step_of(__LINE__, "WIFI-RX-stop", "hwt_RxTest"), amt_hwt_detail(". channel:%d", channel),
      [channel, &count] { return hwt_RxTest(0, channel, 0, &count); },
      [&count] { return amt_hwt_detail("; cnt:%d", count); });
  if (result == ERR_NONE) amt_frame_add_int(&response, ATOM_COUNT, static_cast<std::uint32_t>(count));
  return result;
}

struct operation_st {
  bool m_needs_wifi;
  std::int32_t (*m_run)(const amt_frame_st& request, amt_frame_st& response);
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

std::int32_t run_operation(std::uint8_t number, const amt_frame_st& request, amt_frame_st& response) {
  if (number == 0 || number >= std::size(OPERATIONS)) {
    LOG_FAILURE_OF(HANDLER, ERR_ARGUMENT);
    LOG_LINE("unknown operation: %u", number);
    pub_util_run_command("echo the subcmd is invalid >> /data/local/wifi/wifi_dbg_file.txt");
    return ERR_ARGUMENT;
  }
  const operation_st& operation = OPERATIONS[number];
  if (operation.m_needs_wifi && g_wifi_is_running == 0) {
    LOG_FAILURE_OF(HANDLER, ERR_FAIL);
    LOG_LINE("WIFI is not running");
    return ERR_FAIL;
  }
  return operation.m_run(request, response);
}

}  // namespace

std::int32_t amt_device_wifi_rtx_test(std::uint8_t link, amt_message_st* request, amt_message_st* response) {
  LOG_ENTRY();
  if (AMT_IS_BAD_REQUEST(link, request, response)) return ERR_ARGUMENT;
  amt_handle_start_rsp(response, RESPONSE_ID);
  std::uint8_t operation = 0;
  amt_frame_get_bytes(&request->m_buf_a, ATOM_OPERATION, &operation, 1);
  note_operation(operation);
  amt_frame_add_bytes(&response->m_buf_a, ATOM_OPERATION, &operation, 1);
  const std::int32_t result = run_operation(operation, request->m_buf_a, response->m_buf_a);
  return result == ERR_NONE ? amt_handle_finish_rsp(link, response) : result;
}

// clang-format off: one line of the script a line
const char g_wifi_test_script_a[] =
    "#!/system/bin/sh\n"
    "startWifiTxFunc()\n"
    "{\n"
    "\techo enter startWifiTxFunc\n"
    "\tmChannel=$1\n"
    "\tmRate=$2\n"
    "\tmPower=$3\n"
    "\tversion=$($WL_PATH ver) && echo version : $version || exit 1\n"
    "\t$WL_PATH down && echo wl down OK || exit 1\n"
    "\t$WL_PATH mpc 0 && echo wl mpc 0 OK ||  exit 1\n"
    "\t$WL_PATH up && echo wl up  OK ||  exit 1\n"
    "\t$WL_PATH country ALL && echo wl country ALL OK || exit 1\n"
    "\t$WL_PATH PM 0 && echo wl PM 0 OK ||  exit 1\n"
    "\t$WL_PATH down && echo wl down OK ||  exit 1\n"
    "\t$WL_PATH channel $mChannel && echo wl channel $mChannel OK ||  exit 1\n"
    "\t$WL_PATH rate $mRate && echo wl rate $mRate OK || exit 1\n"
    "\t$WL_PATH rateset $mRate'b' && echo wl rateset $mRate OK || exit 1\n"
    "\t$WL_PATH up && echo wl up OK ||  exit 1\n"
    "\t$WL_PATH txpwr1 -o -d $mPower && echo wl txpwr1 -o -d $mPower OK || exit 1\n"
    "\tpower=$($WL_PATH txpwr1) && echo wl txpwr1 OK, the power is:$power || exit 1\n"
    "\t$WL_PATH pkteng_start 00:11:22:33:44:55: tx 1000 1024 0 && echo wl pkteng_start OK ||  exit 1\n"
    "\treturn 0\n"
    "}\n"
    "stopWifiTxFunc()\n"
    "{\n"
    "\techo enter stopWifiTxFunc\n"
    "\t$WL_PATH pkteng_stop tx && echo tx stop OK|| exit 1\n"
    "}\n"
    "startWifiRxFunc()\n"
    "{\n"
    "\techo enter startWifiRxFunc\n"
    "\t$WL_PATH disassoc && echo wl disassoc success\n"
    "\t$WL_PATH mpc 0 && echo wl mpc 0 success|| exit 1\n"
    "\t$WL_PATH up && echo wl up success|| exit 1\n"
    "\t$WL_PATH down && echo wl down success || exit 1\n"
    "\t$WL_PATH channel $mChannel && echo The Channel is $mChannel || exit 1\n"
    "\t$WL_PATH bi 50000 && echo Beacon interval is 50000 || exit 1\n"
    "\t$WL_PATH rate $mRate && echo Set rate to $mRate success || exit 1\n"
    "\t$WL_PATH rateset $mRate'b' && echo Set rateset to $mRate success exit 1\n"
    "\t$WL_PATH up && echo wl up success || exit 1\n"
    "}\n"
    "stopWifiRxFunc()\n"
    "{\n"
    "\techo enter stopWifiRxFunc\n"
    "}\n"
    "WL_PATH=/system/bin/wl\n"
    "echo $WL_PATH\n"
    "version=0\n"
    "power=0\n"
    "PER=0\n"
    "cmdType=$1\n"
    "echo cmdType is $cmdType\n"
    "case $cmdType in\t\n"
    "\t11)\n"
    "\t\tmchannel=$2\n"
    "\t\tmrate=$3\n"
    "\t\tcase $mrate in\n"
    "\t\t\t550) mrate=5.5 ;;\n"
    "\t\t\t*);;\n"
    "\t\tesac\t\n"
    "\t\tmpower=$4\n"
    "\t\tstartWifiTxFunc $mchannel $mrate $mpower || exit 1;;\n"
    "\t12)\n"
    "\t\tmchannel=$2\n"
    "\t\tmrate=$3\n"
    "\t\tcase $mrate in\n"
    "\t\t\t550) mrate=5.5;;\n"
    "\t\t\t*);;\n"
    "\t\tesac\t\n"
    "\t\tstartWifiRxFunc $mchannel $mrate || exit 1;;\n"
    "\t13)\tstopWifiTxFunc || exit 1\t;;\n"
    "\t14)\tstopWifiRxFunc || exit 1;;\n"
    "\t*)\techo invalid command option\n"
    "\t\techo wifi test: 11'('start Tx')', 12'('start Rx')', 13'('stop Tx')', 14'('stop Rx')'\n"
    "\t\texit 1;;\n"
    "esac\n"
    "exit 0\n";
// clang-format on
