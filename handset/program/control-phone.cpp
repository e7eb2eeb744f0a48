// `handset ctl`: the phone and its files.
#include <fmt/format.h>
#include <signal.h>
#include <string.h>

#include <charconv>
#include <chrono>
#include <filesystem>

#include "handset/phone/cable.h"
#include "handset/phone/phone.h"
#include "handset/program/control-command.h"

namespace handset {

namespace {

constexpr std::chrono::seconds LONGEST_WAIT{5};

int signal_of(const std::string& text) {
  const std::string name = text.starts_with("SIG") ? text.substr(3) : text;
  for (int number = 1; number < NSIG; ++number) {
    const char* known = sigabbrev_np(number);
    if (known != nullptr && name == known) return number;
  }
  return static_cast<int>(number_of(name));
}

const char* mode_word(run_mode mode) {
  static constexpr const char* WORDS[] = {"pc (simplified start)", "pc (start on USB insertion)", "app"};
  return WORDS[static_cast<int>(mode)];
}

std::string status(control_target& target, const words&) {
  auto& service = target.the_phone.service();
  const auto state = service.running() ? fmt::format("running, process {} of the phone", service.pid()) : "ended";
  return fmt::format("service: {}\nmode: {}\nPC tty: {}\nAPP tty: {}\ntree: {}\nlog: {}\n", state,
                     mode_word(target.the_phone.options().mode), target.pc_tty.string(), target.app_tty.string(),
                     target.the_phone.host_path("/").string(), target.log.empty() ? "none" : target.log.string());
}

std::string print_tty(control_target& target, const words& rest) {
  const std::string which = rest.empty() ? "pc" : rest[0];
  if (which != "pc" && which != "app") throw usage_error(fmt::format("\"{}\" is neither pc nor app", which));
  return (which == "pc" ? target.pc_tty : target.app_tty).string() + "\n";
}

std::string log_file(control_target& target, const words&) {
  if (target.log.empty()) throw error("this phone keeps no log (it was started with --quiet)");
  return target.log.string();
}

std::string set_mode(control_target& target, const words& rest) {
  if (rest[0] != "pc" && rest[0] != "app") throw usage_error(fmt::format("\"{}\" is neither pc nor app", rest[0]));
  target.set_mode(rest[0]);
  return "";
}

std::string start(control_target& target, const words&) {
  target.start();
  return "";
}

std::string stop(control_target& target, const words&) {
  target.stop();
  return "";
}

std::string send_signal(control_target& target, const words& rest) {
  target.the_phone.send_signal(signal_of(rest[0]));
  return "";
}

std::string uevent(control_target& target, const words& rest) {
  target.the_phone.uevent(rest);
  return "";
}

std::string unplug_pc(control_target& target, const words&) {
  if (!target.the_phone.pc().plugged()) throw error("it is not plugged in");
  target.the_cable.disconnect();
  target.the_phone.unplug_pc();
  return "";
}

std::string plug_pc(control_target& target, const words&) {
  if (target.the_phone.pc().plugged()) throw error("it is plugged in");
  target.the_phone.plug_pc();
  target.the_cable.connect(target.the_phone.pc());
  return "";
}

std::string get_property(control_target& target, const words& rest) {
  const auto value = target.the_phone.property(rest[0]);
  if (!value) throw error("there is no property " + rest[0]);
  return *value + "\n";
}

std::string set_property(control_target& target, const words& rest) {
  target.the_phone.set_property(rest[0], rest[1]);
  return "";
}

std::string read_file(control_target& target, const words& rest) {
  const auto content = target.the_phone.read_file(rest[0]);
  if (!content) throw error("there is no file " + rest[0]);
  return *content;
}

std::string write_file(control_target& target, const words& rest) {
  target.the_phone.write_file(rest[0], rest[1]);
  return "";
}

std::string remove_file(control_target& target, const words& rest) {
  if (!target.the_phone.exists(rest[0])) throw error("there is no file " + rest[0]);
  target.the_phone.remove(rest[0]);
  return "";
}

std::string set_file_mode(control_target& target, const words& rest) {
  unsigned mode = 0;
  const char* end = rest[1].data() + rest[1].size();
  const auto [stop, failed] = std::from_chars(rest[1].data(), end, mode, 8);
  if (failed != std::errc{} || stop != end || mode > 0777) throw usage_error(rest[1] + " is no mode, such as 644");
  std::filesystem::permissions(target.the_phone.host_path(rest[0]), static_cast<std::filesystem::perms>(mode));
  return "";
}

// The loop that serves the phone's links stands still meanwhile, but for a service that ends nobody is at them.
std::string wait_end(control_target& target, const words&) {
  const auto status = target.the_phone.wait_exit(LONGEST_WAIT);
  if (!status) throw error("the service still runs");
  return to_string(*status) + "\n";
}

constexpr control_command COMMANDS[] = {
    {"status", "", "what runs, and where", 0, 0, status},
    {"tty", "[pc|app]", "where a station connects, or a test application", 0, 1, print_tty},
    {"log", "[-f]", "the service's log; -f: and what it logs from now on", 0, 0, log_file},
    {"mode", "pc|app", "serve the station or the test application: starts the service anew on the same phone", 1, 1,
     set_mode},
    {"wait", "", "until the service has ended, 5 s at most", 0, 0, wait_end},
    {"start", "", "start a service that has ended (handset run --keep)", 0, 0, start},
    {"stop", "", "end the phone: the service gets SIGTERM first", 0, 0, stop},
    {"signal", "NAME", "send the service a signal (TERM, USR2, 9, ...)", 1, 1, send_signal},
    {"uevent", "STRING...", "send a kernel event, e.g. uevent USB_STATE=DISCONNECTED", 1, ANY, uevent},
    {"pc unplug", "", "the PC tty hangs up and is gone", 0, 0, unplug_pc},
    {"pc plug", "", "the PC tty is back, as a new device", 0, 0, plug_pc},
    {"prop get", "NAME", "print a property", 1, 1, get_property},
    {"prop set", "NAME VALUE", "set a property", 2, 2, set_property},
    {"file cat", "PATH", "print a file of the phone", 1, 1, read_file},
    {"file write", "PATH TEXT", "make or replace a file of the phone", 2, 2, write_file},
    {"file remove", "PATH", "remove a file or folder of the phone", 1, 1, remove_file},
    {"file mode", "PATH OCTAL", "the mode of a file or folder; the service is root and obeys none", 2, 2,
     set_file_mode},
};

}  // namespace

std::span<const control_command> phone_commands() {
  return COMMANDS;
}

}  // namespace handset
