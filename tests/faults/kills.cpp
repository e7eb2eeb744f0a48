// A service that is killed while it writes a record: `make kills`. Each of its lives writes one record and is killed at
// a random moment, between some microseconds after the request and the end of the write; then the record has to be the
// old one or the new one, or empty when it is one value (which is emptied first): never a part or a mixture. Prints a
// line for each record that is not, and a table, and fails if there is one.
//
//   kills-campaign [--count N] [--jobs N] [--seed N]
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <thread>
#include <vector>

#include "amt/amt-convert/ids.h"
#include "amt/amt-convert/wrap.h"
#include "handset/phone/phone.h"
#include "handset/wire/error.h"
#include "pub/result.h"

namespace {

using namespace std::chrono_literals;

constexpr int LIVES = 20;  // of one phone, all with the same record
constexpr double SHORTEST_US = 10;
constexpr double LONGEST_US = 250'000;  // a write and its flushes

using values = std::function<std::string(int)>;

struct record_plan {
  const char* name;
  const char* path;
  bool is_app;                      // over the application's link, else over the PC's
  std::string first;                // sent and answered before the write; empty: nothing
  values request;                   // the write of a value
  values content;                   // what the record then holds
  std::optional<std::string> file;  // of an item file, before each write; none for a record of one value
  bool is_items = false;
};

// Two neighbours differ in every character and in their length.
std::string value_of(int write) {
  return std::string(1 + static_cast<std::size_t>(write * 7 % 17), static_cast<char>('A' + write % 26));
}

std::string text_of(const amt_message_st& message, std::size_t size) {
  return {reinterpret_cast<const char*>(&message.m_buf_a), size};
}

// A frame of the application's link, with numbers and a text as its atoms.
amt_message_st frame_of(std::uint8_t id, const std::vector<std::pair<std::uint8_t, std::uint32_t>>& numbers,
                        std::uint8_t text_atom = 0, const std::string& text = "") {
  amt_message_st message = {};
  amt_frame_init(&message.m_buf_a, id);
  for (const auto& [atom, value] : numbers) amt_frame_add_int(&message.m_buf_a, atom, value);
  if (text_atom != 0) amt_frame_add_string(&message.m_buf_a, text_atom, text.c_str());
  message.m_buf_len = amt_frame_total_length(&message.m_buf_a);
  return message;
}

std::string app_frame(amt_message_st message) {
  return text_of(message, message.m_buf_len);
}

std::string pc_frame(amt_message_st message) {
  if (amt_wrap(&message) != ERR_NONE) throw handset::error("a frame cannot be wrapped");
  return text_of(message, message.m_buf_len);
}

values at(const std::string& command, const std::string& end) {
  return [=](int write) { return command + value_of(write) + end; };
}

values plain(const std::string& end) {
  return [=](int write) { return value_of(write) + end; };
}

std::string flag_of(int write) {
  return write % 2 == 0 ? "0" : "1";
}

std::string adb_request(int write) {
  const std::string value = value_of(write);
  return pc_frame(
      frame_of(AMT_ADB_SERIAL_CMD,
               {{AMT_ATOM_ADB_OPERATION, 1}, {AMT_ATOM_ADB_LENGTH, static_cast<std::uint32_t>(value.size())}},
               AMT_ATOM_ADB_SERIAL, value));
}

std::string calibration_request(int write) {
  const auto value = static_cast<std::uint32_t>(write);
  return pc_frame(frame_of(AMT_WRITE_VBATT_ADC_CMD, {{AMT_ATOM_CALIBRATION_1, value},
                                                     {AMT_ATOM_CALIBRATION_2, value + 1},
                                                     {AMT_ATOM_CALIBRATION_3, value * 1000},
                                                     {AMT_ATOM_CALIBRATION_4, 7}}));
}

std::string calibration_of(int write) {
  return "amt_set_vbatt[" + std::to_string(write) + "] [" + std::to_string(write + 1) + "] [" +
         std::to_string(write * 1000) + "] [7]";
}

std::string product_request(int) {
  return app_frame(frame_of(AMT_WRITE_ITEM_CMD, {{AMT_ATOM_STATION, 1}, {AMT_ATOM_STATION_RESULT, 1}}));
}

std::string result_request(int) {
  return app_frame(frame_of(AMT_WRITE_TEST_RESULT_CMD, {{AMT_ATOM_STATION, 0}, {AMT_ATOM_STATION_RESULT, 1}}));
}

// All items of a file, of which these are the first.
std::string whole(std::string items, std::size_t count) {
  while (items.size() < 2 * count) items += "0\n";
  return items;
}

constexpr std::size_t PRODUCT_ITEMS = 36;
constexpr std::size_t RESULT_ITEMS = 20;
constexpr char SHORT_FILE[] = "2\n2\n1\n";

std::vector<record_plan> make_records() {
  const std::string channel = "AT^DMPCHN=1\r";
  std::vector<record_plan> all = {
      {"Bluetooth", "/amt/BT/BT_Address.txt", false, "", at("AT^DBTADDR=\"", "\"\r"), plain("\n"), {}},
      {"WiFi", "/amt/WIFI/WIFI_nvram.txt", false, "", at("AT^DWIFIADDR=\"", "\"\r"), plain("\n"), {}},
      {"PCBA number", "/amt/sn-2.txt", false, "", at("AT^DPCBACTRL=2,", ""), plain(""), {}},
      {"IMEI", "/amt/imei.txt", false, "", at("AT^DCGSNW=", "\r"), plain(""), {}},
      {"second IMEI", "/amt/imei-2.txt", false, channel, at("AT^DCGSNW=", "\r"), plain(""), {}},
      {"serial number", "/amt/sn.txt", false, "", at("AT^DMSN=", "\r"), plain(""), {}},
      {"second number", "/amt/sn-2.txt", false, channel, at("AT^DMSN=", "\r"), plain(""), {}},
      {"flag",
       "/amt/power_usb_amt.txt",
       false,
       "",
       [](int write) { return "AT^DAMT1=" + flag_of(write) + "\r"; },
       flag_of,
       {}},
      {"USB number", "/amt/usb_serial", false, "", adb_request, plain(""), {}},
      {"calibration", "/amt/vbatt", false, "", calibration_request, calibration_of, {}},
  };
  for (const auto& file :
       {std::optional<std::string>(), std::optional<std::string>(""), std::optional<std::string>(SHORT_FILE)}) {
    all.push_back({"product items", "/amt/product.txt", true, "", product_request, {}, file, true});
    all.push_back({"station results", "/amt/amt_result.txt", true, "", result_request, {}, file, true});
  }
  return all;
}

const std::vector<record_plan>& records() {
  static const std::vector<record_plan> all = make_records();
  return all;
}

enum class found { old_one, new_one, empty, part };

struct tally {
  int kills = 0;
  int old_ones = 0;
  int new_ones = 0;
  int empty = 0;
  int parts = 0;
};

struct kill_report {
  found kind;
  double moment_us;
  std::string content;
};

// A phone whose service is killed once in each of its lives.
class killed_phone {
 public:
  killed_phone(const record_plan& record, unsigned seed)
      : m_record(record), m_phone(options_of(record)), m_random(seed) {}

