// `handset ctl`: the simulated modem.
#include <fmt/format.h>

#include <array>
#include <chrono>

#include "handset/modem/modem.h"
#include "handset/phone/phone.h"
#include "handset/program/control-command.h"

namespace handset {

namespace {

bool switch_of(const std::string& text) {
  if (text != "on" && text != "off") throw usage_error(fmt::format("\"{}\" is neither on nor off", text));
  return text == "on";
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
  if (!target.the_phone.simulated_modem().attached()) throw error("it is not plugged in");
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
  if (!target.the_phone.simulated_modem().attached(modem_link::at)) throw error("it is not plugged in");
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
constexpr modem_value MODEM_VALUES[] = {
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
};

std::string modem_set(control_target& target, const words& rest) {
  for (const auto& known : MODEM_VALUES) {
    if (known.name != rest[0]) continue;
    target.the_phone.simulated_modem().change(
        [&](auto& switches, auto& state) { known.set(switches, state, rest[1]); });
    return "";
  }
  throw usage_error("the modem has no " + rest[0]);
}

constexpr control_command COMMANDS[] = {
    {"modem state", "", "what the modem keeps and has seen, and how it behaves", 0, 0, modem_report},
    {"modem say", "TEXT", "the modem sends an unsolicited line", 1, 1, modem_say},
    {"modem hangup", "", "the modem's tty hangs up and is gone", 0, 0, modem_hang_up},
    {"modem plug", "", "the modem's tty is back, as a new device", 0, 0, modem_plug},
    {"at say", "TEXT", "the modem sends an unsolicited line on its AT link", 1, 1, at_say},
    {"at hangup", "", "the modem's AT link hangs up and is gone", 0, 0, unplug_at},
    {"at plug", "", "the modem's AT link is back, as a new device", 0, 0, plug_at},
    {"modem", "SWITCH on|off", "silent (takes all, answers nothing), echo (sends all back), refuse", 2, 2, modem_set},
    {"modem", "VALUE NUMBER", "delay, gap, patience in ms; split: answers in pieces of so many bytes", 2, 2, modem_set},
    {"modem", "result NUMBER", "the result of radio requests; with 0 they are done", 2, 2, modem_set},
    {"modem", "NAME TEXT", "change imei, board, channel, l1, hls, support, sim, date, refusal", 2, 2, modem_set},
};

}  // namespace

std::span<const control_command> modem_commands() {
  return COMMANDS;
}

}  // namespace handset
