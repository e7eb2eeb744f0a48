#include "station/operations.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "station/arguments.h"
#include "station/words.h"

namespace {

using enum station_links_en;
using operation = station_operation_st;
using texts = std::span<const std::string>;

constexpr station_parameter_st ADDRESS{"ADDRESS", true, 0, 19, 59};
constexpr station_parameter_st PCBA_SERIAL{"SERIAL", true, 0, 29, 29};
constexpr station_parameter_st IDENTITY{"NUMBER", true, 0, 20, 20};
constexpr station_parameter_st FLAG{"FLAG", false, 0, 1};
constexpr station_parameter_st SLOT{"SLOT", false, 0, 255};
constexpr station_parameter_st CHANNEL{"CHANNEL", false, 0, 255};
constexpr station_parameter_st RATE{"RATE", false, 0, 65535};
constexpr station_parameter_st POWER{"POWER", false, -32768, 32767};
constexpr station_parameter_st LEVEL{"LEVEL", false, 0, std::numeric_limits<std::int32_t>::max()};

constexpr operation BT_ADDRESS[] = {
    {"get", {}, "AT^DBTADDR?\r", "^DBTADDR:", BOTH, 172, {"110:int=1"}, {111}},
    {"set", {&ADDRESS}, "AT^DBTADDR=\"{0}\"\r", nullptr, BOTH, 172, {"110:int=2", "111:str={0}"}, {}},
};
constexpr operation WIFI_ADDRESS[] = {
    {"get", {}, "AT^DWIFIADDR?\r", "^DWIFIADDR:", BOTH, 185, {"152:int=0"}, {153}},
    {"set", {&ADDRESS}, "AT^DWIFIADDR=\"{0}\"\r", nullptr, BOTH, 185, {"152:int=1", "153:str={0}"}, {}},
};
// The phone takes a CR behind the number for a part of it, so the text that writes it has none.
constexpr operation PCBA_SN[] = {
    {"get", {}, "AT^DPCBACTRL=1\r", "^DPCBACTRL:", PC, 193, {"190:u8=1"}, {191}},
    {"set", {&PCBA_SERIAL}, "AT^DPCBACTRL=2,{0}", nullptr, PC, 193, {"190:u8=2", "191:str={0}"}, {}},
};
// The two identities are the modem's; on a PC link the phone only hands the requests on and keeps what was confirmed.
constexpr operation IMEI[] = {
    {"get", {}, "AT^DGSN?\r", "^DGSN:", BOTH, 7, {}, {21}},
    {"set", {&IDENTITY}, "AT^DCGSNW={0}\r", nullptr, BOTH, 5, {"21:str={0}"}, {}},
};
constexpr operation BOARD_SN[] = {
    {"get", {}, "AT^DMSN\r", "^DMSN:", BOTH, 85, {}, {38}},
    {"set", {&IDENTITY}, "AT^DMSN={0}\r", nullptr, BOTH, 87, {"38:str={0}"}, {}},
};
// Request 219 of a PC link is another one: it can only forbid.
constexpr operation AMT1_FLAG[] = {
    {"get", {}, "AT^DAMT1=2\r", "^DAMT1:", APP, 219, {"192:int=2"}, {192}},
    {"set", {&FLAG}, "AT^DAMT1={0}\r", nullptr, APP, 219, {"192:int={0}"}, {}},
};
// The application asks the same request, but gets the platform's version.
constexpr operation SW_VERSION[] = {{"", {}, "AT^DSVER\r", "^DSVER:", PC, 45, {"19:int=16"}, {18}}};
constexpr operation CHECK[] = {
    {"wifi", {}, "AT^DDEVCONNCHK=0\r", nullptr, BOTH, 185, {"152:int=2"}, {}},
    {"gps", {}, "AT^DDEVCONNCHK=1\r", nullptr, BOTH, 174, {"140:int=2"}, {}},
    {"bt", {}, "AT^DDEVCONNCHK=3\r", nullptr, BOTH, 172, {"110:int=3"}, {}},
};
constexpr operation BLUETOOTH[] = {
    {"on", {}, "AT^DBTCTRL=1\r", nullptr, BOTH, 172, {"110:int=11"}, {}},
    {"off", {}, "AT^DBTCTRL=0\r", nullptr, BOTH, 172, {"110:int=10"}, {}},
};
// As text, reading starts GPS by itself.
constexpr operation GPS[] = {
    {"start", {}, nullptr, nullptr, BOTH, 174, {"140:int=1"}, {}},
    {"read", {&SLOT}, "AT^DGPSCTRL=2,{0}\r", "^DGPSCTRL:", BOTH, 178, {"141:int={0}"}, {141, 144}},
    {"stop", {}, "AT^DGPSCTRL=0\r", nullptr, BOTH, 174, {"140:int=0"}, {}},
};
// As text, these two switch WiFi by themselves; as a frame they need WIFI_RF first.
constexpr operation WIFI_TX[] = {
    {"",
     {&CHANNEL, &RATE, &POWER},
     "AT^DWLTSD=1,{0},{1},{2}\r",
     nullptr,
     BOTH,
     187,
     {"154:u8=3", "155:u8={0}", "156:u16={1}", "157:u16={2}"},
     {}},
    {"off", {}, "AT^DWLTSD=0\r", nullptr, BOTH, 187, {"154:u8=4"}, {}},
};
constexpr operation WIFI_RX[] = {
    {"", {&CHANNEL, &RATE}, "AT^DWLTRD=1,{0},{1}\r", nullptr, BOTH, 187, {"154:u8=5", "155:u8={0}", "156:u16={1}"}, {}},
    {"off", {}, "AT^DWLTRD=0\r", nullptr, BOTH, 187, {"154:u8=6"}, {158}},
};
constexpr operation WIFI_RF[] = {
    {"on", {}, nullptr, nullptr, BOTH, 187, {"154:u8=1"}, {}},
    {"off", {}, nullptr, nullptr, BOTH, 187, {"154:u8=2"}, {}},
};
constexpr operation IDLE[] = {{"", {}, "AT^DENTERIDLE\r", nullptr, BOTH, 240, {}, {}}};
constexpr operation POWER_OFF[] = {{"", {}, "AT^DAMTOFF\r", nullptr, PC, 236, {}, {}}};
constexpr operation BOOT_DOWNLOAD[] = {{"", {}, "AT^DBOOTDLFIN\r", "^DBOOTDLFIN:", PC, 244, {}, {204}}};
constexpr operation VIBRATE[] = {
    {"on", {}, nullptr, nullptr, APP, 35, {"15:flag=1"}, {}},
    {"off", {}, nullptr, nullptr, APP, 35, {"15:flag=0"}, {}},
};
constexpr operation KEY_LIGHT[] = {
    {"on", {}, nullptr, nullptr, APP, 37, {"15:flag=1"}, {}},
    {"off", {}, nullptr, nullptr, APP, 37, {"15:flag=0"}, {}},
};
constexpr operation BRIGHTNESS[] = {{"", {&LEVEL}, nullptr, nullptr, APP, 57, {"26:int={0}"}, {}}};
constexpr operation AUDIO[] = {
    {"on", {}, nullptr, nullptr, APP, 33, {"15:flag=1"}, {}},
    {"off", {}, nullptr, nullptr, APP, 33, {"15:flag=0"}, {}},
};
constexpr operation BATTERY[] = {
    {"voltage", {}, nullptr, nullptr, APP, 9, {}, {5}},
    {"temperature", {}, nullptr, nullptr, APP, 55, {}, {22}},
};
constexpr operation ADC[] = {{"", {}, nullptr, nullptr, PC, 224, {}, {151}}};
constexpr operation CAMERA[] = {
    {"main", {}, nullptr, nullptr, APP, 139, {}, {}},
    {"second", {}, nullptr, nullptr, APP, 147, {}, {}},
};
constexpr operation CARD[] = {{"", {}, nullptr, nullptr, APP, 137, {}, {55}}};
constexpr operation DEV_INFO[] = {{"", {}, nullptr, nullptr, APP, 238, {}, {200}}};

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
    row("bluetooth", "STATE on, off", "Switch Bluetooth", 1, 1, BLUETOOTH),
    row("gps", "OPERATION start, read SLOT, stop", "GPS; read gives satellite and carrier to noise", 1, 2, GPS),
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
    row("battery", "OPERATION voltage, temperature", "The battery's voltage or temperature", 0, 1, BATTERY),
    row("adc", "", "The battery voltage as the converter reads it", 0, 0, ADC),
    row("camera", "CAMERA main, second", "Select a camera", 1, 1, CAMERA),
    row("card", "", "The size of the memory card in KB", 0, 0, CARD),
    row("dev-info", "", "What the phone is made of", 0, 0, DEV_INFO),
};

