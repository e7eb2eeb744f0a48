#include "station/words/operations.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <limits>

#include "amt/amt-convert/ids.h"
#include "station/words/arguments.h"

namespace {

using enum station_links_en;
using operation = station_operation_st;
using texts = std::span<const std::string>;

constexpr station_parameter_st any_number(const char* name) {
  return {name, false, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()};
}

constexpr station_parameter_st ADDRESS{"ADDRESS", true, 0, 19, 59};
constexpr station_parameter_st PCBA_SERIAL{"SERIAL", true, 0, 29, 29};
constexpr station_parameter_st IDENTITY{"NUMBER", true, 0, 20, 20};
constexpr station_parameter_st FLAG{"FLAG", false, 0, 1};
constexpr station_parameter_st SLOT{"SLOT", false, 0, 255};
constexpr station_parameter_st CHANNEL{"CHANNEL", false, 0, 255};
constexpr station_parameter_st RATE{"RATE", false, 0, 65535};
constexpr station_parameter_st POWER{"POWER", false, -32768, 32767};
constexpr station_parameter_st LEVEL{"LEVEL", false, 0, std::numeric_limits<std::int32_t>::max()};
constexpr station_parameter_st LOOP_TYPE = any_number("TYPE");
constexpr station_parameter_st MODE = any_number("MODE");
constexpr station_parameter_st ADC_VALUES[] = {any_number("V1"), any_number("V2"), any_number("V3"), any_number("V4")};
constexpr station_parameter_st CONTROL{"CONTROL", false, 1, 2};
// The phone sends a fixed count of characters to the modem: after two digits the line end would be missing.
constexpr station_parameter_st MODEM_CHANNEL{"CHANNEL", false, 0, 9};
// The phone counts the items from 1 where it writes them and from 0 where it reads them. It would take a result that
// is none of the three for "unknown".
constexpr station_parameter_st ITEM_TO_WRITE{"ITEM", false, 1, 36};
constexpr station_parameter_st ITEM_TO_READ{"ITEM", false, 0, 35};
constexpr station_parameter_st ITEM_RESULT{"RESULT", false, 0, 2};
// The modem's answer has two digits for the station and one for its result.
constexpr station_parameter_st STATION{"STATION", false, 0, 99};
constexpr station_parameter_st STATION_RESULT{"RESULT", false, 0, 9};
constexpr station_parameter_st DESCRIPTION{"DESCRIPTION", true, 0, 127, 127};

// In each row the operation as text comes first, then the operation as a frame.
// clang-format off
constexpr operation BT_ADDRESS[] = {
    {"get", {}, "AT^DBTADDR?\r", "^DBTADDR:", BOTH, AMT_BLUETOOTH_ADDRESS_CMD,
     {{AMT_ATOM_BT_OPERATION, "int=1"}}, {AMT_ATOM_BT_ADDRESS}},
    {"set", {&ADDRESS}, "AT^DBTADDR=\"{0}\"\r", nullptr, BOTH, AMT_BLUETOOTH_ADDRESS_CMD,
     {{AMT_ATOM_BT_OPERATION, "int=2"}, {AMT_ATOM_BT_ADDRESS, "str={0}"}}, {}},
};
constexpr operation WIFI_ADDRESS[] = {
    {"get", {}, "AT^DWIFIADDR?\r", "^DWIFIADDR:", BOTH, AMT_WIFI_TEST_CMD,
     {{AMT_ATOM_WIFI_OPERATION, "int=0"}}, {AMT_ATOM_WIFI_ADDRESS}},
    {"set", {&ADDRESS}, "AT^DWIFIADDR=\"{0}\"\r", nullptr, BOTH, AMT_WIFI_TEST_CMD,
     {{AMT_ATOM_WIFI_OPERATION, "int=1"}, {AMT_ATOM_WIFI_ADDRESS, "str={0}"}}, {}},
};
// The phone takes a CR after the number for a part of the number, so the text that writes it has none.
constexpr operation PCBA_SN[] = {
    {"get", {}, "AT^DPCBACTRL=1\r", "^DPCBACTRL:", PC, AMT_BOARD_PCBA_CTRL_CMD,
     {{AMT_ATOM_PCBA_OPERATION, "u8=1"}}, {AMT_ATOM_PCBA_SERIAL}},
    {"set", {&PCBA_SERIAL}, "AT^DPCBACTRL=2,{0}", nullptr, PC, AMT_BOARD_PCBA_CTRL_CMD,
     {{AMT_ATOM_PCBA_OPERATION, "u8=2"}, {AMT_ATOM_PCBA_SERIAL, "str={0}"}}, {}},
};
// The two identities are the modem's; on a PC link the phone only hands the requests on and keeps what was confirmed.
constexpr operation IMEI[] = {
    {"get", {}, "AT^DGSN?\r", "^DGSN:", BOTH, AMT_READIMEI_CMD, {}, {AMT_ATOM_IMEI}},
    {"set", {&IDENTITY}, "AT^DCGSNW={0}\r", nullptr, BOTH, AMT_WRITEIMEI_CMD, {{AMT_ATOM_IMEI, "str={0}"}}, {}},
};
constexpr operation BOARD_SN[] = {
    {"get", {}, "AT^DMSN\r", "^DMSN:", BOTH, AMT_READ_BOARD_CMD, {}, {AMT_ATOM_BOARD}},
    {"set", {&IDENTITY}, "AT^DMSN={0}\r", nullptr, BOTH, AMT_WRITE_BOARD_CMD, {{AMT_ATOM_BOARD, "str={0}"}}, {}},
};
// Request 219 of a PC link is a different request: it can only forbid.
constexpr operation AMT1_FLAG[] = {
    {"get", {}, "AT^DAMT1=2\r", "^DAMT1:", APP, AMT_DAMT1_CMD, {{AMT_ATOM_AMT1_FLAG, "int=2"}}, {AMT_ATOM_AMT1_FLAG}},
    {"set", {&FLAG}, "AT^DAMT1={0}\r", nullptr, APP, AMT_DAMT1_CMD, {{AMT_ATOM_AMT1_FLAG, "int={0}"}}, {}},
};
// The application's same request gets the platform's version instead.
constexpr operation SW_VERSION[] = {
    {"", {}, "AT^DSVER\r", "^DSVER:", PC, AMT_VERSION_CMD, {{AMT_ATOM_MODULE, "int=16"}}, {AMT_ATOM_VERSION}},
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
     {{AMT_ATOM_SATELLITE, "int={0}"}}, {AMT_ATOM_SATELLITE, AMT_ATOM_CARRIER_TO_NOISE}},
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
     {{AMT_ATOM_RTX_OPERATION, "u8=6"}}, {AMT_ATOM_RTX_COUNT}},
};
constexpr operation WIFI_RF[] = {
    {"on", {}, nullptr, nullptr, BOTH, AMT_WIFI_RTX_TEST_CMD, {{AMT_ATOM_RTX_OPERATION, "u8=1"}}, {}},
    {"off", {}, nullptr, nullptr, BOTH, AMT_WIFI_RTX_TEST_CMD, {{AMT_ATOM_RTX_OPERATION, "u8=2"}}, {}},
};
constexpr operation IDLE[] = {{"", {}, "AT^DENTERIDLE\r", nullptr, BOTH, AMT_ENTER_IDLE_CMD, {}, {}}};
constexpr operation POWER_OFF[] = {{"", {}, "AT^DAMTOFF\r", nullptr, PC, AMT_POWER_OFF_CMD, {}, {}}};
constexpr operation BOOT_DOWNLOAD[] = {
    {"", {}, "AT^DBOOTDLFIN\r", "^DBOOTDLFIN:", PC, AMT_BOOT_DL_FIN_CMD, {}, {AMT_ATOM_BOOT_FLAG}},
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
    {"voltage", {}, nullptr, nullptr, APP, AMT_READ_BATTERY_CMD, {}, {AMT_ATOM_VOLTAGE}},
    {"temperature", {}, nullptr, nullptr, APP, AMT_TEMPERATURE_CMD, {}, {AMT_ATOM_TEMPERATURE}},
};
// The phone writes the four values into a record and into a command for the battery's driver. The command holds 38
// characters of them: with more, record and command would differ.
constexpr operation ADC[] = {
    {"get", {}, nullptr, nullptr, PC, AMT_READ_VBATT_ADC_CMD, {}, {AMT_ATOM_ADC}},
    {"set", {&ADC_VALUES[0], &ADC_VALUES[1], &ADC_VALUES[2], &ADC_VALUES[3]}, nullptr, nullptr, PC,
     AMT_WRITE_VBATT_ADC_CMD,
     {{AMT_ATOM_CALIBRATION_1, "int={0}"}, {AMT_ATOM_CALIBRATION_2, "int={1}"},
      {AMT_ATOM_CALIBRATION_3, "int={2}"}, {AMT_ATOM_CALIBRATION_4, "int={3}"}}, {}, 38},
};
constexpr operation CAMERA[] = {
    {"main", {}, nullptr, nullptr, APP, AMT_CAMERA_PREVIEW_CMD, {}, {}},
    {"second", {}, nullptr, nullptr, APP, AMT_SECOND_CAMERA_PREVIEW_CMD, {}, {}},
    {"control", {&CONTROL}, nullptr, nullptr, APP, AMT_CAMERA_CONTROL_CMD,
     {{AMT_ATOM_CAMERA_CONTROL, "int={0}"}}, {AMT_ATOM_CAMERA_RESULT}},
};
constexpr operation CARD[] = {{"", {}, nullptr, nullptr, APP, AMT_READCAPABILITY_CARD_CMD, {}, {AMT_ATOM_CAPACITY}}};
constexpr operation DEV_INFO[] = {{"", {}, nullptr, nullptr, APP, AMT_READ_DEV_INFO_CMD, {}, {AMT_ATOM_DEV_INFO}}};
constexpr operation SIM_CHECK[] = {{"", {}, nullptr, nullptr, APP, AMT_USIMCHECK_CMD, {}, {AMT_ATOM_SIM}}};
constexpr operation FACTORY_DATE[] = {{"", {}, nullptr, nullptr, APP, AMT_READ_OUTDATE_CMD, {}, {AMT_ATOM_DATE}}};
constexpr operation SERIAL_NUMBER[] = {
    {"", {}, nullptr, nullptr, APP, AMT_READ_SERIAL_NUMBER_CMD, {}, {AMT_ATOM_SERIAL_NUMBER}},
};
constexpr operation AMT_SUPPORT[] = {
    {"", {}, nullptr, nullptr, APP, AMT_NORMAL_TO_AMT_SUPPORT_CMD, {}, {AMT_ATOM_RADIO_TECHNOLOGY}},
};
constexpr operation AMT_MODE[] = {
    {"", {&MODE}, nullptr, nullptr, APP, AMT_NORMAL_TO_AMT_CMD, {{AMT_ATOM_MODE, "int={0}"}}, {}},
};
constexpr operation MODEM_SWITCH[] = {
    {"", {&MODEM_CHANNEL}, nullptr, nullptr, APP, AMT_CHANNEL_SWITCH_CMD, {{AMT_ATOM_MODEM_CHANNEL, "int={0}"}}, {}},
};
constexpr operation ITEM[] = {
    {"read", {&ITEM_TO_READ}, nullptr, nullptr, APP, AMT_READ_ITEM_CMD,
     {{AMT_ATOM_STATION, "int={0}"}}, {AMT_ATOM_STATION_RESULT}},
    {"write", {&ITEM_TO_WRITE, &ITEM_RESULT}, nullptr, nullptr, APP, AMT_WRITE_ITEM_CMD,
     {{AMT_ATOM_STATION, "int={0}"}, {AMT_ATOM_STATION_RESULT, "int={1}"}}, {}},
};
// On a PC link the phone keeps what is written and leaves the answer to the modem.
constexpr operation TEST_RESULT[] = {
    {"read", {&STATION}, nullptr, nullptr, APP, AMT_READ_TEST_RESULT_CMD,
     {{AMT_ATOM_STATION, "int={0}"}}, {AMT_ATOM_STATION_RESULT, AMT_ATOM_DESCRIPTION}},
    {"write", {&STATION, &STATION_RESULT}, nullptr, nullptr, BOTH, AMT_WRITE_TEST_RESULT_CMD,
     {{AMT_ATOM_STATION, "int={0}"}, {AMT_ATOM_STATION_RESULT, "int={1}"}}, {}},
    {"write", {&STATION, &STATION_RESULT, &DESCRIPTION}, nullptr, nullptr, BOTH, AMT_WRITE_TEST_RESULT_CMD,
     {{AMT_ATOM_STATION, "int={0}"}, {AMT_ATOM_STATION_RESULT, "int={1}"}, {AMT_ATOM_DESCRIPTION, "str={2}"}}, {}},
};
// clang-format on

