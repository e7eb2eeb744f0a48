// The options of a phone, and the configuration that follows from them.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "handset/hardware/devices.h"
#include "handset/wire/mounts.h"

namespace handset {

// The run mode of the service that start() asks for.
//   simplified  /phone/bin/vx-kro-amt, configuration beside it
//   usb         /system/bin/vx-kro-amt -u, configuration in /system/etc
//   normal      /system/bin/vx-kro-amt, configuration in /system/etc
enum class run_mode { simplified, usb, normal };

enum class log_sink { capture, discard };  // the service's standard error: into log(), or to /dev/null

// The board library under /system/lib64/hw.
//   present  simulated; watched and steered through the files of handset/hardware/hwt/call-files.h in /data/board
//   absent   no such file
//   empty    a library that lacks every operation
enum class board_library { present, absent, empty };

struct phone_options {
  run_mode mode = run_mode::simplified;
  std::optional<std::string> config;                  // text of the configuration file; none: default_config()
  bool has_config = true;                             // false: there is no configuration file
  std::filesystem::path service;                      // the binary; empty: vx-kro-amt beside the running program
  std::optional<std::vector<std::string>> arguments;  // after argv[0]; none: those of the mode
  std::vector<std::string> environment;               // "NAME=value", on top of PATH and sanitizer options
  std::string pc_device = "/dev/ttyPC";
  std::string modem_device = "/dev/ttyMODEM";  // a name like /dev/ttyS1 makes it a UART to the service
  std::string at_device = "/dev/ttyAT";
  bool pc_plugged = true;       // false: the device is missing until plug_pc()
  bool modem_plugged = true;    // false: the device is missing until plug_modem()
  bool at_plugged = true;       // false: the device is missing until plug_at()
  bool simulated_modem = true;  // false: the test plays the modem on modem_end() and at_end()
  log_sink log = log_sink::capture;
  int log_pipe_size = 0;                          // bytes that fit between service and log reader; 0: the usual 64 KiB
  std::map<std::string, std::string> properties;  // name -> value, set before anything starts
  std::map<std::string, std::string> files;       // absolute path in the phone -> content, made before anything starts
  std::vector<bind_mount> binds;
  phone_user user =
      phone_user::root;  // system: a file's mode counts, as for a service that is started with fewer rights
  board_library board = board_library::present;
  bool has_hardware = true;  // false: a tree without the files of hardware.h
  std::vector<storage_card> cards = {{"/storage/sdcard0", 12'582'912}, {"/storage/sdcard1", 31'166'976}};
  // Framebuffer, console, video device and battery driver, played by a library that is preloaded into the service.
  // None: the phone lacks them and nothing is preloaded. (A service with a sanitizer must have the sanitizer's runtime
  // linked statically.)
  std::optional<screen_size> screen = screen_size{};
};

// Where the application opens its link, in that configuration.
inline constexpr const char* APP_LINK = "/dev/ttyAPP";
// The configuration that a phone gets unless the options bring one. It names the options' devices.
std::string default_config(const phone_options& options = {});

}  // namespace handset
