// `handset ctl`: the hardware, the played devices and the simulated libraries.
#include <fmt/format.h>
#include <string.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <vector>

#include "handset/hardware/call-names.h"
#include "handset/hardware/devices.h"
#include "handset/hardware/hardware.h"
#include "handset/hardware/screenshot.h"
#include "handset/phone/phone.h"
#include "handset/program/control-command.h"

namespace handset {

namespace {

// The words from index `from` on, as one text.
std::string joined(const words& rest, std::ptrdiff_t from) {
  return fmt::format("{}", fmt::join(rest.begin() + from, rest.end(), " "));
}

std::string fail_file(control_target& target, const words& rest) {
  if (rest[1] != "open" && rest[1] != "io") throw usage_error(fmt::format("\"{}\" is neither open nor io", rest[1]));
  target.the_phone.parts().fail(rest[0], rest[1] == "open" ? file_fault::open : file_fault::io);
  return "";
}

std::string heal_file(control_target& target, const words& rest) {
  target.the_phone.parts().heal(rest[0]);
  return "";
}

// The preloaded library is what makes a file system full.
std::string fill_file(control_target& target, const words& rest) {
  if (!target.the_phone.options().screen) throw error("a phone without a screen (--screen none) cannot do that");
  target.the_phone.parts().fail(rest[0], file_fault::full);
  return "";
}

std::string hardware_report(control_target& target, const words& rest) {
  if (!rest.empty()) return target.the_phone.parts().state(joined(rest, 0)) + "\n";
  std::string report;
  for (const auto& [part, value] : target.the_phone.parts().state()) report += fmt::format("{}: {}\n", part, value);
  return report;
}

std::string set_light(control_target& target, const words& rest) {
  const auto percent = number_of(rest[0]);
  if (percent > 100) throw usage_error(fmt::format("{} is more than 100 per cent", rest[0]));
  target.the_phone.parts().set_screen_light(static_cast<int>(percent));
  return "";
}

std::string set_adc(control_target& target, const words& rest) {
  target.the_phone.parts().set_adc(rest[0]);
  return "";
}

std::string screenshot(control_target& target, const words& rest) {
  const bool both = rest.size() > 1;
  if (both && rest[1] != "both") throw usage_error(fmt::format("\"{}\" is not \"both\"", rest[1]));
  const auto devices = target.the_phone.devices();
  write_png(both ? look_at_both_halves(devices) : look_at_screen(devices), rest[0]);
  return "";
}

std::string device_report(control_target& target, const words&) {
  std::string report;
  for (const auto& call : device_calls(target.the_phone.devices())) report += call + "\n";
  return report;
}

int errno_of(const std::string& name) {
  for (int number = 1; number < 200; ++number) {
    const char* known = strerrorname_np(number);
    if (known != nullptr && name == known) return number;
  }
  return static_cast<int>(number_of(name));
}

std::vector<std::string_view> device_names() {
  std::vector<std::string_view> names;
  for (const auto& device : PLAYED_DEVICES) names.push_back(device.name);
  return names;
}

// A name that no device has would make a fault that never comes.
void expect_device_call(const words& rest) {
  const std::string_view device = rest[1];
  const auto* played = std::find_if(std::begin(PLAYED_DEVICES), std::end(PLAYED_DEVICES),
                                    [&](const auto& one) { return one.name == device; });
  if (played == std::end(PLAYED_DEVICES)) {
    throw usage_error(fmt::format("there is no device {}, but {}", device, fmt::join(device_names(), ", ")));
  }
  if (rest.size() == 2) return;  // every call of it
  const auto calls = played->calls;
  if (std::find(calls.begin(), calls.end(), rest[2]) == calls.end()) {
    throw usage_error(fmt::format("{} has no call {}, but {}", device, rest[2], fmt::join(calls, ", ")));
  }
}

std::string device_fail(control_target& target, const words& rest) {
  expect_device_call(rest);
  fail_device_call(target.the_phone.devices(), joined(rest, 1), errno_of(rest[0]));
  return "";
}

std::string device_result(control_target& target, const words& rest) {
  expect_device_call(rest);
  set_device_result(target.the_phone.devices(), joined(rest, 1), static_cast<int>(number_of(rest[0])));
  return "";
}

std::string device_heal(control_target& target, const words&) {
  heal_device_calls(target.the_phone.devices());
  return "";
}

// The folder of a simulated library's files.
std::filesystem::path library_folder(const std::string& library) {
  if (library != "board" && library != "hwt")
    throw usage_error(fmt::format("\"{}\" is neither board nor hwt", library));
  return "/data/" + library;
}

std::string library_report(control_target& target, const words& rest) {
  const auto folder = library_folder(rest[0]);
  return fmt::format("{}{}", target.the_phone.read_file(folder / "state").value_or(""),
                     target.the_phone.read_file(folder / "calls").value_or(""));
}

// "wait hwt_wifiCtrl(1" is about hwt_wifiCtrl.
void expect_library_call(const std::string& library, std::string_view text) {
  if (text.starts_with("wait ")) text.remove_prefix(5);
  const auto known = simulated_calls(library);
  if (std::find(known.begin(), known.end(), text.substr(0, text.find('('))) != known.end()) return;
  throw usage_error(fmt::format("{} has no {}, but {}", library, text, fmt::join(known, ", ")));
}

std::string library_set(control_target& target, const words& rest) {
  expect_library_call(rest[0], rest[1]);
  int result = 0;
  const char* end = rest[2].data() + rest[2].size();
  const auto [stop, failed] = std::from_chars(rest[2].data(), end, result);
  if (failed != std::errc{} || stop != end) throw usage_error(fmt::format("\"{}\" is no number", rest[2]));
  const auto control = library_folder(rest[0]) / "control";
  const auto older = target.the_phone.read_file(control).value_or("");
  target.the_phone.write_file(control, fmt::format("{} = {}\n{}", rest[1], rest[2], older));
  return "";
}

constexpr control_command COMMANDS[] = {
    {"file fail", "PATH open|io", "from now on it cannot be opened, or gives EIO when it is read or written", 2, 2,
     fail_file},
    {"file full", "PATH", "/amt, or a file or folder in it: its file system has no room left", 1, 1, fill_file},
    {"file heal", "PATH", "it is as before the failure, with its content", 1, 1, heal_file},
    {"state", "[PART]", "what lights, vibrator, sound, battery, camera and radios now do; e.g. state key light", 0, ANY,
     hardware_report},
    {"adc", "NUMBER", "what the battery driver reads from its converter", 1, 1, set_adc},
    {"light", "PERCENT", "so much of the screen's light is to be seen: a worn lamp; 100: a good one", 1, 1, set_light},
    {"screenshot", "FILE.png [both]", "what the screen shows; both: the framebuffer's two halves", 1, 2, screenshot},
    {"device calls", "", "what was asked of framebuffer, console, video device and battery driver", 0, 0,
     device_report},
    {"device fail", "ERRNO CALL...", "such calls fail, e.g. device fail EIO fb0 FBIOGET_FSCREENINFO", 2, ANY,
     device_fail},
    {"device result", "NUMBER CALL...", "what such calls give, e.g. device result 2 video0 CONTROL_CAMERA", 2, ANY,
     device_result},
    {"device heal", "", "no call fails any more", 0, 0, device_heal},
    {"library calls", "board|hwt", "what a simulated library was asked, and what the hardware now does", 1, 1,
     library_report},
    {"library set", "board|hwt CALL RESULT", "what a call gives, e.g. library set board IsChargeState 1", 3, 3,
     library_set},
};

}  // namespace

std::span<const control_command> hardware_commands() {
  return COMMANDS;
}

}  // namespace handset