constexpr station_word_st row(const char* name, const char* usage, const char* help, std::size_t least,
                              std::size_t most, std::span<const operation> operations) {
  return {name, usage, help, least, most, false, nullptr, operations};
}

constexpr std::array WORDS = {
    row("bt-address", "OPERATION get, set ADDRESS", "The Bluetooth address", 0, 2, BT_ADDRESS),
    row("wifi-address", "OPERATION get, set ADDRESS", "The WiFi address", 0, 2, WIFI_ADDRESS),
    row("pcba-sn", "OPERATION get, set SERIAL", "The serial number of the board's assembly", 0, 2, PCBA_SN),
    row("imei", "OPERATION get, set NUMBER", "The modem's IMEI", 0, 2, IMEI),
    row("board-sn", "OPERATION get, set NUMBER", "The modem's board number", 0, 2, BOARD_SN),
    row("amt1-flag", "OPERATION get, set 0|1", "Whether the phone may start by USB insertion", 0, 2, AMT1_FLAG),
    row("sw-version", "", "The phone's software version", 0, 0, SW_VERSION),
    row("check", "DEVICE wifi, gps, bt", "Check the hardware of a radio", 1, 1, CHECK),
    row("bluetooth", "STATE on, off, start", "Switch Bluetooth; start leaves two phones on the link", 1, 1, BLUETOOTH),
    row("gps", "OPERATION start, read SLOT, stop, test", "GPS; read gives satellite and carrier to noise", 1, 2, GPS),
    row("wifi-tx", "OPERATION CHANNEL RATE POWER, off", "Transmit test signals", 1, 3, WIFI_TX),
    row("wifi-rx", "OPERATION CHANNEL RATE, off", "Receive test signals; off gives the packets that came", 1, 2,
        WIFI_RX),
    row("wifi-rf", "STATE on, off", "Switch WiFi for wifi-tx and wifi-rx as frames", 1, 1, WIFI_RF),
    row("idle", "", "Let the phone go idle", 0, 0, IDLE),
    row("power-off", "", "Switch the phone off", 0, 0, POWER_OFF),
    row("boot-download", "", "Ask whether the boot software is complete", 0, 0, BOOT_DOWNLOAD),
    row("vibrate", "STATE on, off", "The vibrator", 1, 1, VIBRATE),
    row("key-light", "STATE on, off", "The light of the keys", 1, 1, KEY_LIGHT),
    row("brightness", "LEVEL 0 to 255; above restores", "The light of the screen", 1, 1, BRIGHTNESS),
    row("audio", "STATE on, off", "Play the test sound", 1, 1, AUDIO),
    row("audio-loop", "STATE on TYPE, off", "The loop-back of the codec", 1, 2, AUDIO_LOOP),
    row("lcd-color", "", "An acknowledgement; the colours are the application's", 0, 0, LCD_COLOR),
    row("battery", "OPERATION voltage, temperature", "The battery's voltage or temperature", 0, 1, BATTERY),
    row("adc", "OPERATION get, set V1 V2 V3 V4", "The battery's converter: its reading, its calibration", 0, 5, ADC),
    row("camera", "OPERATION main, second, control 1|2", "Select a camera, or control it", 1, 2, CAMERA),
    row("card", "", "The size of the memory card in KB", 0, 0, CARD),
    row("dev-info", "", "What the phone is made of", 0, 0, DEV_INFO),
    row("sim-check", "", "Whether there is a SIM card: 1 or 0", 0, 0, SIM_CHECK),
    row("factory-date", "", "The date that the modem keeps", 0, 0, FACTORY_DATE),
    row("serial-number", "", "The serial number that the modem keeps", 0, 0, SERIAL_NUMBER),
    row("amt-support", "", "The radio technology of the modem's first standby", 0, 0, AMT_SUPPORT),
    row("amt-mode", "MODE", "Switch a phone in normal mode to the test mode", 1, 1, AMT_MODE),
    row("channel", "CHANNEL", "Switch the modem's channel, 0 to 9", 1, 1, MODEM_SWITCH),
    row("item", "OPERATION read ITEM, write ITEM RESULT", "The application's results, item by item", 2, 3, ITEM),
    row("test-result", "OPERATION read STATION, write STATION RESULT [DESCRIPTION]", "What the stations found", 2, 4,
        TEST_RESULT),
};

