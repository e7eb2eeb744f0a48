// The commands of `handset ctl`, one row each.
#include <fmt/format.h>
#include <signal.h>
#include <string.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <functional>

#include "handset/hardware/devices.h"
#include "handset/hardware/screenshot.h"
#include "handset/phone/cable.h"
#include "handset/phone/phone.h"
#include "handset/program/control.h"

namespace handset {

namespace {

using words = std::vector<std::string>;  // those behind the command's own

std::size_t number_of(const std::string& text) {
  std::size_t number = 0;
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (failed != std::errc{} || end != text.data() + text.size()) throw error(fmt::format("\"{}\" is no number", text));
  return number;
}

bool switch_of(const std::string& text) {
  if (text != "on" && text != "off") throw error(fmt::format("\"{}\" is neither on nor off", text));
  return text == "on";
}

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

std::string fail_file(control_target& target, const words& rest) {
  if (rest[1] != "open" && rest[1] != "io") throw error(fmt::format("\"{}\" is neither open nor io", rest[1]));
  target.the_phone.parts().fail(rest[0], rest[1] == "open" ? file_fault::open : file_fault::io);
  return "";
}

std::string heal_file(control_target& target, const words& rest) {
  target.the_phone.parts().heal(rest[0]);
  return "";
}

std::string hardware_report(control_target& target, const words& rest) {
  if (!rest.empty()) return target.the_phone.parts().state(fmt::format("{}", fmt::join(rest, " "))) + "\n";
  std::string report;
  for (const auto& [part, value] : target.the_phone.parts().state()) report += fmt::format("{}: {}\n", part, value);
  return report;
}

std::string set_adc(control_target& target, const words& rest) {
  target.the_phone.parts().set_adc(rest[0]);
  return "";
}

std::string screenshot(control_target& target, const words& rest) {
  const bool both = rest.size() > 1;
  if (both && rest[1] != "both") throw error(fmt::format("\"{}\" is not \"both\"", rest[1]));
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

std::string device_fail(control_target& target, const words& rest) {
  fail_device_call(target.the_phone.devices(), fmt::format("{}", fmt::join(rest.begin() + 1, rest.end(), " ")),
                   errno_of(rest[0]));
  return "";
}

std::string device_result(control_target& target, const words& rest) {
  set_device_result(target.the_phone.devices(), fmt::format("{}", fmt::join(rest.begin() + 1, rest.end(), " ")),
                    static_cast<int>(number_of(rest[0])));
  return "";
}

std::string device_heal(control_target& target, const words&) {
  heal_device_calls(target.the_phone.devices());
  return "";
}

// The folder of a simulated library's files.
std::filesystem::path library_folder(const std::string& library) {
  if (library != "board" && library != "hwt") throw error(fmt::format("\"{}\" is neither board nor hwt", library));
  return "/data/" + library;
}

std::string library_report(control_target& target, const words& rest) {
  const auto folder = library_folder(rest[0]);
  return fmt::format("{}{}", target.the_phone.read_file(folder / "state").value_or(""),
                     target.the_phone.read_file(folder / "calls").value_or(""));
}

std::string library_set(control_target& target, const words& rest) {
  const auto control = library_folder(rest[0]) / "control";
  const auto older = target.the_phone.read_file(control).value_or("");
  target.the_phone.write_file(control, fmt::format("{} = {}\n{}", rest[1], rest[2], older));
  return "";
}

std::string radio_report(const modem_state& state) {
  const auto& radio = state.radio;
  std::string report = fmt::format("transmitter: {}, frequency {}, power {}\nreceiver: {}, frequency {}\n",
                                   radio.transmitting ? "on" : "off", radio.tx_frequency, radio.tx_power,
                                   radio.receiving ? "on" : "off", radio.rx_frequency);
  for (const auto& [number, table] : radio.memory_tables) {
    report += fmt::format("table {} in memory: {} bytes\n", number, table.size());
  }
  for (const auto& [number, table] : radio.flash_tables) {
    report += fmt::format("table {} in flash: {} bytes\n", number, table.size());
  }
  for (const auto& [station, verdict] : state.verdicts) {
    report += fmt::format("station {}: {} {}\n", station, verdict.result, verdict.description);
  }
  return report;
}

std::string modem_report(control_target& target, const words&) {
  auto& modem = target.the_phone.simulated_modem();
  const auto state = modem.state();
  const auto switches = modem.switches();
  const auto on = [](bool value) { return value ? "on" : "off"; };
  const auto up = [&](modem_link link) { return modem.attached(link) ? "up" : "down"; };
  return fmt::format(
             "link: {}\nAT link: {}\nimei: {}\nboard: {}\nchannel: {}\nmode: {}\nl1: {}\nhls: {}\nsupport: {}\n"
             "sim: {}\ndate: {}\nAT lines: {}\nframes: {}\nnoise bytes: {}\n",
             up(modem_link::data), up(modem_link::at), state.imei, state.board_number, state.channel, state.amt_mode,
             state.l1_version, state.hls_version, state.support, state.sim_type, state.factory_date, state.at_lines,
             state.frames, state.noise_bytes) +
         radio_report(state) +
         fmt::format(
             "silent: {}\necho: {}\nrefuse: {}\nrefusal: {}\nresult: {}\ndelay: {} ms\nsplit: {}\ngap: {} ms\n"
             "patience: {} ms\n",
             on(switches.silent), on(switches.echo), on(switches.refuse), switches.refusal, switches.radio_result,
             switches.delay.count(), switches.split, switches.gap.count(), switches.patience.count());
}

std::string modem_say(control_target& target, const words& rest) {
  target.the_phone.simulated_modem().say("\r\n" + rest[0] + "\r\n");
  return "";
}

std::string modem_hang_up(control_target& target, const words&) {
  target.the_phone.unplug_modem();
  return "";
}

std::string modem_plug(control_target& target, const words&) {
  if (target.the_phone.simulated_modem().attached()) throw error("it is plugged in");
  target.the_phone.plug_modem();
  return "";
}

std::string at_say(control_target& target, const words& rest) {
  target.the_phone.simulated_modem().say("\r\n" + rest[0] + "\r\n", modem_link::at);
  return "";
}

std::string unplug_at(control_target& target, const words&) {
  target.the_phone.unplug_at();
  return "";
}

std::string plug_at(control_target& target, const words&) {
  if (target.the_phone.simulated_modem().attached(modem_link::at)) throw error("it is plugged in");
  target.the_phone.plug_at();
  return "";
}

// What `modem NAME VALUE` changes.
struct modem_value {
  std::string_view name;
  void (*set)(modem_switches& switches, modem_state& state, const std::string& value);
};
constexpr std::array<modem_value, 17> MODEM_VALUES = {{
    {"silent", [](auto& switches, auto&, auto& value) { switches.silent = switch_of(value); }},
    {"echo", [](auto& switches, auto&, auto& value) { switches.echo = switch_of(value); }},
    {"refuse", [](auto& switches, auto&, auto& value) { switches.refuse = switch_of(value); }},
    {"delay", [](auto& switches, auto&, auto& value) { switches.delay = std::chrono::milliseconds(number_of(value)); }},
    {"split", [](auto& switches, auto&, auto& value) { switches.split = number_of(value); }},
    {"gap", [](auto& switches, auto&, auto& value) { switches.gap = std::chrono::milliseconds(number_of(value)); }},
    {"patience",
     [](auto& switches, auto&, auto& value) { switches.patience = std::chrono::milliseconds(number_of(value)); }},
    {"imei", [](auto&, auto& state, auto& value) { state.imei = value; }},
    {"board", [](auto&, auto& state, auto& value) { state.board_number = value; }},
    {"channel", [](auto&, auto& state, auto& value) { state.channel = value; }},
    {"l1", [](auto&, auto& state, auto& value) { state.l1_version = value; }},
    {"hls", [](auto&, auto& state, auto& value) { state.hls_version = value; }},
    {"support", [](auto&, auto& state, auto& value) { state.support = value; }},
    {"sim", [](auto&, auto& state, auto& value) { state.sim_type = value; }},
    {"date", [](auto&, auto& state, auto& value) { state.factory_date = value; }},
    {"refusal", [](auto& switches, auto&, auto& value) { switches.refusal = value; }},
    {"result",
     [](auto& switches, auto&, auto& value) { switches.radio_result = static_cast<std::uint32_t>(number_of(value)); }},
}};

std::string modem_set(control_target& target, const words& rest) {
  auto& modem = target.the_phone.simulated_modem();
  for (const auto& known : MODEM_VALUES) {
    if (known.name != rest[0]) continue;
    modem.change_switches([&](auto& switches) {
      modem_state unused;
      known.set(switches, unused, rest[1]);
    });
    modem.change_state([&](auto& state) {
      modem_switches unused;
      known.set(unused, state, rest[1]);
    });
    return "";
  }
  throw error("the modem has no " + rest[0]);
}

struct control_command {
  std::string_view name;       // one or two words
  std::string_view arguments;  // as the help shows them
  std::string_view help;
  std::size_t least;  // words behind the name
  std::size_t most;
  std::string (*run)(control_target& target, const words& rest);
};

constexpr std::size_t ANY = 1000;

// A longer name comes before one that it begins with.
constexpr std::array<control_command, 35> COMMANDS = {{
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
    {"file fail", "PATH open|io", "from now on it cannot be opened, or gives EIO when it is read or written", 2, 2,
     fail_file},
    {"file heal", "PATH", "it is as before the failure", 1, 1, heal_file},
    {"state", "[PART]", "what lights, vibrator, sound, battery, camera and radios now do; e.g. state key light", 0, ANY,
     hardware_report},
    {"adc", "NUMBER", "what the battery driver reads from its converter", 1, 1, set_adc},
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
    {"modem state", "", "what the modem keeps, has seen and how it behaves", 0, 0, modem_report},
    {"modem say", "TEXT", "the modem sends an unsolicited line", 1, 1, modem_say},
    {"modem hangup", "", "the modem's tty hangs up and is gone", 0, 0, modem_hang_up},
    {"modem plug", "", "the modem's tty is back, as a new device", 0, 0, modem_plug},
    {"at say", "TEXT", "the modem sends an unsolicited line on its AT link", 1, 1, at_say},
    {"at hangup", "", "the modem's AT link hangs up and is gone", 0, 0, unplug_at},
    {"at plug", "", "the modem's AT link is back, as a new device", 0, 0, plug_at},
    {"modem", "SWITCH on|off", "silent (takes all, answers nothing), echo (sends all back), refuse", 2, 2, modem_set},
    {"modem", "VALUE NUMBER", "delay, gap, patience in ms; split: answers in pieces of so many bytes", 2, 2, modem_set},
    {"modem", "result NUMBER", "what radio requests come to; with 0 they are done", 2, 2, modem_set},
    {"modem", "NAME TEXT", "change imei, board, channel, l1, hls, support, sim, date, refusal", 2, 2, modem_set},
}};

words name_words(std::string_view name) {
  const auto space = name.find(' ');
  if (space == name.npos) return {std::string(name)};
  return {std::string(name.substr(0, space)), std::string(name.substr(space + 1))};
}

}  // namespace

std::string run_control(control_target& target, const words& all) {
  for (const auto& command : COMMANDS) {
    const words name = name_words(command.name);
    if (all.size() < name.size() || !std::equal(name.begin(), name.end(), all.begin())) continue;
    const words rest(all.begin() + static_cast<std::ptrdiff_t>(name.size()), all.end());
    if (rest.size() >= command.least && rest.size() <= command.most) return command.run(target, rest);
    throw error(fmt::format("usage: {} {}", command.name, command.arguments));
  }
  throw error(fmt::format("unknown command: {}", fmt::join(all, " ")));
}

std::string control_help() {
  std::string help = "Commands:\n";
  for (const auto& command : COMMANDS) {
    help += fmt::format("  {:<34} {}\n", fmt::format("{} {}", command.name, command.arguments), command.help);
  }
  return help;
}

}  // namespace handset
