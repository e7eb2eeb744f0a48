#include "station/program/capture-commands.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <functional>
#include <ostream>
#include <span>

#include "capture/reader.h"
#include "station/capture/decode.h"
#include "station/capture/export.h"
#include "station/capture/file-source.h"
#include "station/program/capture-options.h"

namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::seconds PART_WAIT{1};  // a frame or line that gets no longer is shown as it is
constexpr std::size_t MOST_REPORTED = 20;     // lines that are none; a file that is no capture has only such

// What goes through a capture, piece by piece.
struct capture_pass_st {
  std::function<void(const capture_entry_st&, std::size_t line)> m_take;
  std::function<void()> m_quiet = [] {};  // nothing came for a while
  std::function<bool()> m_is_over = [] { return false; };
};

// The source is open.
int go_through(capture_source_st* source, const std::string& path, bool follows, const station_io_st& io,
               const capture_pass_st& pass) {
  std::size_t bad_lines = 0;
  const auto on_bad_line = [&](std::size_t line, const std::string& why) {
    if (++bad_lines <= MOST_REPORTED) *io.m_err << "amt-station: " << path << ":" << line << ": " << why << std::endl;
  };
  capture_reader_st reader(pass.m_take, on_bad_line);
  std::array<char, 65536> chunk{};
  auto latest = clock::now();
  for (;;) {
    std::size_t count = 0;
    const capture_bytes_en got = source->read(chunk, io.m_stop_fd, &count);
    if (got == capture_bytes_en::FAILED) return capture_fail(io, STATION_BAD_CAPTURE, source->error());
    if (got == capture_bytes_en::ANEW) {
      *io.m_err << "amt-station: " << path << " is another file now, or was cut: from its beginning" << std::endl;
      reader.finish();
      pass.m_quiet();
      reader = capture_reader_st(pass.m_take, on_bad_line);
    }
    reader.feed({chunk.data(), count});
    if (count != 0) latest = clock::now();
    if (got == capture_bytes_en::NONE_YET && clock::now() - latest > PART_WAIT) pass.m_quiet();
    if (pass.m_is_over()) return STATION_NO_OUTPUT;
    if (got == capture_bytes_en::INTERRUPTED && !follows) return STATION_INTERRUPTED;
    if (got == capture_bytes_en::END || got == capture_bytes_en::INTERRUPTED) break;
  }
  reader.finish();
  if (bad_lines > MOST_REPORTED)
    *io.m_err << "amt-station: " << bad_lines << " lines are no lines of a capture" << std::endl;
  return bad_lines == 0 ? STATION_OK : STATION_BAD_CAPTURE;
}

struct decode_options_st {
  std::string m_file;
  std::string m_link;
  capture_filter_st m_filter{};
  bool m_json = false;
  bool m_hex = false;
  bool m_follows = false;
};

void add_decode(CLI::App* app, decode_options_st* options) {
  app->add_option("FILE", options->m_file, "The capture; - is standard input")->required()->type_name("");
  app->add_option("--id", options->m_filter.m_ids, "Requests with this id, and their answers; can be repeated")
      ->type_name("N")
      ->allow_extra_args(false);
  capture_add_link(app, &options->m_link, "What passed on this link alone");
  app->add_option("--phone", options->m_filter.m_phone, "What passed at this phone alone")->type_name("NAME");
  app->add_flag("--errors", options->m_filter.m_errors_only,
                "Refusals, damaged frames, noise and requests without an answer alone");
  auto* json = app->add_flag("--json", options->m_json, "One JSON object for each");
  app->add_flag("--hex", options->m_hex, "Show the bytes in hexadecimal and ASCII too")->excludes(json);
  app->add_flag("--follow", options->m_follows, "Wait for more at the end of the file, until Ctrl-C");
}

int decode(const std::vector<std::string>& arguments, const station_io_st& io) {
  decode_options_st options;
  CLI::App app{"Shows a capture, one line for each frame or text", "amt-station decode"};
  add_decode(&app, &options);
  app.footer(station_exit_help(station_command_en::CAPTURE));
  if (const auto status = capture_parse(&app, arguments, io)) return *status;
  options.m_filter.m_link = capture_find_link(options.m_link);
  const station_style_st style{io.m_color && !options.m_json, options.m_hex};
  capture_decoder_st decoder(options.m_filter, [&](const station_entry_st& entry) {
    *io.m_out << (options.m_json ? station_render_json(entry) : station_render_text(entry, style)) << '\n';
    if (options.m_follows) io.m_out->flush();
  });
  capture_pass_st pass;
  bool has_phone = options.m_filter.m_phone.empty();
  pass.m_take = [&](const capture_entry_st& entry, std::size_t line) {
    has_phone = has_phone || entry.m_phone == options.m_filter.m_phone;
    decoder.take(entry, line);
  };
  pass.m_quiet = [&] { decoder.flush(); };
  pass.m_is_over = [&] { return !io.m_out->good(); };
  capture_source_st source;
  const std::string wrong = source.open(options.m_file, io.m_in_fd, options.m_follows);
  if (!wrong.empty()) return capture_fail(io, STATION_BAD_CAPTURE, wrong);
  if (!source.is_there()) *io.m_err << "amt-station: waiting for " << options.m_file << std::endl;
  const int status = go_through(&source, options.m_file, options.m_follows, io, pass);
  decoder.finish();
  if (status == STATION_OK && !has_phone && !options.m_follows)
    return capture_fail(io, STATION_USAGE,
                        fmt::format("{}: the capture has no phone {}", options.m_file, options.m_filter.m_phone));
  return capture_finish(io, status);
}