std::size_t parameter_count(const operation& row) {
  return static_cast<std::size_t>(std::ranges::count_if(row.m_parameters, [](auto* one) { return one != nullptr; }));
}

// The operation that fits `words`; its name, if it has one, is taken off them. Without words: the first operation of a
// word that may stand alone. Null: none fits.
const operation* find_operation(const station_word_st& word, texts* words) {
  const auto rows = word.m_operations;
  if (words->empty() && word.m_least == 0) return rows.data();
  for (const auto& row : rows) {
    const bool is_named = *row.m_name != '\0';
    if (is_named && (words->empty() || words->front() != row.m_name)) continue;
    if (words->size() != parameter_count(row) + static_cast<std::size_t>(is_named)) continue;
    if (is_named) *words = words->subspan(1);
    return &row;
  }
  return nullptr;
}

// A character that would end the parameter or the command too early.
bool is_separator(char character) {
  const auto byte = static_cast<std::uint8_t>(character);
  return character == ',' || character == '"' || byte < 0x20 || byte == 0x7F;
}

std::string check_text(const station_parameter_st& parameter, const std::string& text, bool is_frame) {
  const auto most = static_cast<std::size_t>(is_frame ? parameter.m_frame_most : parameter.m_most);
  if (text.empty() || text.size() > most) return fmt::format("{} must have 1 to {} characters", parameter.m_name, most);
  if (is_frame || std::ranges::none_of(text, is_separator)) return {};
  return fmt::format("{} with a comma, a quote or a control character can only go in a frame", parameter.m_name);
}

