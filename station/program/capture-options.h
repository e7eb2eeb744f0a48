// What the commands that work with captures have in common: how they read their options, and how they end.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "capture/writer.h"
#include "station/program/command-line.h"
#include "station/wire/exit-code.h"

namespace CLI {
class App;
}

// An exit status when the parser ends the run: after help or a wrong command line.
std::optional<int> capture_parse(CLI::App* app, const std::vector<std::string>& arguments, const station_io_st& io);

// --link, one of the names of links.
void capture_add_link(CLI::App* app, std::string* link, const std::string& help);

// For --baud: what is wrong with the speed; empty: nothing.
std::string capture_check_baud(const std::string& text);

// Says why, and gives the code.
int capture_fail(const station_io_st& io, station_exit_en code, const std::string& why);

// The exit status of a run that would otherwise end with this one: the output may have failed.
int capture_finish(const station_io_st& io, int status);
// The same for a capture that was written meanwhile.
int capture_finish_capture(const station_io_st& io, const capture_writer_st& writer, int status);

struct replay_options_all_st {
  std::string m_file;
  std::string m_port;
  std::string m_app;
  std::string m_phone;
  std::string m_rules_file;
  std::vector<std::string> m_rules;
  std::string m_capture;
  unsigned m_baud = 0;
  unsigned m_timeout_ms = 5000;
  bool m_keeps_times = false;
  bool m_shows_all = false;
  bool m_hex = false;

  capture_link_en link() const { return m_app.empty() ? capture_link_en::PC : capture_link_en::APP; }
};

struct bridge_options_st {
  std::string m_pc;
  std::string m_phone;
  std::string m_link = "pc";
  std::string m_capture;
  unsigned m_baud = 0;
};

// The commands that open ports, and what they take.
void capture_add_replay(CLI::App* app, replay_options_all_st* options);
void capture_add_bridge(CLI::App* app, bridge_options_st* options);
int capture_replay(const std::vector<std::string>& arguments, const station_io_st& io);
int capture_bridge(const std::vector<std::string>& arguments, const station_io_st& io);
