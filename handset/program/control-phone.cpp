// `handset ctl`: the phone and its files.
#include <fmt/format.h>
#include <signal.h>
#include <string.h>

#include <array>
#include <cstdlib>
#include <filesystem>

#include "handset/phone/cable.h"
#include "handset/phone/phone.h"
#include "handset/program/control-command.h"

namespace handset {

namespace {

int signal_of(const std::string& text) {
  const std::string name = text.starts_with("SIG") ? text.substr(3) : text;
  for (int number = 1; number < NSIG; ++number) {
    const char* known = sigabbrev_np(number);
    if (known != nullptr && name == known) return number;
  }
  return static_cast<int>(number_of(name));
}

std::string status(control_target& target, const words&) {
  auto& service = target.the_phone.service();
  const auto state = service.running() ? fmt::format("running, process {} of the phone", service.pid()) : "ended";
  const auto app = target.app_tty.empty() ? "" : fmt::format("APP tty: {}\n", target.app_tty.string());
  return fmt::format("service: {}\nPC tty: {}\n{}tree: {}\n", state, target.pc_tty.string(), app,
                     target.the_phone.host_path("/").string());
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
  target.the_phone.remove(rest[0]);
  return "";
}

std::string set_file_mode(control_target& target, const words& rest) {
  const auto mode = std::strtoul(rest[1].c_str(), nullptr, 8);
  std::filesystem::permissions(target.the_phone.host_path(rest[0]), static_cast<std::filesystem::perms>(mode & 0777));
  return "";
}

// Every write of the file fails as on a full file system.
std::string fill_file(control_target& target, const words& rest) {
  const auto path = target.the_phone.host_path(rest[0]);
  std::filesystem::remove(path);
  std::filesystem::create_symlink("/dev/full", path);
  return "";
}

constexpr control_command COMMANDS[] = {
    {"status", "", "what runs, and where", 0, 0, status},
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
    {"file mode", "PATH OCTAL", "the rights of a file or folder, e.g. file mode /amt/imei.txt 0", 2, 2, set_file_mode},
    {"file full", "PATH", "from now on every write of the file fails as on a full file system", 1, 1, fill_file},
};

}  // namespace

std::span<const control_command> phone_commands() {
  return COMMANDS;
}

}  // namespace handset
