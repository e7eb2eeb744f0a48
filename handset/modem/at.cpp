#include "handset/modem/at.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <optional>
#include <span>
#include <vector>

#include "amt/amt-convert/at-data.h"
#include "handset/modem/radio.h"

namespace handset {

namespace {

constexpr std::string_view OK_TEXT = "\r\nOK\r\n";
constexpr std::string_view CHANNEL_COMMAND = "AT^DMPCHN=";
constexpr std::size_t VERSION_SIZE = 64;
constexpr int STATIONS = 20;

// The answer; none: it is refused.
using answer = std::optional<std::string>;

answer done() {
  return std::string(OK_TEXT);
}
answer keep(std::string& place, std::string_view value) {
  place = value;
  return done();
}
answer information(std::string_view name, std::string_view value) {
  return std::string("\r\n^").append(name).append(": ").append(value).append("\r\n").append(OK_TEXT);
}

std::string to_hex(std::string_view bytes) {
  const std::vector<std::uint8_t> numbers(bytes.begin(), bytes.end());
  std::string text(2 * bytes.size(), '\0');
  amt_hex_encode(numbers, text);
  return text;
}

std::optional<std::string> from_hex(std::string_view text) {
  const bool is_hex = std::all_of(text.begin(), text.end(), [](char digit) { return amt_hex_digit(digit) >= 0; });
  if (text.empty() || text.size() % 2 != 0 || !is_hex) return std::nullopt;
  std::vector<std::uint8_t> bytes(text.size() / 2);
  amt_hex_decode(text, bytes);
  return std::string(bytes.begin(), bytes.end());
}

// What a command works on. `rest` is what follows its name.
struct at_request {
  modem_state& state;
  const modem_switches& switches;
  std::string_view rest;
};

answer nothing(const at_request&) {
  return done();
}
answer write_imei(const at_request& request) {
  return keep(request.state.imei, request.rest);
}
answer read_imei(const at_request& request) {
  return information("DGSN", request.state.imei);
}
answer write_board(const at_request& request) {
  return keep(request.state.board_number, request.rest);
}
answer read_board(const at_request& request) {
  return information("DMSN", request.state.board_number);
}
answer write_channel(const at_request& request) {
  return keep(request.state.channel, request.rest);
}
answer write_mode(const at_request& request) {
  return keep(request.state.amt_mode, request.rest);
}
answer read_support(const at_request& request) {
  return information("DMCC", request.state.support);
}
answer read_sim(const at_request& request) {
  return information("DTOC", request.state.sim_type);
}
answer read_date(const at_request& request) {
  return information("DMFD", request.state.factory_date);
}

// As hexadecimal text: CR, the text, and LF up to the size that versions have.
answer version(std::string_view module, const std::string& text) {
  std::string block = "\r" + text;
  if (block.size() < VERSION_SIZE) block.resize(VERSION_SIZE, '\n');
  return information("DCMR", std::string(module) + "," + to_hex(block));
}
answer read_l1_version(const at_request& request) {
  return version("17", request.state.l1_version);
}
answer read_hls_version(const at_request& request) {
  return version("18", request.state.hls_version);
}

std::string_view take_field(std::string_view& text) {
  const auto comma = text.find(',');
  const auto field = text.substr(0, comma);
  text.remove_prefix(comma == text.npos ? text.size() : comma + 1);
  return field;
}

std::optional<int> station_of(std::string_view text) {
  int station = 0;
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), station);
  if (failed != std::errc{} || end != text.data() + text.size() || station < 1 || station > STATIONS) {
    return std::nullopt;
  }
  return station;
}

// <station>,<result>[,<description>]
answer write_verdict(const at_request& request) {
  std::string_view rest = request.rest;
  const auto station = station_of(take_field(rest));
  const auto result = take_field(rest);
  if (!station || result.empty()) return std::nullopt;
  request.state.verdicts[*station] = {std::string(result), std::string(rest)};
  return done();
}
answer read_verdict(const at_request& request) {
  const auto station = station_of(request.rest);
  if (!station) return std::nullopt;
  const auto& verdict = request.state.verdicts[*station];
  return information("DATOMR", std::to_string(*station) + "," + verdict.result +
                                   (verdict.description.empty() ? "" : "," + verdict.description));
}

answer test_radio(const at_request& request) {
  const auto bytes = from_hex(request.rest);
  if (!bytes) return std::nullopt;
  return information("DTTEST", to_hex(answer_radio(request.state, request.switches, *bytes)));
}

struct at_command {
  std::string_view name;
  bool takes_rest;  // false: the name has to be the whole line
  answer (*run)(const at_request& request);
};
constexpr at_command AT_COMMANDS[] = {
    {"AT", false, nothing},
    {"AT;^DLKS=1", false, nothing},
    {"AT^DLKS=0", false, nothing},
    {"AT^DCGSNW=", true, write_imei},
    {"AT^DMSN=", true, write_board},
    {CHANNEL_COMMAND, true, write_channel},
    {"AT^DSWAMT=", true, write_mode},
    {"AT^DATOMW=", true, write_verdict},
    {"AT^DATOMR=1,", true, read_verdict},
    {"AT^DTTEST=", true, test_radio},
    {"AT^DGSN?", false, read_imei},
    {"AT^DMSN", false, read_board},
    {"AT^DCMR=17", false, read_l1_version},
    {"AT^DCMR=18", false, read_hls_version},
    {"AT^DMCC?", false, read_support},
    {"AT^DTOC", false, read_sim},
    {"AT^DMFD\?\?", false, read_date},
};

// Commands may be in upper or lower case.
bool begins_with(std::string_view line, std::string_view name) {
  const auto same = [](char a, char b) { return std::toupper(static_cast<unsigned char>(a)) == b; };
  const auto begin = line.substr(0, name.size());
  return std::equal(begin.begin(), begin.end(), name.begin(), name.end(), same);
}

answer run(modem_state& state, const modem_switches& switches, std::string_view line) {
  for (const auto& command : AT_COMMANDS) {
    if (!begins_with(line, command.name)) continue;
    const auto rest = line.substr(command.name.size());
    if (command.takes_rest || rest.empty()) return command.run({state, switches, rest});
  }
  return std::nullopt;
}

}  // namespace

std::string answer_at_line(modem_state& state, const modem_switches& switches, std::string_view line) {
  ++state.at_lines;
  const answer given = switches.refuse ? std::nullopt : run(state, switches, line);
  return given.value_or("\r\n" + switches.refusal + "\r\n");
}

bool is_line_without_end(std::string_view line) {
  return begins_with(line, CHANNEL_COMMAND) && line.size() == CHANNEL_COMMAND.size() + 2;
}

}  // namespace handset