  kill_report live(int life) {
    set_record(life);
    start();
    handset::tty_end& link = m_record.is_app ? m_phone.app() : m_phone.pc();
    if (!m_record.first.empty()) {
      link.write_all(m_record.first);
      if (link.read_exactly(6) != "\r\nOK\r\n") throw handset::error("no answer to " + m_record.first);
    }
    const double moment = choose_moment();
    link.write_all(m_record.request(life + 1));
    std::this_thread::sleep_for(std::chrono::duration<double, std::micro>(moment));
    m_phone.send_signal(SIGKILL);
    if (m_phone.wait_exit() != handset::killed(SIGKILL)) throw handset::error("the service was not there to be killed");
    const auto content = m_phone.read_file(m_record.path);
    return {m_record.is_items ? judge_items(content) : judge_value(content.value_or(""), life), moment,
            content.value_or("(no file)")};
  }

 private:
  // Half of the moments are in the short while in which the record is emptied and filled, or soon after it.
  double choose_moment() {
    if (m_random() % 2 == 0) return std::uniform_real_distribution<double>(SHORTEST_US, LONGEST_US)(m_random);
    return std::exp(std::uniform_real_distribution<double>(std::log(SHORTEST_US), std::log(LONGEST_US))(m_random));
  }
  static handset::phone_options options_of(const record_plan& record) {
    handset::phone_options options;
    if (record.is_app) options.mode = handset::run_mode::normal;
    return options;
  }
  void set_record(int life) {
    if (!m_record.is_items) {
      m_phone.write_file(m_record.path, m_record.content(life));
    } else if (m_record.file) {
      m_phone.write_file(m_record.path, *m_record.file);
    } else {
      m_phone.remove(m_record.path);
    }
  }
  // Nothing of an earlier life is left on the links.
  void start() {
    if (m_record.is_app) {
      m_phone.unplug_at();
      m_phone.plug_at();
      m_phone.start();
      if (!m_phone.out().wait_for("init over result=0") || !m_phone.open_app()) throw handset::error(why());
      return;
    }
    m_phone.unplug_pc();
    m_phone.plug_pc();
    m_phone.unplug_modem();
    m_phone.plug_modem();
    m_phone.start();
    if (!m_phone.wait_log("read_pc_loop, read ready") || !m_phone.wait_log("read_modem_loop, read ready")) {
      throw handset::error(why());
    }
  }
  std::string why() { return "the service does not serve after a kill:\n" + m_phone.log().text(); }

