#include "tests/soak/faults.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace soak {

namespace {

using handset::file_fault;
namespace fs = std::filesystem;

constexpr std::size_t STEPS_PER_CHANGE = 40;
constexpr std::size_t STEPS_PER_HEALING = 200;  // a phone in which nothing is broken has to be met as often

}  // namespace

faults::faults(handset::phone& phone, random_source& random) : m_phone(phone), m_random(random) {
  add_files();
  add_library("board library", "/data/board",
              {"enter_idle() = 1", "codec_loop_test = -1", "create_devinfo = 7", "amt_usb_charger_enable(1 = -5"});
  add_library("radio library", "/data/hwt",
              {"hwt_btCtrl = -1", "hwt_btCheck = 3", "hwt_wifiCtrl(1 = 1", "hwt_wifiCheck = 1", "hwt_TxTest(1 = 2",
               "hwt_RxTest(0 = 5", "hwt_gpsCtrl(2 = -3", "hwt_gpsCheck = 9"});
  add_device_call("video0 open", EBUSY);
  add_device_call("video0 SELECT_CAMERA", EIO);
  add_device_call("video0 VIDIOC_S_INPUT", ENODEV);
  add_device_call("video0 CONTROL_CAMERA", EIO);
  add_device_call("battery read", EIO);
  add_modem("modem refuses", [](handset::modem_switches& modem) { modem.refuse = true; });
  add_modem("modem refuses with a number", [](handset::modem_switches& modem) {
    modem.refuse = true;
    modem.refusal = "+CME ERROR: 100";
  });
  add_modem("modem's radio", [](handset::modem_switches& modem) { modem.radio_result = 1; });
  add_modem("modem takes its time", [](handset::modem_switches& modem) { modem.delay = std::chrono::milliseconds(1); });
  // Not fewer: the rest of an "OK" that was cut in two must not look like an "OK".
  for (const std::size_t size : {5u, 20u, 64u}) {
    add_modem("modem in pieces of " + std::to_string(size), [size](handset::modem_switches& modem) {
      modem.split = size;
      modem.gap = std::chrono::milliseconds(1);
    });
  }
  // The service itself takes the right to write from these folders, after each write.
  add(
      "address folders", [] {}, [this] { unlock_addresses(); });
}

void faults::add_files() {
  add_file("screen light", "/sys/class/leds/lcd-backlight/brightness", file_fault::io);
  add_file("key light", "/sys/class/leds/button-backlight/brightness", file_fault::open);
  add_file("vibrator", "/sys/class/timed_output/vibrator/enable", file_fault::io);
  add_file("voltage", "/sys/class/power_supply/battery/voltage_now", file_fault::open);
  add_file("temperature", "/sys/class/power_supply/battery/temp", file_fault::io);
  add_file("calibration record", "/amt/vbatt", file_fault::open);
  add_file("flag record", "/amt/power_usb_amt.txt", file_fault::open);
  add_file("USB serial record", "/amt/usb_serial", file_fault::io);
  add_file("board number record", "/amt/sn-2.txt", file_fault::io);
  add_file("IMEI record", "/amt/imei.txt", file_fault::open);
  add_file("station record", "/amt/amt_result.txt", file_fault::io);
  add_file("product record", "/amt/product.txt", file_fault::open);
  add(
      "driver of the battery", [this] { m_phone.parts().set_adc("no number"); },
      [this] { m_phone.parts().set_adc("2841"); });
}

void faults::add(std::string name, std::function<void()> fail, std::function<void()> heal) {
  m_parts.push_back({std::move(name), std::move(fail), std::move(heal)});
}

void faults::add_file(const std::string& name, const std::string& path, handset::file_fault fault) {
  add(
      name, [this, path, fault] { m_phone.parts().fail(path, fault); }, [this, path] { m_phone.parts().heal(path); });
}

void faults::add_library(const std::string& name, const std::string& folder, const std::vector<std::string>& calls) {
  add(
      name, [this, folder, calls] { m_phone.write_file(folder + "/control", m_random.pick(calls) + "\n"); },
      [this, folder] { m_phone.write_file(folder + "/control", ""); });
}

void faults::add_modem(const std::string& name, const std::function<void(handset::modem_switches&)>& fail) {
  add(
      name, [this, fail] { m_phone.simulated_modem().change_switches(fail); },
      [this] {
        m_phone.simulated_modem().change_switches([](handset::modem_switches& modem) {
          const auto patience = modem.patience;
          modem = {};
          modem.patience = patience;
        });
      });
}

void faults::add_device_call(const std::string& words, int error) {
  add(
      words,
      [this, words, error] {
        m_device_calls.emplace_back(words, error);
        set_device_calls();
      },
      [this, words] {
        std::erase_if(m_device_calls, [&words](const auto& call) { return call.first == words; });
        set_device_calls();
      });
}

void faults::set_device_calls() {
  handset::heal_device_calls(m_phone.devices());
  for (const auto& [words, error] : m_device_calls) handset::fail_device_call(m_phone.devices(), words, error);
}

void faults::unlock_addresses() {
  for (const char* folder : {"/amt/BT", "/amt/WIFI"}) {
    fs::permissions(m_phone.host_path(folder), fs::perms(0755));
    for (const auto& file : fs::directory_iterator(m_phone.host_path(folder))) {
      fs::permissions(file.path(), fs::perms(0644));
    }
  }
}

void faults::change(part& wanted, bool is_broken) {
  ++m_changes;
  is_broken ? wanted.fail() : wanted.heal();
  wanted.is_broken = is_broken;
}

void faults::step() {
  if (m_random.once_in(STEPS_PER_HEALING)) heal();
  if (!m_random.once_in(STEPS_PER_CHANGE)) return;
  part& wanted = m_random.pick(m_parts);
  // One way of misbehaving at a time: they share the modem's switches.
  if (!wanted.is_broken && wanted.name.starts_with("modem")) heal_modem();
  change(wanted, !wanted.is_broken);
}

void faults::heal() {
  for (part& each : m_parts) {
    if (each.is_broken) change(each, false);
  }
  unlock_addresses();
}

void faults::heal_modem() {
  for (part& each : m_parts) {
    if (each.is_broken && each.name.starts_with("modem")) change(each, false);
  }
}

bool faults::any() const {
  return std::any_of(m_parts.begin(), m_parts.end(), [](const part& each) { return each.is_broken; });
}

bool faults::is_broken(std::string_view name) const {
  return std::any_of(m_parts.begin(), m_parts.end(),
                     [name](const part& each) { return each.is_broken && each.name.starts_with(name); });
}

std::string faults::show() const {
  std::string text;
  for (const part& each : m_parts) {
    if (each.is_broken) text += (text.empty() ? "" : ", ") + each.name;
  }
  return text.empty() ? "nothing" : text;
}

}  // namespace soak
