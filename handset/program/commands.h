// Room `program`: the command line of `handset`, a phone that runs until its service ends, and the control socket by
// which a second `handset` commands it.
//
// The commands of the program `handset`, each with its options. They return the program's exit status.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace handset {

enum program_status_en : int {
  STATUS_DONE = 0,
  STATUS_FAILED = 1,  // ctl: it cannot be done, or there is no such phone; run: something else went wrong
  STATUS_USAGE = 2,
  STATUS_NO_SANDBOX = 3,  // this machine cannot make the sandbox; the message names what is missing
  STATUS_NOT_RUN = 127,   // exec: the command cannot be started
};

struct run_command {
  std::string mode = "simplified";
  std::filesystem::path config;
  std::filesystem::path service;
  std::filesystem::path log;
  std::string replay;        // a capture to play instead of a phone; empty: none
  std::string replay_modem;  // a capture to play instead of the simulated modem; empty: none
  std::string replay_phone;  // the phone of that capture, where it has several
  bool is_fast = false;      // of the replay: without the capture's pauses
  bool is_loose = false;     // of the replay: whatever the station sends
  std::string capture;       // a file for every byte on the phone's links; empty: none
  bool quiet = false;
  bool verbose = false;  // the log goes to standard error, too
  std::string name;      // empty: one that is free
  bool bare = false;     // no records and properties of a factory image
  bool keeps = false;    // the phone stays when the service has ended
  bool restarts = false;
  bool shows_tree = false;
  std::string modem_device = "/dev/ttyMODEM";
  std::string screen = "720x1280";       // or "none"
  std::string board = "present";         // or "absent", "empty"
  std::vector<std::string> cards;        // "FOLDER=KB", "none"; nothing: the usual two
  std::vector<std::string> files;        // "PATH=TEXT"
  std::vector<std::string> properties;   // "NAME=VALUE"
  std::vector<std::string> environment;  // "NAME=VALUE"
  std::vector<std::string> arguments;    // of the service; none: those of the mode
};
int run(const run_command& command);

struct exec_command {
  std::vector<std::string> command;
  std::vector<std::filesystem::path> binds;
  std::vector<std::filesystem::path> read_only_binds;
};
int exec(const exec_command& command);

struct ctl_command {
  std::filesystem::path socket;
  std::string name;
  std::vector<std::string> words;
};
int ctl(const ctl_command& command);

}  // namespace handset
