// handset: the virtual handset's program.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "completion/script.h"
#include "handset/hardware/devices.h"
#include "handset/hardware/hardware.h"
#include "handset/program/commands.h"
#include "handset/program/control.h"
#include "handset/program/names.h"
#include "handset/program/replay.h"
#include "handset/sandbox/sandbox.h"

namespace {

using namespace handset;

constexpr const char* ABOUT =
    "A virtual handset: a sandbox that looks like a phone to the factory-test service, with a\n"
    "simulated modem. Nothing in it touches this machine's devices or files.";

constexpr const char* FOOTER =
    "Try:\n"
    "  handset run                             a phone; it prints how to connect a station to it\n"
    "  handset ctl state                       what its hardware now does (from another terminal)\n"
    "  handset ctl mode app                    it serves its test application now: amt-station --app\n"
    "  handset ctl log -f                      what its service logs\n"
    "  handset ctl uevent USB_STATE=DISCONNECTED    pull its cable\n"
    "  handset exec -- ls /amt                 a command in a fresh phone\n"
    "Exit status: that of the service (run) or command (exec), 128 + n when signal n ended it; 1 failed\n"
    "  (ctl: it cannot be done, or no such phone runs),\n"
    "  2 wrong usage (ctl: also an unknown name, or several phones and no --name), 3 this machine cannot make the "
    "sandbox, 127 the command cannot be started (exec).";

void add_replay(CLI::App& run, run_command& command) {
  auto* replay = run.add_option("--replay", command.replay,
                                "Play the phone and its modem from a capture: no service runs, and a station is told\n"
                                "where it sends something else. Ends with 0 when it did not, else with 1");
  replay->type_name("FILE");
  for (const char* other : {"--mode", "--config", "--service", "--name", "--keep", "--restart"})
    replay->excludes(run.get_option(other));
  run.add_option("--replay-modem", command.replay_modem,
                 "Play the modem alone from a capture of a phone; the service runs and is held against it")
      ->type_name("FILE")
      ->excludes(replay);
  run.add_option("--replay-phone", command.replay_phone, "The phone of that capture, where it has several")
      ->type_name("NAME");
  run.add_flag("--fast", command.is_fast, "Of a replay: answer at once, not after the pauses of the capture");
  run.add_flag("--loose", command.is_loose, "Of a replay: take what is sent as it is, and show no difference");
}

CLI::App* add_run(CLI::App& app, run_command& command) {
  auto* run =
      app.add_subcommand("run", "Start a phone with the service in it; it runs until the service ends or Ctrl-C");
  run->add_option("--mode", command.mode, "How the service is started")
      ->check(CLI::IsMember({"simplified", "usb", "normal"}))
      ->capture_default_str();
  run->add_option("--config", command.config, "Configuration file (usual: one that names the phone's ttys)")
      ->check(CLI::ExistingFile);
  run->add_option("--service", command.service, "The service's binary (usual: vx-kro-amt beside this program)")
      ->check(CLI::ExistingFile);
  run->add_option("--name", command.name, "The phone's name, for handset ctl --name (usual: phone1, phone2 ...)")
      ->check([](const std::string& text) {
        return is_phone_name(text) ? "" : "not a name: at most 20 letters, digits, dots, dashes and underscores";
      });
  run->add_flag("--bare", command.bare, "An empty tree: without the records and properties of a factory image");
  run->add_flag("--keep", command.keeps, "Keep the phone and its records when the service ends; handset ctl start");
  run->add_flag("--restart", command.restarts, "The same, and start the service again");
  run->add_flag("--tree", command.shows_tree, "Print where the phone's file tree is");
  auto* quiet = run->add_flag("-q,--quiet", command.quiet, "Keep no log of the service");
  run->add_flag("-v,--verbose", command.verbose, "Show the service's log and output as they come")->excludes(quiet);
  run->add_option("--log", command.log,
                  "The file for the service's log and output (usual: one that ends with the phone)")
      ->type_name("FILE")
      ->excludes(quiet);
  run->add_option("--capture", command.capture,
                  "Append every byte on the links of PC, application and modem to this file")
      ->type_name("FILE");
  add_replay(*run, command);
  run->add_option("--modem-device", command.modem_device, "Name of the modem's tty; /dev/ttyS... makes it a UART")
      ->capture_default_str();
  run->add_option("--screen", command.screen, "Size of the screen; none: the phone has no framebuffer and no console")
      ->check([](const std::string& text) {
        return text == "none" || read_screen_size(text) ? "" : "neither WIDTHxHEIGHT nor none";
      })
      ->capture_default_str();
  run->add_option("--board", command.board, "The board library; empty: it lacks every operation")
      ->check(CLI::IsMember({"present", "absent", "empty"}))
      ->capture_default_str();
  run->add_option("--card", command.cards,
                  "A storage card: FOLDER=KB, e.g. --card /storage/sdcard1=2048; none: the phone has no card\n"
                  "(may be given several times; usual: /storage/sdcard0=12582912 and /storage/sdcard1=31166976)")
      ->check([](const std::string& text) {
        return text == "none" || read_storage_card(text) ? "" : "neither FOLDER=KB nor none";
      })
      ->take_all()
      ->allow_extra_args(false);
  run->add_option("--file", command.files,
                  "Make a file first: PATH=TEXT, e.g. --file \"/data/board/control=IsChargeState = 1\"")
      ->take_all()
      ->allow_extra_args(false);
  run->add_option("--prop", command.properties, "Set a property first: NAME=VALUE")
      ->take_all()
      ->allow_extra_args(false);
  run->add_option("--env", command.environment, "Environment of the service: NAME=VALUE")
      ->take_all()
      ->allow_extra_args(false);
  run->add_option("arguments", command.arguments, "Arguments of the service, after --");
  return run;
}

CLI::App* add_exec(CLI::App& app, exec_command& command) {
  auto* exec =
      app.add_subcommand("exec", "Run a command in a fresh phone, with its files but without service and hardware");
  exec->add_option("--bind", command.binds, "A folder of this machine to have in the phone, writable")
      ->check(CLI::ExistingPath)
      ->allow_extra_args(false);
  exec->add_option("--ro-bind", command.read_only_binds, "The same, but read-only (the build tree always is)")
      ->check(CLI::ExistingPath)
      ->allow_extra_args(false);
  exec->add_option("command", command.command, "The command and its arguments")->required();
  exec->positionals_at_end();
  exec->prefix_command();
  return exec;
}

CLI::App* add_ctl(CLI::App& app, ctl_command& command) {
  auto* ctl = app.add_subcommand("ctl", "Command a running phone");
  ctl->add_option("--socket", command.socket, "Its control socket")->type_name("FILE");
  ctl->add_option("--name", command.name, "Its name (usual: the only phone of this user that runs)");
  ctl->add_option("command", command.words, "What to do")->required();
  ctl->positionals_at_end();
  ctl->footer(control_help());
  return ctl;
}

CLI::App* add_completion(CLI::App& app, std::string& shell) {
  auto* completion = app.add_subcommand("completion", "Print what makes a shell complete commands and options");
  completion->add_option("SHELL", shell, "The shell")
      ->required()
      ->type_name("")
      ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  completion->footer(
      "bash: source <(handset completion bash)\n"
      "zsh:  source <(handset completion zsh)\n"
      "fish: handset completion fish | source");
  return completion;
}

int print_completion(const CLI::App& app, const std::string& shell) {
  auto all = completion_describe(app);
  describe_control(*all.find("ctl"));
  fmt::print("{}", completion_script(shell, all).value_or(""));
  return STATUS_DONE;
}

int parse_and_run(int argc, char** argv) {
  run_command run_words;
  exec_command exec_words;
  ctl_command ctl_words;
  std::string shell;
  CLI::App app(ABOUT, "handset");
  app.require_subcommand(1);
  app.footer(FOOTER);
  const auto* run = add_run(app, run_words);
  const auto* exec = add_exec(app, exec_words);
  add_ctl(app, ctl_words);
  const auto* completion = add_completion(app, shell);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& failure) {
    return app.exit(failure) == 0 ? STATUS_DONE : STATUS_USAGE;
  }
  if (run->parsed() && run_words.replay.empty() && run_words.replay_modem.empty()) {
    const bool wants_replay = run_words.is_fast || run_words.is_loose || !run_words.replay_phone.empty();
    if (wants_replay) throw usage_error("--fast, --loose and --replay-phone go with --replay or --replay-modem");
  }
  if (run->parsed()) return run_words.replay.empty() ? handset::run(run_words) : handset::replay(run_words);
  if (exec->parsed()) return handset::exec(exec_words);
  if (completion->parsed()) return print_completion(app, shell);
  return handset::ctl(ctl_words);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return parse_and_run(argc, argv);
  } catch (const usage_error& failure) {
    fmt::print(stderr, "handset: {}\n", failure.what());
    return STATUS_USAGE;
  } catch (const sandbox_error& failure) {
    fmt::print(stderr, "handset: {}\n", failure.what());
    return STATUS_NO_SANDBOX;
  } catch (const std::exception& failure) {
    fmt::print(stderr, "handset: {}\n", failure.what());
    return STATUS_FAILED;
  }
}