std::string check_number(const station_parameter_st& parameter, const std::string& text) {
  std::int32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  const bool is_number = error == std::errc() && stop == end;
  if (is_number && value >= parameter.m_least && value <= parameter.m_most) return {};
  return fmt::format("{} must be a number from {} to {}", parameter.m_name, parameter.m_least, parameter.m_most);
}

std::string check_parameters(const operation& row, texts values, bool is_frame) {
  std::size_t together = 0;
  for (std::size_t n = 0; n < values.size(); ++n) {
    const station_parameter_st& parameter = *row.m_parameters[n];
    std::string wrong = parameter.m_is_text ? check_text(parameter, values[n], is_frame)  //
                                            : check_number(parameter, values[n]);
    if (!wrong.empty()) return wrong;
    together += values[n].size();
  }
  if (row.m_most_together == 0 || together <= row.m_most_together) return {};
  return fmt::format("the values must have at most {} characters together", row.m_most_together);
}

std::string fill_in(const char* pattern, texts values) {
  const auto value = [&values](std::size_t n) { return n < values.size() ? values[n] : std::string(); };
  return fmt::format(fmt::runtime(pattern), value(0), value(1), value(2), value(3));
}

// *is_frame: whether the operation goes as a frame. Returns why it cannot go as wished; empty when it can.
std::string choose_form(const operation& row, const station_arguments_st& arguments, bool* is_frame) {
  const bool is_app = arguments.m_form == stream_form_en::BARE;
  const bool has_frame = row.m_links == BOTH || row.m_links == (is_app ? APP : PC);
  *is_frame = is_app || arguments.m_is_frame || row.m_at == nullptr;
  if (!*is_frame || has_frame) return {};
  if (is_app) return "this is for the PC link: use --port";
  return row.m_at != nullptr ? "the PC link has no frame for this" : "this is for the application's link: use --app";
}

