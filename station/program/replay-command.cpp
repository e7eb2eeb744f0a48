// amt-station replay, and amt-station bridge: the commands on captures that open ports.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>
#include <ostream>

#include "capture/reader.h"
#include "station/capture/bridge.h"
#include "station/capture/replay.h"
#include "station/program/capture-options.h"
#include "station/wire/render.h"

namespace {

constexpr std::size_t LARGEST_RULES = std::size_t{1024} * 1024;
constexpr unsigned LONGEST_TIMEOUT_MS = 24 * 3600 * 1000;

using options_st = replay_options_all_st;

std::string read_rules(const options_st& options, replay_rules_st* rules) {
  if (!options.m_rules_file.empty()) {
    std::ifstream file(options.m_rules_file, std::ios::binary);
    if (!file) return options.m_rules_file + ": cannot be read";
    std::string text(LARGEST_RULES, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (file.bad()) return options.m_rules_file + ": cannot be read";
    if (file.gcount() == static_cast<std::streamsize>(LARGEST_RULES)) return options.m_rules_file + ": too large";
    text.resize(static_cast<std::size_t>(file.gcount()));
    const std::string wrong = replay_add_rules(text, rules);
    if (!wrong.empty()) return options.m_rules_file + ": " + wrong;
  }
  for (const auto& rule : options.m_rules) {
    const std::string wrong = replay_add_rule(rule, rules);
    if (!wrong.empty()) return fmt::format("--may-differ '{}': {}", rule, wrong);
  }
  return {};
}

// The item as `decode` shows it, without its times: those of a capture and of its replay have nothing in common.
std::string item_text(const stream_item_st& item, bool is_sent, bool shows_hex) {
  return station_render_item(item, is_sent) + (shows_hex ? station_render_dump(item.m_bytes) : "");
}

// What was sent, item by item.
void print_sent(const replay_turn_st& turn, const options_st& options, std::ostream* out) {
  stream_splitter_st splitter(capture_form(options.link()));
  const stream_sink sink = [&](const stream_item_st& item) {
    if (capture_is_blank(item)) return;
    *out << fmt::format("line {}: -> {}\n", turn.m_line, item_text(item, true, options.m_hex));
  };
  for (const auto& piece : turn.m_sent) splitter.feed(piece.m_bytes, sink);
  splitter.flush(sink);
}

void print_turn(const replay_turn_st& turn, const std::vector<replay_pair_st>& pairs, const options_st& options,
                std::ostream* out) {
  const auto differs = [](const replay_pair_st& pair) { return !pair.m_differences.empty(); };
  if (!options.m_shows_all && std::ranges::none_of(pairs, differs)) return;
  print_sent(turn, options, out);
  for (const auto& pair : pairs) {
    const std::string line = pair.m_before == nullptr ? "" : fmt::format("line {}: ", pair.m_before->item().m_line);
    if (!differs(pair)) {
      if (options.m_shows_all)
        *out << line << "<- " << item_text(pair.m_before->item().m_item, false, options.m_hex) << "\n";
      continue;
    }
    if (pair.m_before != nullptr)
      *out << line << "-  " << item_text(pair.m_before->item().m_item, false, options.m_hex) << "\n";
    const std::string indent(line.size(), ' ');
    if (pair.m_now != nullptr)
      *out << indent << "+  " << item_text(pair.m_now->item().m_item, false, options.m_hex) << "\n";
    for (const auto& difference : pair.m_differences) *out << indent << "   " << difference << "\n";
  }
  out->flush();
}

void add_port(CLI::App* app, options_st* options) {
  auto* port = app->add_option("--port", options->m_port, "The terminal that leads to the phone's PC link");
  app->add_option("--app", options->m_app, "The terminal of the phone's test application")
      ->type_name("PATH")
      ->excludes(port);
  port->type_name("PATH");
  app->add_option("--baud", options->m_baud, "Speed of the line; left as it is otherwise")
      ->check(capture_check_baud)
      ->type_name("N");
}

int replay(const options_st& options, const station_io_st& io) {
  replay_options_st how;
  const std::string wrong_rules = read_rules(options, &how.m_rules);
  if (!wrong_rules.empty()) return capture_fail(io, STATION_USAGE, wrong_rules);
  how.m_timeout = std::chrono::milliseconds(options.m_timeout_ms);
  how.m_keeps_times = options.m_keeps_times;
  std::vector<capture_numbered_st> entries;
  bool has_bad_lines = false;
  std::string wrong = capture_load(options.m_file, &entries, [&](std::size_t line, const std::string& why) {
    if (!has_bad_lines) *io.m_err << "amt-station: " << options.m_file << ":" << line << ": " << why << std::endl;
    has_bad_lines = true;
  });
  // Half a session would be compared with a whole one.
  if (!wrong.empty() || has_bad_lines)
    return capture_fail(io, STATION_BAD_CAPTURE, wrong.empty() ? "nothing was sent" : wrong);
  wrong = capture_choose_phone(options.m_phone, &entries);
  if (!wrong.empty()) return capture_fail(io, STATION_USAGE, wrong + " with --phone");
  const auto turns = replay_turns(entries, options.link());
  const auto has_sent = [](const replay_turn_st& turn) { return !turn.m_sent.empty(); };
  if (std::ranges::none_of(turns, has_sent))
    return capture_fail(
        io, STATION_BAD_CAPTURE,
        fmt::format("{}: nothing was sent on the link {}", options.m_file, capture_link_name(options.link())));

  capture_writer_st writer;
  station_link_st link;
  if (!options.m_capture.empty()) {
    if (capture_is_same_file(options.m_file, options.m_capture))
      return capture_fail(io, STATION_USAGE, options.m_file + ": the capture that is sent would grow by its replay");
    wrong = writer.open(options.m_capture);
    if (!wrong.empty()) return capture_fail(io, STATION_USAGE, wrong);
    link.set_capture({&writer, options.link(), options.m_phone});
  }
  link.set_stop_fd(io.m_stop_fd);
  const station_exit_en opened = link.open(options.m_app.empty() ? options.m_port : options.m_app, options.m_baud);
  if (opened != STATION_OK) return capture_fail(io, opened, link.error());
  replay_st run(&link, options.link(), how,
                [&](const auto& turn, const auto& pairs) { print_turn(turn, pairs, options, io.m_out); });
  const station_exit_en result = run.run(turns, io.m_stop_fd);
  if (result > STATION_DIFFERENT) *io.m_err << "amt-station: " << link.error() << std::endl;
  const auto& counts = run.counts();
  *io.m_out << fmt::format("replay: {} of {} requests sent, {} answers in the capture, {} different\n", counts.m_turns,
                           turns.size(), counts.m_answers, counts.m_different);
  return capture_finish_capture(io, writer, capture_finish(io, result));
}

}  // namespace

void capture_add_replay(CLI::App* app, replay_options_all_st* options) {
  app->add_option("FILE", options->m_file, "The capture")->required()->type_name("");
  add_port(app, options);
  app->add_option("--phone", options->m_phone, "The phone of the capture, where it has several")->type_name("NAME");
  app->add_option("--may-differ", options->m_rules,
                  "What may differ: 'atom 21', 'atom 46:18 V1.*', 'text EXPRESSION', 'serial-numbers', 'late MS'; can "
                  "be repeated")
      ->type_name("RULE")
      ->allow_extra_args(false);
  app->add_option("--rules", options->m_rules_file, "A file of such rules, one a line")->type_name("FILE");
  app->add_flag("--times", options->m_keeps_times, "Send no sooner than in the capture; at once otherwise");
  app->add_option("--timeout", options->m_timeout_ms,
                  "Milliseconds that an answer may take longer than in the capture (5000)")
      ->check(CLI::Range(1U, LONGEST_TIMEOUT_MS).description(""))
      ->type_name("MS");
  app->add_flag("--all", options->m_shows_all, "Show what is the same, too");
  app->add_flag("--hex", options->m_hex, "Show the bytes in hexadecimal and ASCII too");
  app->add_option("--capture", options->m_capture, "Append every byte that passes on the port to this file")
      ->type_name("FILE");
}

int capture_replay(const std::vector<std::string>& arguments, const station_io_st& io) {
  options_st options;
  CLI::App app{"Sends the station's side of a capture to a phone and compares the answers", "amt-station replay"};
  capture_add_replay(&app, &options);
  app.footer(station_exit_help(station_command_en::CAPTURE));
  if (const auto status = capture_parse(&app, arguments, io)) return *status;
  if (options.m_port.empty() && options.m_app.empty())
    return capture_fail(io, STATION_USAGE, "one of --port and --app is required");
  return replay(options, io);
}

void capture_add_bridge(CLI::App* app, bridge_options_st* options) {
  app->add_option("PC-PORT", options->m_pc, "The terminal that leads to the station")->required()->type_name("");
  app->add_option("PHONE-PORT", options->m_phone, "The terminal that leads to the phone, or tcp://HOST:PORT")
      ->required()
      ->type_name("");
  app->add_option("--capture", options->m_capture, "Append every byte to this file")->type_name("FILE");
  capture_add_link(app, &options->m_link, "What the capture calls the link (pc)");
  app->add_option("--baud", options->m_baud, "Speed of both lines; left as they are otherwise")
      ->check(capture_check_baud)
      ->type_name("N");
}

int capture_bridge(const std::vector<std::string>& arguments, const station_io_st& io) {
  bridge_options_st options;
  CLI::App app{"Sits between a station and a phone, passes everything on and keeps it", "amt-station bridge"};
  capture_add_bridge(&app, &options);
  app.footer(station_exit_help(station_command_en::CAPTURE));
  if (const auto status = capture_parse(&app, arguments, io)) return *status;
  capture_writer_st writer;
  const std::string wrong = options.m_capture.empty() ? "" : writer.open(options.m_capture);
  if (!wrong.empty()) return capture_fail(io, STATION_USAGE, wrong);
  station_link_st station;
  station_link_st phone;
  for (auto [link, port] : {std::pair(&station, &options.m_pc), std::pair(&phone, &options.m_phone)}) {
    link->set_stop_fd(io.m_stop_fd);
    const station_exit_en opened = link->open(*port, options.m_baud);
    if (opened != STATION_OK) return capture_fail(io, opened, link->error());
  }
  *io.m_out << fmt::format("bridge: {} and {} are joined, until Ctrl-C", options.m_pc, options.m_phone) << std::endl;
  const auto name = capture_find_link(options.m_link).value_or(capture_link_en::PC);
  capture_bridge_st bridge(&station, &phone, {options.m_capture.empty() ? nullptr : &writer, name});
  const station_exit_en result = bridge.run(io.m_stop_fd);
  if (result == STATION_INTERRUPTED) return capture_finish_capture(io, writer, STATION_OK);
  return capture_finish_capture(io, writer, capture_fail(io, result, bridge.error()));
}
