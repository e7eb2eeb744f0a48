// What needs a whole phone: how soon the handshake of a start on USB insertion is seen, and radio and device requests
// of the test application.
#include "handset/phone/phone.h"

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/bench/contender.h"
#include "tests/bench/fail.h"
#include "tests/bench/process-facts.h"
#include "tests/bench/series.h"
#include "tests/bench/terminal.h"
#include "tests/hex.h"

namespace {

using steady = std::chrono::steady_clock;
using milliseconds = std::chrono::duration<double, std::milli>;

constexpr char SUCCESS[] = " handshake success.";

void expect(bool condition, const char* what) {
  if (!condition) bench_fail(what);
}

// From the PC's first byte to the moment at which a reader of the log has the line.
double time_handshake() {
  handset::phone_options options;
  options.mode = handset::run_mode::usb;
  options.simulated_modem = false;
  options.files["/sys/class/android_usb/android0/state"] = "CONFIGURED\n";
  handset::phone phone(options);
  phone.start();
  expect(phone.wait_log("read_pc_loop, read ready"), "the PC link does not come up");
  expect(phone.modem_end().write_all("\r\n+CREG: 1\r\n"), "the modem's link is gone");
  expect(phone.wait_log(", timeMSec:5000. "), "the modem was not heard");
  expect(phone.pc().read_exactly(12).size() == 12, "the modem's text does not reach the PC");

  const auto start = steady::now();
  expect(phone.pc().write_all("A"), "the PC's link is gone");
  expect(phone.wait_log(SUCCESS), "no handshake");
  return milliseconds(steady::now() - start).count();
}

void measure_handshake() {
  constexpr int PHONES = 11;
  std::vector<double> times;
  for (int i = 0; i < PHONES; ++i) times.push_back(time_handshake());
  const quartiles_st found = quartiles(times);
  fmt::print("\nHandshake seen and logged after the PC's first byte, {} phones\n", PHONES);
  fmt::print("  median {:.2f} ms (quartiles {:.2f}..{:.2f}), longest {:.2f} ms\n", found.m_median, found.m_low,
             found.m_high, *std::max_element(times.begin(), times.end()));
}

// A radio request of the application, what the modem gets and what it answers; bytes of the answer frame.
const std::string REQUEST("\x06\x00\xBB\x0D\x00\x00", 6);
constexpr std::string_view TEXT = "AT^DTTEST=0D\r";
constexpr std::string_view REPLY = "\r\n^DTTEST: 0E00000000\r\n\r\nOK\r\n";
const std::string ANSWER("\x0F\x00\xBB\x0E\x09\x00\xEE\x01\x01\x04\x00\x00\x00\x00\x00", 15);

struct links_st {
  int m_app;
  int m_at;
};

void expect_bytes(int fd, std::string_view wanted) {
  std::array<char, 256> buffer{};
  std::size_t length = 0;
  while (length < wanted.size()) {
    pollfd waiting = {fd, POLLIN, 0};
    expect(poll(&waiting, 1, 10000) == 1, "nothing comes");
    const ssize_t count = read(fd, buffer.data() + length, wanted.size() - length);
    expect(count > 0, "a link is gone");
    length += static_cast<std::size_t>(count);
  }
  expect(std::string_view(buffer.data(), length) == wanted, "other bytes than expected");
}

void send_bytes(int fd, std::string_view bytes) {
  expect(write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "a link is gone");
}

// The button's backlight on: one file of the kernel is written.
const std::string BACKLIGHT("\x0C\x00\xBB\x25\x06\x00\xEE\x0F\x04\x01\x00\x01", 12);
const std::string BACKLIGHT_ANSWER("\x0F\x00\xBB\x26\x09\x00\xEE\x01\x01\x04\x00\x00\x00\x00\x00", 15);
constexpr char BACKLIGHT_FILE[] = "/sys/class/leds/button-backlight/brightness";

double time_backlight(const links_st& links, int count) {
  std::vector<double> times;
  for (int i = 0; i < count; ++i) {
    const auto start = steady::now();
    send_bytes(links.m_app, BACKLIGHT);
    expect_bytes(links.m_app, BACKLIGHT_ANSWER);
    times.push_back(milliseconds(steady::now() - start).count() * 1000);
  }
  return median(times);
}

double time_requests(const links_st& links, int count) {
  std::vector<double> times;
  for (int i = 0; i < count; ++i) {
    const auto start = steady::now();
    send_bytes(links.m_app, REQUEST);
    expect_bytes(links.m_at, TEXT);
    send_bytes(links.m_at, REPLY);
    expect_bytes(links.m_app, ANSWER);
    times.push_back(milliseconds(steady::now() - start).count() * 1000);
  }
  return median(times);
}

handset::phone_options platform_options(bool filtered) {
  handset::phone_options options;
  options.mode = handset::run_mode::normal;
  options.simulated_modem = false;
  options.log = handset::log_sink::discard;
  options.environment = {filtered ? "ANDROID_LOG_TAGS=*:s" : "ANDROID_LOG_TAGS=*:d"};
  options.files[BACKLIGHT_FILE] = "0\n";
  return options;
}

// The platform set-up. The modem is played here and confirms that it is silenced.
void start_platform(handset::phone& phone) {
  constexpr std::string_view SILENCING = "AT^DLKS=0\r";
  phone.start();
  expect(phone.at_end().read_exactly(SILENCING.size()) == SILENCING, "the modem is not silenced");
  expect(phone.at_end().write_all("\r\nOK\r\n"), "the AT link is gone");
  expect(phone.out().wait_for("init over result=0"), "the set-up fails");
  expect(phone.open_app(), "there is no APP link");
}

constexpr int ROUNDS = 31;
constexpr int REQUESTS = 300;

// Two bare programs and two services take turns.
void compare(const char* what, const std::array<links_st, 4>& links, double (*time)(const links_st&, int)) {
  constexpr std::array NAMES = {"bare program that writes the same bytes", "bare program once more (noise)",
                                "service, log filtered", "service, every line written to /dev/null"};
  std::array<std::vector<double>, 4> times;
  for (std::size_t round = 0; round < ROUNDS; ++round) {
    for (std::size_t i = 0; i < links.size(); ++i) {
      const std::size_t index = (i + round) % links.size();
      times[index].push_back(time(links[index], REQUESTS));
    }
  }
  fmt::print("\n{}; {} rounds of {}\n", what, ROUNDS, REQUESTS);
  for (std::size_t i = 0; i < times.size(); ++i) {
    fmt::print("{:<42} {:>9.1f} us {:>20}\n", NAMES[i], median(times[i]), show_ratio(times[i], times[0]));
  }
}

void measure_application(const std::string& peer) {
  bench_pin(BENCH_CONTENDERS_PROCESSOR);  // what a phone starts runs where this thread does
  handset::phone filtered(platform_options(true));
  handset::phone full(platform_options(false));
  start_platform(filtered);
  start_platform(full);
  bench_pin(BENCH_OWN_PROCESSOR);
  const terminal app[4];
  const terminal at[2];
  std::vector<contender> bare;
  for (int i = 0; i < 2; ++i) {
    const std::string name = fmt::format("{}-bare-{}", BACKLIGHT_FILE, i);  // on the same file system
    filtered.write_file(name, "0\n");
    const std::string file = filtered.host_path(name);
    bare.emplace_back(std::vector<std::string>{peer, "ask", app[i].path(), at[i].path(), to_hex(TEXT), to_hex(ANSWER)});
    bare.emplace_back(std::vector<std::string>{peer, "store", app[i + 2].path(), file, to_hex(BACKLIGHT_ANSWER)});
  }
  const links_st filtered_links{filtered.app().fd(), filtered.at_end().fd()};
  const links_st full_links{full.app().fd(), full.at_end().fd()};
  compare("Radio request APP -> modem -> APP",
          {{{app[0].fd(), at[0].fd()}, {app[1].fd(), at[1].fd()}, filtered_links, full_links}}, time_requests);
  compare("Device request that writes one file", {{{app[2].fd(), -1}, {app[3].fd(), -1}, filtered_links, full_links}},
          time_backlight);
  expect(full.read_file(BACKLIGHT_FILE).value_or("").starts_with("1"), "the file was not written");
}

// Radio requests are forwarded without an allocation.
void count_allocations(const std::filesystem::path& library, bool filtered) {
  constexpr int FEW = 100;
  constexpr int MANY = 10000;
  constexpr char LIBRARY_INSIDE[] = "/handset/count.so";
  constexpr char COUNTER_INSIDE[] = "/data/counter";
  auto options = platform_options(filtered);
  options.screen.reset();  // nothing else is preloaded
  options.binds.push_back({library, LIBRARY_INSIDE});
  options.environment.push_back(std::string("LD_PRELOAD=") + LIBRARY_INSIDE);
  options.environment.push_back(std::string("AMT_BENCH_COUNTER=") + COUNTER_INSIDE);
  handset::phone phone(options);
  const allocation_counter counter(phone.host_path(COUNTER_INSIDE));
  start_platform(phone);
  const links_st links{phone.app().fd(), phone.at_end().fd()};
  time_requests(links, 1);
  const unsigned long at_start = counter.count();
  expect(at_start > 0, "the allocation counter does not count");
  time_requests(links, FEW);
  const unsigned long at_few = counter.count();
  time_requests(links, MANY - FEW);
  fmt::print("\nOne service, {}; radio requests\n", filtered ? "log filtered" : "every line written to /dev/null");
  fmt::print("  allocations: {} to start and in the first request, {} in requests 1 to {}, {} in requests {} to {}\n",
             at_start, at_few - at_start, FEW, counter.count() - at_few, FEW + 1, MANY);
}

}  // namespace

int main() {
  measure_handshake();
  bench_pin(BENCH_OWN_PROCESSOR);
  bench_take_service_priority();  // inherited by the phones
  const auto programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  measure_application(programs / "amt-bench-peer");
  for (const bool filtered : {true, false}) {
    count_allocations(programs.parent_path() / "lib/libamt-bench-count.so", filtered);
  }
  return 0;
}