std::string build_frame(const operation& row, texts values, station_request_st* request) {
  station_start_frame(row.m_frame_id, request);
  request->m_value.m_atoms = row.m_answer_atoms;
  for (const station_atom_st& atom : row.m_atoms) {
    if (atom.m_value == nullptr) break;
    const std::string text = fmt::format("{}:{}", int{atom.m_id}, fill_in(atom.m_value, values));
    std::string wrong = station_add_atom(&request->m_frame.m_buf_a, text);
    if (!wrong.empty()) return wrong;
  }
  return {};
}

}  // namespace

std::span<const station_word_st> station_operation_words() {
  return WORDS;
}

std::string station_build_operation(const station_word_st& word, const station_arguments_st& arguments,
                                    station_request_st* request) {
  texts values(arguments.m_words);
  const operation* row = find_operation(word, &values);
  if (row == nullptr) return fmt::format("{} needs {}", word.m_name, word.m_usage);
  bool is_frame = false;
  std::string wrong = choose_form(*row, arguments, &is_frame);
  if (wrong.empty()) wrong = check_parameters(*row, values, is_frame);
  if (!wrong.empty()) return fmt::format("{}: {}", word.m_name, wrong);
  if (is_frame) return build_frame(*row, values, request);
  request->m_text = fill_in(row->m_at, values);
  request->m_value.m_line = row->m_line;
  return {};
}