  found judge_value(const std::string& now, int life) const {
    if (now.empty()) return found::empty;
    if (now == m_record.content(life)) return found::old_one;
    return now == m_record.content(life + 1) ? found::new_one : found::part;
  }
  found judge_items(const std::optional<std::string>& now) const {
    if (now == m_record.file) return found::old_one;
    const std::size_t count = std::string_view(m_record.path).ends_with("product.txt") ? PRODUCT_ITEMS : RESULT_ITEMS;
    std::string completed = whole(m_record.file.value_or(""), count);
    if (now == completed) return found::old_one;
    completed[0] = '1';
    return now == completed ? found::new_one : found::part;
  }

  const record_plan& m_record;
  handset::phone m_phone;
  std::mt19937 m_random;
};

class campaign {
 public:
  campaign(int count, unsigned seed) : m_left(count), m_seed(seed) {}

  void run(int jobs) {
    std::vector<std::thread> players;
    for (int index = 0; index < jobs; ++index) players.emplace_back([this] { play(); });
    for (auto& player : players) player.join();
  }

  int print() const {
    tally all;
    std::printf("%-16s %8s %8s %8s %8s %8s\n", "record", "kills", "old", "new", "empty", "parts");
    for (const auto& [name, each] : m_tallies) {
      print_row(name.c_str(), each);
      all.kills += each.kills;
      all.old_ones += each.old_ones;
      all.new_ones += each.new_ones;
      all.empty += each.empty;
      all.parts += each.parts;
    }
    print_row("all", all);
    return all.parts + m_failures;
  }

 private:
  static void print_row(const char* name, const tally& each) {
    std::printf("%-16s %8d %8d %8d %8d %8d\n", name, each.kills, each.old_ones, each.new_ones, each.empty, each.parts);
  }

  void play() {
    for (unsigned phone = m_phones++; m_left > 0; phone = m_phones++) {
      const record_plan& record = records()[phone % records().size()];
      try {
        killed_phone killed(record, m_seed + phone);
        for (int life = 0; life < LIVES && m_left-- > 0; ++life) take(record, killed.live(life));
      } catch (const std::exception& wrong) {
        const std::lock_guard lock(m_mutex);
        ++m_failures;
        std::printf("%s: %s\n", record.name, wrong.what());
        m_left = 0;
      }
    }
  }

  void take(const record_plan& record, const kill_report& report) {
    const std::lock_guard lock(m_mutex);
    tally& each = m_tallies[record.name];
    ++each.kills;
    each.old_ones += report.kind == found::old_one ? 1 : 0;
    each.new_ones += report.kind == found::new_one ? 1 : 0;
    each.empty += report.kind == found::empty ? 1 : 0;
    each.parts += report.kind == found::part ? 1 : 0;
    if (report.kind != found::part) return;
    std::printf("%s, killed %.0f us after the request: \"%s\"\n", record.path, report.moment_us,
                report.content.c_str());
    std::fflush(stdout);
  }

  std::atomic<int> m_left;
  const unsigned m_seed;
  std::atomic<unsigned> m_phones{0};
  std::mutex m_mutex;
  int m_failures = 0;
  std::map<std::string, tally> m_tallies;
};

}  // namespace

int main(int count, char** words) {
  int kills = 1000;
  int jobs = 16;  // phones at a time: they wait for most of their time
  unsigned seed = std::random_device{}();
  for (int index = 1; index + 1 < count; index += 2) {
    const std::string word = words[index];
    const auto value = std::strtoul(words[index + 1], nullptr, 10);
    if (word == "--count") kills = static_cast<int>(value);
    if (word == "--jobs") jobs = static_cast<int>(value);
    if (word == "--seed") seed = static_cast<unsigned>(value);
  }
  const auto begin = std::chrono::steady_clock::now();
  campaign played(kills, seed);
  played.run(jobs);
  const int findings = played.print();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin);
  std::printf("%d findings in %lld s, seed %u\n", findings, static_cast<long long>(seconds.count()), seed);
  return findings == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