std::size_t parameter_count(const operation& row) {
  return static_cast<std::size_t>(std::ranges::count_if(row.m_parameters, [](auto* one) { return one != nullptr; }));
}

// The operation that the words name, with the name taken off; without a word, the first where the word may stand alone.
// Null: none of that form.
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

// A character that would end the parameter, or the command, before its time.
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
  for (std::size_t n = 0; n < values.size(); ++n) {
    const station_parameter_st& parameter = *row.m_parameters[n];
    std::string wrong = parameter.m_is_text ? check_text(parameter, values[n], is_frame)  //
                                            : check_number(parameter, values[n]);
    if (!wrong.empty()) return wrong;
  }
  return {};
}

std::string fill_in(const char* pattern, texts values) {
  const auto value = [&values](std::size_t n) { return n < values.size() ? values[n] : std::string(); };
  return fmt::format(fmt::runtime(pattern), value(0), value(1), value(2));
}

// Whether the operation goes as a frame; a sentence that says why it cannot go as wished.
std::string choose_form(const operation& row, const station_arguments_st& arguments, bool* is_frame) {
  const bool is_app = arguments.m_form == stream_form_en::BARE;
  const bool has_frame = row.m_links == BOTH || row.m_links == (is_app ? APP : PC);
  *is_frame = is_app || arguments.m_is_frame || row.m_at == nullptr;
  if (!*is_frame || has_frame) return {};
  if (is_app) return "this is for the PC link: use --port";
  return row.m_at != nullptr ? "this is no frame of the PC link" : "this is for the application's link: use --app";
}

std::string build_frame(const operation& row, texts values, station_request_st* request) {
  station_start_frame(row.m_frame_id, request);
  request->m_value.m_atoms = row.m_answer_atoms;
  for (const char* atom : row.m_atoms) {
    if (atom == nullptr) break;
    std::string wrong = station_add_atom(&request->m_frame.m_buf_a, fill_in(atom, values));
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
