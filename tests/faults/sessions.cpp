// The sessions: a station at the PC's tty, a start on USB insertion, the phone's own application, and Bluetooth-on.
#include <csignal>

#include "handset/hardware/devices.h"
#include "tests/faults/functions.h"
#include "tests/faults/session.h"
#include "tests/hex.h"
#include "tests/services.h"

namespace faults {

namespace {

using namespace std::chrono_literals;

constexpr char BT_RECORD[] = "/amt/BT/BT_Address.txt";
constexpr char WIFI_RECORD[] = "/amt/WIFI/WIFI_nvram.txt";
constexpr char PCBA_RECORD[] = "/amt/sn-2.txt";
constexpr char FLAG_RECORD[] = "/amt/power_usb_amt.txt";
constexpr char IMEI_RECORD[] = "/amt/imei.txt";
constexpr char RESULTS[] = "/amt/amt_result.txt";
constexpr char PRODUCT[] = "/amt/product.txt";
constexpr char HANDSHAKE_PROPERTY[] = "sys.vx.amt.failure.handshake";
constexpr char OK[] = "\r\nOK\r\n";

std::string zeros(int count) {
  std::string text;
  while (count-- > 0) text += "0\n";
  return text;
}

// --- the serial set-up

handset::phone_options serial_options() {
  handset::phone_options options;
  options.files[BT_RECORD] = "AA:AA:AA:AA:AA:AA\n";
  options.files[WIFI_RECORD] = "02:00:00:00:00:01\n";
  options.files["/system/etc/wifi/nvram.txt"] = "boardtype=1\nmacaddr=00:11:22:33:44:55\n";
  return options;
}

bool start_serial(session& played) {
  handset::phone& phone = played.phone();
  phone.start();
  return played.await("the PC's reader", [&] { return phone.log().count("read_pc_loop, read ready") > 0; }) &&
         played.await("the modem's reader", [&] { return phone.log().count("read_modem_loop, read ready") > 0; }) &&
         played.await("the end of the set-up", [&] { return phone.out().count("init over result=0") > 0; });
}

// The record, and what a read gives afterwards.
struct record_row {
  const char* name;
  const char* path;
  const char* write;
  const char* content;
  const char* read;
  const char* answer;
};

constexpr record_row RECORDS[] = {
    {"the Bluetooth address", BT_RECORD, "AT^DBTADDR=\"00:11:22:33:44:55\"\r", "00:11:22:33:44:55\n", "AT^DBTADDR?\r",
     "\r\n^DBTADDR: \"00:11:22:33:44:55\"\r\n\r\nOK\r\n"},
    {"the WiFi address", WIFI_RECORD, "AT^DWIFIADDR=\"02:11:22:33:44:55\"\r", "02:11:22:33:44:55\n", "AT^DWIFIADDR?\r",
     "\r\n^DWIFIADDR: \"02:11:22:33:44:55\"\r\n\r\nOK\r\n"},
    {"the PCBA number", PCBA_RECORD, "AT^DPCBACTRL=2,PCBA-0001", "PCBA-0001", "AT^DPCBACTRL=1\r",
     "\r\n^DPCBACTRL: PCBA-0001\r\n\r\nOK\r\n"},
    {"the flag", FLAG_RECORD, "AT^DAMT1=1\r", "1", "AT^DAMT1=2\r", "\r\n^DAMT1: 1\r\n\r\nOK\r\n"},
};

const request VERSION = {"the version",
                         from_hex("AABBCCDD 17000000 02000000 0F00 BB 2D 0900 EE 13 01 0400 40000000 22B9BEBE"),
                         from_hex("AABBCCDD 65000000 02000000 5D00 BB 2E 5700 EE 13 01 0400 40000000 EE 12 03 4000 0D"
                                  "416E64726F6964342E322C323031332D30312D3231"
                                  "0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A"
                                  "EE 01 01 0400 00000000 916B9D05")};

void ask_record(session& played, const record_row& row) {
  handset::tty_end& pc = played.phone().pc();
  const std::string name = row.name;
  if (played.write(pc, {"the write of " + name, row.write, OK}, row.path, row.content) == outcome::done) {
    played.ask(pc, {"the read of " + name, row.read, row.answer});
  }
}

void play_serial(session& played) {
  if (start_serial(played)) {
    handset::tty_end& pc = played.phone().pc();
    played.ask(pc, {"the probe", "AT\r", OK});
    played.ask(pc, VERSION);
    for (const record_row& row : RECORDS) ask_record(played, row);
    // The modem's answer is the modem's; the service's own record may lack.
    const request write_imei = {"the IMEI's write", "AT^DCGSNW=123456789012345\r", OK};
    // Half a block has garbled the modem's IMEI.
    if (played.ask(pc, write_imei) == outcome::done && !played.was_smooth()) played.ask(pc, write_imei);
    const std::string imei = played.phone().read_file(IMEI_RECORD).value_or("");
    if (!imei.empty() && imei != "123456789012345") played.find("the record of the IMEI holds \"" + imei + "\"");
    played.ask(pc, {"the IMEI's read", "AT^DGSN?\r", "\r\n^DGSN: 123456789012345\r\n\r\nOK\r\n"});
  }
  played.end();
}

// --- the start on USB insertion

handset::phone_options usb_options() {
  handset::phone_options options;
  options.mode = handset::run_mode::usb;
  return options;
}

bool shows_banner(handset::phone& phone) {
  const auto calls = handset::device_calls(phone.devices());
  return !calls.empty() && calls.back() == "fb0 ZELTAFB_IOCTL_EN_LAYER 1";
}

void play_usb(session& played) {
  handset::phone& phone = played.phone();
  if (start_serial(played)) {
    phone.simulated_modem().say("\r\n+CREG: 1\r\n");
    played.hope([&] { return phone.log().count(", timeMSec:5000. ") > 0; }, 3s);
    played.ask(phone.pc(), {"the handshake", "AT^DLKS=0\r", OK});
    // Without a handshake the service ends by itself.
    played.await(
        "the handshake's success", [&] { return phone.log().count(" handshake success.") > 0; }, 24s);
    played.hope([&] { return shows_banner(phone); }, 1s);
    phone.uevent({"change@/devices/virtual/android_usb/android0", "USB_STATE=DISCONNECTED"});
    played.hope([&] { return phone.log().count("get usb disconnect event") > 0; }, 1s);
    played.ask(phone.pc(), {"a request after it", "AT^DLKS=0\r", OK});
  }
  played.end();
  const std::string property = phone.property(HANDSHAKE_PROPERTY).value_or("");
  const bool could_be_set = phone.read_file(MADE_FILE).value_or("").find("/data/property/") == std::string::npos;
  if (could_be_set && property != "1" && property != "2") played.find("the property of the start's end is not set");
}

// --- the application's link

std::string frame(unsigned id, std::string_view atoms) {
  const std::string data = from_hex(atoms);
  const auto word = [](std::size_t number) {
    return std::string{static_cast<char>(number & 0xFF), static_cast<char>(number >> 8 & 0xFF)};
  };
  return word(data.size() + 6) + '\xBB' + static_cast<char>(id) + word(data.size()) + data;
}
const std::string DONE = " EE 01 01 0400 00000000";
std::string done_frame(unsigned id) {
  return frame(id, DONE);
}

handset::phone_options app_options() {
  handset::phone_options options;
  options.mode = handset::run_mode::normal;
  return options;
}

bool open_app(session& played, const std::string& what) {
  return played.await(what, [&] { return played.phone().open_app(100ms); });
}

void play_requests(session& played) {
  handset::phone& phone = played.phone();
  handset::tty_end& app = phone.app();
  phone.simulated_modem().change_state([](auto& state) { state.imei = "352099001761481"; });
  played.ask(app, {"a forwarded request", frame(13, ""), done_frame(14)});
  played.ask(app, {"the IMEI", frame(7, ""), frame(8, "EE 15 02 0F00 333532303939303031373631343831" + DONE)});
  std::string results = zeros(20);
  results[6] = '1';
  const std::string station = "EE 27 01 0400 03000000 EE 24 01 0400 01000000";
  if (played.write(app, {"the station's result", frame(91, station), done_frame(92)}, RESULTS, results, {zeros(20)},
                   true) == outcome::done) {
    played.ask(app, {"the read of the station's result", frame(89, "EE 27 01 0400 03000000"),
                     frame(90, station + "EE 25 02 0000" + DONE)});
  }
  std::string items = zeros(36);
  items[0] = '2';
  if (played.write(app, {"an item", frame(230, "EE 27 01 0400 01000000 EE 24 01 0400 02000000"), done_frame(231)},
                   PRODUCT, items, {zeros(36)}) == outcome::done) {
    played.ask(app, {"the read of an item", frame(228, "EE 27 01 0400 00000000"),
                     frame(229, "EE 27 01 0400 00000000 EE 24 01 0400 02000000" + DONE)});
  }
  played.ask(app, {"a light", frame(57, "EE 1A 01 0400 64000000"), done_frame(58)}, [&](bool is_done) {
    if (is_done && phone.parts().state("screen light") != "100") played.find("the light reports success, but is off");
  });
  played.ask(app, {"the SIM check", frame(99, ""), frame(100, "EE 29 04 0100 01")});
}

void play_app(session& played) {
  handset::phone& phone = played.phone();
  phone.start();
  if (played.await("the end of the set-up", [&] { return phone.out().count("init over result=0") > 0; }) &&
      open_app(played, "the application's terminal")) {
    play_requests(played);
    phone.close_app();
    if (open_app(played, "the next terminal")) {
      played.ask(phone.app(), {"a request of the next application", frame(176, ""), done_frame(175)});
    }
  }
  played.end();
}

// --- Bluetooth-on: two processes, one after the other asked to end

void play_bluetooth(session& played) {
  handset::phone& phone = played.phone();
  if (start_serial(played)) {
    handset::tty_end& pc = phone.pc();
    const std::string answer = from_hex("AABBCCDD 17000000 02000000 0F00 BB AB 0900 EE 01 01 0400 00000000 8F469038");
    played.ask(pc, {"Bluetooth-on", from_hex("AABBCCDD 0E000000 02000000 0600 BB AA 0000 D14E89A3"), answer});
    // The second process answers, too; its answer must not come after that to the next request.
    played.hope([&] { return phone.log().count("req_id_en:170.") > 1; }, 2s);
    played.ask(pc, VERSION);
  }
  played.end();
  const auto children = services(phone);
  for (const std::string& child : children) phone.exec({"/bin/kill", "-TERM", child});
  for (const auto deadline = std::chrono::steady_clock::now() + 5s; !services(phone).empty();) {
    if (std::chrono::steady_clock::now() < deadline) continue;
    played.find("hangs: SIGTERM does not end the second process in 5 s");
    break;
  }
}

}  // namespace

const std::vector<session_plan>& sessions() {
  static const std::vector<session_plan> all = {
      {"serial", serial_options, play_serial},
      {"usb", usb_options, play_usb},
      {"app", app_options, play_app},
      {"bluetooth", serial_options, play_bluetooth},
  };
  return all;
}

}  // namespace faults