struct export_options_st {
  std::string m_file;
  std::string m_pcap;
  std::string m_csv;
};

void add_export(CLI::App* app, export_options_st* options) {
  app->add_option("FILE", options->m_file, "The capture; - is standard input")->required()->type_name("");
  app->add_option("--pcap", options->m_pcap, "A packet capture, for Wireshark and tshark")->type_name("OUT");
  app->add_option("--csv", options->m_csv, "A table; - is standard output")->type_name("OUT");
}

int export_capture(const std::vector<std::string>& arguments, const station_io_st& io) {
  export_options_st options;
  CLI::App app{"Writes a capture in the form of another program", "amt-station export"};
  add_export(&app, &options);
  app.footer(station_exit_help(station_command_en::CAPTURE));
  if (const auto status = capture_parse(&app, arguments, io)) return *status;
  if (options.m_pcap.empty() && options.m_csv.empty())
    return capture_fail(io, STATION_USAGE, "one of --pcap and --csv is required");
  // The outputs are made last: what is wrong with the rest must not cost a file that is there.
  capture_source_st source;
  std::string wrong = source.open(options.m_file, io.m_in_fd, false);
  if (!wrong.empty()) return capture_fail(io, STATION_BAD_CAPTURE, wrong);
  if (capture_is_same_file(options.m_file, options.m_pcap) || capture_is_same_file(options.m_file, options.m_csv))
    return capture_fail(io, STATION_USAGE, options.m_file + ": the capture would be written over");
  if (!options.m_pcap.empty() && options.m_pcap == options.m_csv)
    return capture_fail(io, STATION_USAGE, options.m_pcap + ": two outputs with one name");
  capture_pcap_st pcap;
  std::ofstream file;
  std::ostream* csv = options.m_csv == "-" ? io.m_out : &file;
  if (csv == &file && !options.m_csv.empty()) file.open(options.m_csv, std::ios::binary);
  if (!file) return capture_fail(io, STATION_NO_OUTPUT, fmt::format("{}: {}", options.m_csv, std::strerror(errno)));
  wrong = options.m_pcap.empty() ? "" : pcap.open(options.m_pcap);
  if (!wrong.empty()) return capture_fail(io, STATION_NO_OUTPUT, wrong);
  if (!options.m_csv.empty()) capture_csv_titles(csv);
  capture_items_st items([&](const capture_item_st& item) {
    if (!options.m_pcap.empty()) pcap.add(item);
    if (!options.m_csv.empty()) capture_csv_line(item, csv);
  });
  capture_pass_st pass;
  pass.m_take = [&](const capture_entry_st& entry, std::size_t line) { items.take(entry, line); };
  const int status = go_through(&source, options.m_file, false, io, pass);
  items.flush();
  csv->flush();
  const std::string lost = pcap.close();
  if (!lost.empty()) return capture_fail(io, STATION_NO_OUTPUT, lost);
  if (!options.m_csv.empty() && !csv->good())
    return capture_fail(io, STATION_NO_OUTPUT, options.m_csv + ": it could not be written whole");
  return capture_finish(io, status);
}

struct row_st {
  const char* m_name;
  const char* m_usage;
  const char* m_help;
  int (*m_run)(const std::vector<std::string>&, const station_io_st&);
};

constexpr row_st ROWS[] = {
    {"decode", "FILE", "shows a capture as monitor shows what comes", decode},
    {"replay", "FILE --port PATH", "sends the station's side of a capture again and compares the answers",
     capture_replay},
    {"export", "FILE --pcap OUT | --csv OUT", "writes a capture for Wireshark, or as a table", export_capture},
    {"bridge", "PC-PORT PHONE-PORT", "sits between a station and a phone and keeps what passes", capture_bridge},
};

}  // namespace

std::string station_capture_help() {
  std::string help = "With a capture, the file of --capture:\n";
  for (const auto& row : ROWS) help += fmt::format("  {} {}  {}\n", row.m_name, row.m_usage, row.m_help);
  return help + "\n";
}

std::vector<completion_command_st> station_describe_capture_commands() {
  std::vector<completion_command_st> all;
  for (const auto& row : ROWS) {
    decode_options_st decode_options;
    export_options_st export_options;
    replay_options_all_st replay_options;
    bridge_options_st bridge_options;
    CLI::App app{row.m_help, row.m_name};
    if (row.m_run == decode) add_decode(&app, &decode_options);
    if (row.m_run == export_capture) add_export(&app, &export_options);
    if (row.m_run == capture_replay) capture_add_replay(&app, &replay_options);
    if (row.m_run == capture_bridge) capture_add_bridge(&app, &bridge_options);
    all.push_back(completion_describe(app));
  }
  return all;
}

std::optional<int> station_run_capture_command(const std::vector<std::string>& arguments, const station_io_st& io) {
  if (arguments.empty()) return std::nullopt;
  const auto* row = std::ranges::find_if(ROWS, [&](const auto& one) { return arguments[0] == one.m_name; });
  return row == std::end(ROWS) ? std::nullopt : std::optional(row->m_run(arguments, io));
}
