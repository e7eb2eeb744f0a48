#include "station/words/table.h"

#include <algorithm>
#include <array>
#include <limits>

#include "amt/amt-convert/ids.h"
#include "station/words/checks.h"

namespace {

using enum station_links_en;
using operation = station_operation_st;
using texts = std::span<const std::string>;

constexpr station_parameter_st any_number(const char* name, const char* unit = "") {
  using limits = std::numeric_limits<std::int32_t>;
  return {name, false, limits::min(), limits::max(), limits::max(), unit};
}

constexpr station_parameter_st ADDRESS{"ADDRESS", true, 0, 19, 59, "", station_check_address};
constexpr station_parameter_st PCBA_SERIAL{"SERIAL", true, 0, 29, 29};
constexpr station_parameter_st IMEI_NUMBER{"NUMBER", true, 0, 20, 20, "", station_check_imei};
constexpr station_parameter_st BOARD_NUMBER{"NUMBER", true, 0, 20, 20};
constexpr station_parameter_st FLAG{"FLAG", false, 0, 1};
constexpr station_parameter_st SLOT{"SLOT", false, 0, 255};
constexpr station_parameter_st CHANNEL{"CHANNEL", false, 0, 255};
constexpr station_parameter_st RATE{"RATE", false, 0, 65535, 0, "100 kbit/s"};
constexpr station_parameter_st POWER{"POWER", false, -32768, 32767, 0, "dBm"};
constexpr station_parameter_st LEVEL{"LEVEL", false, 0, std::numeric_limits<std::int32_t>::max()};
constexpr station_parameter_st LOOP_TYPE = any_number("TYPE");
constexpr station_parameter_st MODE = any_number("MODE");
constexpr station_parameter_st ADC_VALUES[] = {any_number("V1", "counts"), any_number("V2", "counts"),
                                               any_number("V3", "counts"), any_number("V4", "counts")};
constexpr station_parameter_st CONTROL{"CONTROL", false, 1, 2};
// The phone sends a fixed count of characters to the modem: after two digits the line end would be missing.
constexpr station_parameter_st MODEM_CHANNEL{"CHANNEL", false, 0, 9};
// The phone counts the items from 1 where it writes them and from 0 where it reads them. It would take a result that
// is none of the three for "unknown".
constexpr station_parameter_st ITEM_TO_WRITE{"ITEM", false, 1, 36};
constexpr station_parameter_st ITEM_TO_READ{"ITEM", false, 0, 35};
constexpr station_parameter_st ITEM_RESULT{"RESULT", false, 0, 2};
// The phone records the stations up to 19, and a result that is none of the three as "unknown".
constexpr station_parameter_st STATION{"STATION", false, 0, 19};
constexpr station_parameter_st STATION_RESULT{"RESULT", false, 0, 2};
constexpr station_parameter_st DESCRIPTION{"DESCRIPTION", true, 0, 127, 127};

constexpr auto NUMBER = station_kind_en::NUMBER;
constexpr auto TEXT = station_kind_en::TEXT;
using part = station_part_st;

constexpr part ADDRESS_VALUE[] = {{"address"}};
constexpr part SERIAL_VALUE[] = {{"serial number"}};
constexpr part IMEI_VALUE[] = {{"IMEI"}};
constexpr part BOARD_VALUE[] = {{"board number"}};
constexpr part VERSION_VALUE[] = {{"version"}};
constexpr part DATE_VALUE[] = {{"date", TEXT, {}, true}};
constexpr part DEV_INFO_VALUE[] = {{"description", TEXT, {}, true}};
constexpr part FLAG_VALUE[] = {{"flag", NUMBER, {}, false, "0 forbidden, 1 permitted"}};
constexpr part BOOT_VALUE[] = {{"flag", NUMBER, {}, false, "1 complete"}};
constexpr part SIM_VALUE[] = {{"flag", NUMBER, {}, false, "0 no card, 1 card"}};
constexpr part TECHNOLOGY_VALUE[] = {{"radio technology", NUMBER, {}, false, "a number of the modem's"}};
constexpr part CAMERA_VALUE[] = {{"result", NUMBER, {}, false, "the driver's; 3 when it has no such input"}};
constexpr part SIGNAL_VALUE[] = {{"satellite", NUMBER}, {"carrier to noise", NUMBER, {"dB-Hz"}}};
constexpr part PACKETS_VALUE[] = {{"packets", NUMBER, {"packets"}}};
constexpr part VOLTAGE_VALUE[] = {{"voltage", NUMBER, {"uV", "V", 1e-6, 3}}};
constexpr part TEMPERATURE_VALUE[] = {{"temperature", NUMBER, {"0.1 degC", "degC", 0.1, 1}}};
constexpr part ADC_VALUE[] = {{"reading", NUMBER, {"counts"}}};
constexpr part CARD_VALUE[] = {{"size", NUMBER, {"KiB", "GiB", 1.0 / (1024 * 1024), 2}, false, "0 without a card"}};
constexpr part ITEM_VALUE[] = {{"result", NUMBER, {}, false, "0 unknown, 1 pass, 2 fail"}};
constexpr part STATION_VALUE[] = {{"result", NUMBER, {}, false, "0 unknown, 1 pass, 2 fail"},
                                  {"description", TEXT, {}, true}};

// Reading back what was written.
station_read_back_st by_get(texts parameters) {
  return {{"get"}, parameters[0]};
}
// Items count from 1 where they are written and from 0 where they are read.
station_read_back_st by_item(texts parameters) {
  const auto item = station_read_number(parameters[0]);
  return {{"read", std::to_string(item.value_or(0) - 1)}, parameters[1]};
}
station_read_back_st by_station(texts parameters) {
  return {{"read", parameters[0]}, parameters[1] + ',' + (parameters.size() > 2 ? parameters[2] : "")};
}

// In each row the operation as text comes first, then the operation as a frame.
// clang-format off
constexpr operation BT_ADDRESS[] = {
    {"get", {}, "AT^DBTADDR?\r", "^DBTADDR:", BOTH, AMT_BLUETOOTH_ADDRESS_CMD,
     {{AMT_ATOM_BT_OPERATION, "int=1"}}, {AMT_ATOM_BT_ADDRESS}, ADDRESS_VALUE},
    {"set", {&ADDRESS}, "AT^DBTADDR=\"{0}\"\r", nullptr, BOTH, AMT_BLUETOOTH_ADDRESS_CMD,
     {{AMT_ATOM_BT_OPERATION, "int=2"}, {AMT_ATOM_BT_ADDRESS, "str={0}"}}, {}, {}, by_get, true},
};
constexpr operation WIFI_ADDRESS[] = {
    {"get", {}, "AT^DWIFIADDR?\r", "^DWIFIADDR:", BOTH, AMT_WIFI_TEST_CMD,
     {{AMT_ATOM_WIFI_OPERATION, "int=0"}}, {AMT_ATOM_WIFI_ADDRESS}, ADDRESS_VALUE},
    {"set", {&ADDRESS}, "AT^DWIFIADDR=\"{0}\"\r", nullptr, BOTH, AMT_WIFI_TEST_CMD,
     {{AMT_ATOM_WIFI_OPERATION, "int=1"}, {AMT_ATOM_WIFI_ADDRESS, "str={0}"}}, {}, {}, by_get, true},
};
// The phone takes a CR after the number for a part of the number, so the text that writes it has none.
constexpr operation PCBA_SN[] = {
    {"get", {}, "AT^DPCBACTRL=1\r", "^DPCBACTRL:", PC, AMT_BOARD_PCBA_CTRL_CMD,
     {{AMT_ATOM_PCBA_OPERATION, "u8=1"}}, {AMT_ATOM_PCBA_SERIAL}, SERIAL_VALUE},
    {"set", {&PCBA_SERIAL}, "AT^DPCBACTRL=2,{0}", nullptr, PC, AMT_BOARD_PCBA_CTRL_CMD,
     {{AMT_ATOM_PCBA_OPERATION, "u8=2"}, {AMT_ATOM_PCBA_SERIAL, "str={0}"}}, {}, {}, by_get, true},
};
// The two identities are the modem's; on a PC link the phone only hands the requests on and keeps what was confirmed.
constexpr operation IMEI[] = {
    {"get", {}, "AT^DGSN?\r", "^DGSN:", BOTH, AMT_READIMEI_CMD, {}, {AMT_ATOM_IMEI}, IMEI_VALUE},
    {"set", {&IMEI_NUMBER}, "AT^DCGSNW={0}\r", nullptr, BOTH, AMT_WRITEIMEI_CMD, {{AMT_ATOM_IMEI, "str={0}"}}, {},
     {}, by_get, true},
};
constexpr operation BOARD_SN[] = {
    {"get", {}, "AT^DMSN\r", "^DMSN:", BOTH, AMT_READ_BOARD_CMD, {}, {AMT_ATOM_BOARD}, BOARD_VALUE},
    {"set", {&BOARD_NUMBER}, "AT^DMSN={0}\r", nullptr, BOTH, AMT_WRITE_BOARD_CMD, {{AMT_ATOM_BOARD, "str={0}"}}, {},
     {}, by_get, true},
};
// Request 219 of a PC link is a different request: it can only forbid.
constexpr operation AMT1_FLAG[] = {
    {"get", {}, "AT^DAMT1=2\r", "^DAMT1:", APP, AMT_DAMT1_CMD, {{AMT_ATOM_AMT1_FLAG, "int=2"}}, {AMT_ATOM_AMT1_FLAG},
     FLAG_VALUE},
    // The answer to a write holds the flag, too.
    {"set", {&FLAG}, "AT^DAMT1={0}\r", nullptr, APP, AMT_DAMT1_CMD, {{AMT_ATOM_AMT1_FLAG, "int={0}"}},
     {AMT_ATOM_AMT1_FLAG}, {}, by_get},
};
// The application's same request gets the platform's version instead.
constexpr operation SW_VERSION[] = {
    {"", {}, "AT^DSVER\r", "^DSVER:", PC, AMT_VERSION_CMD, {{AMT_ATOM_MODULE, "int=16"}}, {AMT_ATOM_VERSION},
     VERSION_VALUE},
};
constexpr operation CHECK[] = {
    {"wifi", {}, "AT^DDEVCONNCHK=0\r", nullptr, BOTH, AMT_WIFI_TEST_CMD, {{AMT_ATOM_WIFI_OPERATION, "int=2"}}, {}},
    {"gps", {}, "AT^DDEVCONNCHK=1\r", nullptr, BOTH, AMT_GPS_CONTROL_CMD, {{AMT_ATOM_GPS_OPERATION, "int=2"}}, {}},
    {"bt", {}, "AT^DDEVCONNCHK=3\r", nullptr, BOTH, AMT_BLUETOOTH_ADDRESS_CMD,
     {{AMT_ATOM_BT_OPERATION, "int=3"}}, {}},
};
constexpr operation BLUETOOTH[] = {
    {"on", {}, "AT^DBTCTRL=1\r", nullptr, BOTH, AMT_BLUETOOTH_ADDRESS_CMD, {{AMT_ATOM_BT_OPERATION, "int=11"}}, {}},
    {"off", {}, "AT^DBTCTRL=0\r", nullptr, BOTH, AMT_BLUETOOTH_ADDRESS_CMD, {{AMT_ATOM_BT_OPERATION, "int=10"}}, {}},
    // The phone answers twice, because two processes of the service then run: at once, and when Bluetooth is on.
    {"start", {}, nullptr, nullptr, BOTH, AMT_BLUETOOTH_CMD, {}, {}},
};
// As text, reading starts GPS by itself.
constexpr operation GPS[] = {
    {"start", {}, nullptr, nullptr, BOTH, AMT_GPS_CONTROL_CMD, {{AMT_ATOM_GPS_OPERATION, "int=1"}}, {}},
    {"read", {&SLOT}, "AT^DGPSCTRL=2,{0}\r", "^DGPSCTRL:", BOTH, AMT_GPS_READ_RESULT_CMD,
     {{AMT_ATOM_SATELLITE, "int={0}"}}, {AMT_ATOM_SATELLITE, AMT_ATOM_CARRIER_TO_NOISE}, SIGNAL_VALUE},
    {"stop", {}, "AT^DGPSCTRL=0\r", nullptr, BOTH, AMT_GPS_CONTROL_CMD, {{AMT_ATOM_GPS_OPERATION, "int=0"}}, {}},
    {"test", {}, nullptr, nullptr, BOTH, AMT_GPS_TEST_CMD, {}, {}},
};
// As text, these two switch WiFi by themselves; as a frame they need WIFI_RF first.
constexpr operation WIFI_TX[] = {
    {"", {&CHANNEL, &RATE, &POWER}, "AT^DWLTSD=1,{0},{1},{2}\r", nullptr, BOTH, AMT_WIFI_RTX_TEST_CMD,
     {{AMT_ATOM_RTX_OPERATION, "u8=3"}, {AMT_ATOM_RTX_CHANNEL, "u8={0}"}, {AMT_ATOM_RTX_RATE, "u16={1}"},
      {AMT_ATOM_RTX_POWER, "u16={2}"}}, {}},
    {"off", {}, "AT^DWLTSD=0\r", nullptr, BOTH, AMT_WIFI_RTX_TEST_CMD, {{AMT_ATOM_RTX_OPERATION, "u8=4"}}, {}},
};
constexpr operation WIFI_RX[] = {
    {"", {&CHANNEL, &RATE}, "AT^DWLTRD=1,{0},{1}\r", nullptr, BOTH, AMT_WIFI_RTX_TEST_CMD,
     {{AMT_ATOM_RTX_OPERATION, "u8=5"}, {AMT_ATOM_RTX_CHANNEL, "u8={0}"}, {AMT_ATOM_RTX_RATE, "u16={1}"}}, {}},
    {"off", {}, "AT^DWLTRD=0\r", nullptr, BOTH, AMT_WIFI_RTX_TEST_CMD,
     {{AMT_ATOM_RTX_OPERATION, "u8=6"}}, {AMT_ATOM_RTX_COUNT}, PACKETS_VALUE},
};
constexpr operation WIFI_RF[] = {
    {"on", {}, nullptr, nullptr, BOTH, AMT_WIFI_RTX_TEST_CMD, {{AMT_ATOM_RTX_OPERATION, "u8=1"}}, {}},
    {"off", {}, nullptr, nullptr, BOTH, AMT_WIFI_RTX_TEST_CMD, {{AMT_ATOM_RTX_OPERATION, "u8=2"}}, {}},
};
constexpr operation IDLE[] = {{"", {}, "AT^DENTERIDLE\r", nullptr, BOTH, AMT_ENTER_IDLE_CMD, {}, {}}};
constexpr operation POWER_OFF[] = {{"", {}, "AT^DAMTOFF\r", nullptr, PC, AMT_POWER_OFF_CMD, {}, {}}};
constexpr operation BOOT_DOWNLOAD[] = {
    {"", {}, "AT^DBOOTDLFIN\r", "^DBOOTDLFIN:", PC, AMT_BOOT_DL_FIN_CMD, {}, {AMT_ATOM_BOOT_FLAG}, BOOT_VALUE},
};
constexpr operation VIBRATE[] = {
    {"on", {}, nullptr, nullptr, APP, AMT_VIBRATION_CMD, {{AMT_ATOM_SWITCH, "flag=1"}}, {}},
    {"off", {}, nullptr, nullptr, APP, AMT_VIBRATION_CMD, {{AMT_ATOM_SWITCH, "flag=0"}}, {}},
};
constexpr operation KEY_LIGHT[] = {
    {"on", {}, nullptr, nullptr, APP, AMT_BACKLIGHT_CMD, {{AMT_ATOM_SWITCH, "flag=1"}}, {}},
    {"off", {}, nullptr, nullptr, APP, AMT_BACKLIGHT_CMD, {{AMT_ATOM_SWITCH, "flag=0"}}, {}},
};
constexpr operation BRIGHTNESS[] = {
    {"", {&LEVEL}, nullptr, nullptr, APP, AMT_LCDLIGHT_CMD, {{AMT_ATOM_BRIGHTNESS, "int={0}"}}, {}},
};
constexpr operation AUDIO[] = {
    {"on", {}, nullptr, nullptr, APP, AMT_BELL_CMD, {{AMT_ATOM_SWITCH, "flag=1"}}, {}},
    {"off", {}, nullptr, nullptr, APP, AMT_BELL_CMD, {{AMT_ATOM_SWITCH, "flag=0"}}, {}},
};
// Off needs no type: the phone takes a missing type as 0.
constexpr operation AUDIO_LOOP[] = {
    {"on", {&LOOP_TYPE}, nullptr, nullptr, APP, AMT_AUDIOLOOP_CMD,
     {{AMT_ATOM_SWITCH, "flag=1"}, {AMT_ATOM_LOOP_TYPE, "int={0}"}}, {}},
    {"off", {}, nullptr, nullptr, APP, AMT_AUDIOLOOP_CMD,
     {{AMT_ATOM_SWITCH, "flag=0"}, {AMT_ATOM_LOOP_TYPE, "int=0"}}, {}},
};
constexpr operation LCD_COLOR[] = {{"", {}, nullptr, nullptr, APP, AMT_SHOWLCD_CMD, {}, {}}};
constexpr operation BATTERY[] = {
    {"voltage", {}, nullptr, nullptr, APP, AMT_READ_BATTERY_CMD, {}, {AMT_ATOM_VOLTAGE}, VOLTAGE_VALUE},
    {"temperature", {}, nullptr, nullptr, APP, AMT_TEMPERATURE_CMD, {}, {AMT_ATOM_TEMPERATURE}, TEMPERATURE_VALUE},
};
// The phone writes the four values into a record and into a command for the battery's driver. The command holds 38
// characters of them: with more, record and command would differ.
constexpr operation ADC[] = {
    {"get", {}, nullptr, nullptr, PC, AMT_READ_VBATT_ADC_CMD, {}, {AMT_ATOM_ADC}, ADC_VALUE},
    {"set", {&ADC_VALUES[0], &ADC_VALUES[1], &ADC_VALUES[2], &ADC_VALUES[3]}, nullptr, nullptr, PC,
     AMT_WRITE_VBATT_ADC_CMD,
     {{AMT_ATOM_CALIBRATION_1, "int={0}"}, {AMT_ATOM_CALIBRATION_2, "int={1}"},
      {AMT_ATOM_CALIBRATION_3, "int={2}"}, {AMT_ATOM_CALIBRATION_4, "int={3}"}}, {}, {}, nullptr, false, 38},
};
constexpr operation CAMERA[] = {
    {"main", {}, nullptr, nullptr, APP, AMT_CAMERA_PREVIEW_CMD, {}, {}},
    {"second", {}, nullptr, nullptr, APP, AMT_SECOND_CAMERA_PREVIEW_CMD, {}, {}},
    {"control", {&CONTROL}, nullptr, nullptr, APP, AMT_CAMERA_CONTROL_CMD,
     {{AMT_ATOM_CAMERA_CONTROL, "int={0}"}}, {AMT_ATOM_CAMERA_RESULT}, CAMERA_VALUE},
};
constexpr operation CARD[] = {
    {"", {}, nullptr, nullptr, APP, AMT_READCAPABILITY_CARD_CMD, {}, {AMT_ATOM_CAPACITY}, CARD_VALUE},
};
constexpr operation DEV_INFO[] = {
    {"", {}, nullptr, nullptr, APP, AMT_READ_DEV_INFO_CMD, {}, {AMT_ATOM_DEV_INFO}, DEV_INFO_VALUE},
};
constexpr operation SIM_CHECK[] = {
    {"", {}, nullptr, nullptr, APP, AMT_USIMCHECK_CMD, {}, {AMT_ATOM_SIM}, SIM_VALUE},
};
constexpr operation FACTORY_DATE[] = {
    {"", {}, nullptr, nullptr, APP, AMT_READ_OUTDATE_CMD, {}, {AMT_ATOM_DATE}, DATE_VALUE},
};
constexpr operation SERIAL_NUMBER[] = {
    {"", {}, nullptr, nullptr, APP, AMT_READ_SERIAL_NUMBER_CMD, {}, {AMT_ATOM_SERIAL_NUMBER}, SERIAL_VALUE},
};
constexpr operation AMT_SUPPORT[] = {
    {"", {}, nullptr, nullptr, APP, AMT_NORMAL_TO_AMT_SUPPORT_CMD, {}, {AMT_ATOM_RADIO_TECHNOLOGY},
     TECHNOLOGY_VALUE},
};
constexpr operation AMT_MODE[] = {
    {"", {&MODE}, nullptr, nullptr, APP, AMT_NORMAL_TO_AMT_CMD, {{AMT_ATOM_MODE, "int={0}"}}, {}},
};
constexpr operation MODEM_SWITCH[] = {
    {"", {&MODEM_CHANNEL}, nullptr, nullptr, APP, AMT_CHANNEL_SWITCH_CMD, {{AMT_ATOM_MODEM_CHANNEL, "int={0}"}}, {}},
};
constexpr operation ITEM[] = {
    {"read", {&ITEM_TO_READ}, nullptr, nullptr, APP, AMT_READ_ITEM_CMD,
     {{AMT_ATOM_STATION, "int={0}"}}, {AMT_ATOM_STATION_RESULT}, ITEM_VALUE},
    {"write", {&ITEM_TO_WRITE, &ITEM_RESULT}, nullptr, nullptr, APP, AMT_WRITE_ITEM_CMD,
     {{AMT_ATOM_STATION, "int={0}"}, {AMT_ATOM_STATION_RESULT, "int={1}"}}, {}, {}, by_item},
};
// On a PC link the phone keeps what is written and leaves the answer to the modem.
constexpr operation TEST_RESULT[] = {
    {"read", {&STATION}, nullptr, nullptr, APP, AMT_READ_TEST_RESULT_CMD,
     {{AMT_ATOM_STATION, "int={0}"}}, {AMT_ATOM_STATION_RESULT, AMT_ATOM_DESCRIPTION}, STATION_VALUE},
    {"write", {&STATION, &STATION_RESULT}, nullptr, nullptr, BOTH, AMT_WRITE_TEST_RESULT_CMD,
     {{AMT_ATOM_STATION, "int={0}"}, {AMT_ATOM_STATION_RESULT, "int={1}"}}, {}, {}, by_station},
    {"write", {&STATION, &STATION_RESULT, &DESCRIPTION}, nullptr, nullptr, BOTH, AMT_WRITE_TEST_RESULT_CMD,
     {{AMT_ATOM_STATION, "int={0}"}, {AMT_ATOM_STATION_RESULT, "int={1}"}, {AMT_ATOM_DESCRIPTION, "str={2}"}}, {},
     {}, by_station},
};
// clang-format on

// How many arguments a word takes follows from its operations.
constexpr station_word_st row(const char* name, const char* help, const char* hint,
                              std::span<const operation> operations, bool is_modems = false) {
  std::size_t least = 10;
  std::size_t most = 0;
  for (const operation& one : operations) {
    std::size_t count = *one.m_name == '\0' ? 0 : 1;
    for (const auto* parameter : one.m_parameters) count += parameter == nullptr ? 0 : 1;
    least = std::min(least, count);
    most = std::max(most, count);
  }
  const bool can_be_alone = operations[0].m_parameters[0] == nullptr && operations[0].kind() != station_kind_en::NONE;
  return {name, "", help, can_be_alone ? 0 : least, most, false, nullptr, operations, hint, is_modems};
}

constexpr char RECORD_HINT[] = "the phone has no such record yet, or could not write it";
constexpr char MODEM_HINT[] = "the modem refused, or there is none";
constexpr char RADIO_HINT[] = "the radio's test library reported a failure";
constexpr char BOARD_HINT[] = "the board library is not there, or reported a failure";
constexpr char FILE_HINT[] = "the driver's file could not be opened, read or written";
constexpr char RF_HINT[] = "the radio's test library reported a failure; as frames, wifi-rf on comes first";

constexpr std::array WORDS = {
    row("bt-address", "The Bluetooth address",
        "the phone has no address yet, or could not write it; as text it only replaces one, --frame makes the first",
        BT_ADDRESS),
    row("wifi-address", "The WiFi address", RECORD_HINT, WIFI_ADDRESS),
    row("pcba-sn", "The serial number of the board's assembly", RECORD_HINT, PCBA_SN),
    row("imei", "The modem's IMEI", MODEM_HINT, IMEI, true),
    row("board-sn", "The modem's board number", MODEM_HINT, BOARD_SN, true),
    row("amt1-flag", "Whether the phone may start by USB insertion", "the phone could not write its flag", AMT1_FLAG),
    row("sw-version", "The phone's software version", "the phone has no property with its version", SW_VERSION),
    row("check", "Check the hardware of a radio", RADIO_HINT, CHECK),
    row("bluetooth", "Switch Bluetooth; start leaves two phones on the link", RADIO_HINT, BLUETOOTH),
    row("gps", "GPS; read gives satellite and carrier to noise", RADIO_HINT, GPS),
    row("wifi-tx", "Transmit test signals", RF_HINT, WIFI_TX),
    row("wifi-rx", "Receive test signals; off as a frame gives the packets that came", RF_HINT, WIFI_RX),
    row("wifi-rf", "Switch WiFi for wifi-tx and wifi-rx as frames", RADIO_HINT, WIFI_RF),
    row("idle", "Let the phone go idle", BOARD_HINT, IDLE),
    row("power-off", "Switch the phone off", "", POWER_OFF),
    row("boot-download", "Ask whether the boot software is complete", BOARD_HINT, BOOT_DOWNLOAD),
    row("vibrate", "The vibrator", FILE_HINT, VIBRATE),
    row("key-light", "The light of the keys", FILE_HINT, KEY_LIGHT),
    row("brightness", "The light of the screen, 0 to 255; above restores", FILE_HINT, BRIGHTNESS),
    row("audio", "Play the test sound", "the player or the sound file is missing, or the player failed", AUDIO),
    row("audio-loop", "The loop-back of the codec", BOARD_HINT, AUDIO_LOOP),
    row("lcd-color", "An acknowledgement; the colours are the application's", "", LCD_COLOR),
    row("battery", "The battery's voltage or temperature", FILE_HINT, BATTERY),
    row("adc", "The battery's converter: its reading, its calibration",
        "the battery's driver did not take the command, or the record could not be written", ADC),
    row("camera", "Select a camera, or control it", "the video device is not there, or its driver refused", CAMERA),
    row("card", "The size of the memory card", "", CARD),
    row("dev-info", "What the phone is made of", BOARD_HINT, DEV_INFO),
    row("sim-check", "Whether there is a SIM card", MODEM_HINT, SIM_CHECK),
    row("factory-date", "The date that the modem keeps", MODEM_HINT, FACTORY_DATE),
    row("serial-number", "The serial number that the modem keeps", MODEM_HINT, SERIAL_NUMBER),
    row("amt-support", "The radio technology of the modem's first standby", MODEM_HINT, AMT_SUPPORT),
    row("amt-mode", "Switch a phone in normal mode to the test mode", MODEM_HINT, AMT_MODE),
    row("channel", "Switch the modem's channel, 0 to 9", MODEM_HINT, MODEM_SWITCH),
    row("item", "The application's results, item by item", "the phone could not read or write /amt/product.txt", ITEM),
    row("test-result", "What the stations found", MODEM_HINT, TEST_RESULT),
};

}  // namespace

std::span<const station_word_st> station_operation_words() {
  return WORDS;
}
