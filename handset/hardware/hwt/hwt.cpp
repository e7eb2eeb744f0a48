// The simulated device-test library: radios that are numbers in a file (see call-files.h), in /data/hwt. Every
// operation succeeds unless the control file sets its result; one that fails changes nothing, and stores nothing.
#include "platform/hwt.h"

#include <algorithm>
#include <string>

#include "handset/hardware/hwt/call-files.h"

namespace {

// The control file also sets what the radios receive: "packets = 1000", "svid = 6" and "cnr = 35".
const hwt::call_files& files() {
  static const hwt::call_files files("/data/hwt");
  return files;
}

constexpr int PACKETS = 1000;
constexpr int CARRIER_TO_NOISE = 45;

// Logs a call and judges it; when it succeeds, `act` changes the radios.
template <typename Act>
int perform(const std::string& call, Act act) {
  const int result = files().controlled(call).value_or(0);
  files().append_call(call, result);
  files().take_time(call);
  if (result != 0) return result;
  hwt::call_files::state state = {{"bt", 0}, {"gps", 0},        {"rx", 0},      {"rx_channel", 0}, {"rx_rate", 0},
                                  {"tx", 0}, {"tx_channel", 0}, {"tx_rate", 0}, {"tx_power", 0},   {"wifi", 0}};
  for (const auto& [name, value] : files().load_state()) state[name] = value;
  act(state);
  files().save_state(state);
  return 0;
}

int check(const std::string& call) {
  return perform(call, [](hwt::call_files::state&) {});
}

std::string call_of(const char* operation, std::initializer_list<int> arguments) {
  std::string text = operation;
  const char* before = "(";
  for (const int argument : arguments) {
    text.append(before).append(std::to_string(argument));
    before = ", ";
  }
  return text.append(arguments.size() == 0 ? "()" : ")");
}

void store(int* where, int value) {
  if (where != nullptr) *where = value;
}

}  // namespace

int hwt_btCtrl(int on) {
  return perform(call_of("hwt_btCtrl", {on}), [on](hwt::call_files::state& state) { state["bt"] = on; });
}

int hwt_btCheck(void) {
  return check(call_of("hwt_btCheck", {}));
}

int hwt_wifiCtrl(int on) {
  return perform(call_of("hwt_wifiCtrl", {on}), [on](hwt::call_files::state& state) {
    state["wifi"] = on;
    if (on == 0) state["tx"] = state["rx"] = 0;  // the chip is off
  });
}

int hwt_wifiCheck(void) {
  return check(call_of("hwt_wifiCheck", {}));
}

int hwt_TxTest(int start, int power, int rate, int channel) {
  return perform(call_of("hwt_TxTest", {start, power, rate, channel}), [&](hwt::call_files::state& state) {
    state["tx"] = start;
    state["tx_channel"] = channel;
    state["tx_rate"] = rate;
    state["tx_power"] = power;
  });
}

int hwt_RxTest(int start, int channel, int rate, int* count) {
  return perform(call_of("hwt_RxTest", {start, channel, rate}), [&](hwt::call_files::state& state) {
    if (start == 0) store(count, files().controlled("packets").value_or(PACKETS));
    state["rx"] = start;
    state["rx_channel"] = channel;
    state["rx_rate"] = rate;
  });
}

int hwt_gpsCtrl(int op, int index, int* svid, int* cnr) {
  return perform(call_of("hwt_gpsCtrl", {op, index}), [&](hwt::call_files::state& state) {
    if (op != 2) {
      state["gps"] = op;
      return;
    }
    // Nothing is heard while GPS is off; the signals get weaker from slot to slot.
    const bool is_heard = state["gps"] == 1;
    store(svid, files().controlled("svid").value_or(is_heard ? index + 1 : 0));
    store(cnr, files().controlled("cnr").value_or(is_heard ? std::max(CARRIER_TO_NOISE - index, 0) : 0));
  });
}

int hwt_gpsCheck(void) {
  return check(call_of("hwt_gpsCheck", {}));
}
