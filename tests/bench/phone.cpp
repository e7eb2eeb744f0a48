// What needs a whole phone: how soon the handshake of a start on USB insertion is seen.
#include "handset/phone.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "tests/bench/fail.h"
#include "tests/bench/series.h"

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

}  // namespace

int main() {
  constexpr int PHONES = 11;
  std::vector<double> times;
  for (int i = 0; i < PHONES; ++i) times.push_back(time_handshake());
  const quartiles_st found = quartiles(times);
  fmt::print("\nHandshake seen and logged after the PC's first byte, {} phones\n", PHONES);
  fmt::print("  median {:.2f} ms (quartiles {:.2f}..{:.2f}), longest {:.2f} ms\n", found.m_median, found.m_low,
             found.m_high, *std::max_element(times.begin(), times.end()));
  return 0;
}
