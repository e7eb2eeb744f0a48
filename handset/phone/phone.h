// Room `phone`: a phone put together from sandbox, modem and hardware, the processes in it, and the cables from its
// ttys to the host.
//
// A virtual handset: a sandbox with a phone's file tree, ttys and kernel events, in which the real service binary runs.
// Tests use this header; `handset run` is a thin program over it.
//
//   handset::phone phone({.mode = handset::run_mode::simplified});
//   phone.start();
//   ASSERT_TRUE(phone.wait_log("read_pc_loop, read ready"));
//   phone.pc().write_all("AT\r");
//   EXPECT_EQ(phone.pc().read_until("OK\r\n"), "\r\nOK\r\n");
//   phone.send_signal(SIGTERM);
//   EXPECT_EQ(phone.wait_exit(), handset::exited(0));
//
// A phone costs some ten milliseconds; many may run at once. Waits end with an event or a deadline, and the result
// shows which. Failures that no sound test meets (no sandbox, no service binary, the agent gone) throw handset::error.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "handset/hardware/hardware.h"
#include "handset/modem/modem.h"
#include "handset/phone/options.h"
#include "handset/phone/process.h"
#include "handset/wire/error.h"
#include "handset/wire/text-log.h"
#include "handset/wire/tty-end.h"

namespace handset {

struct command_result {
  exit_status status;
  std::string out;
  std::string err;
};

class phone {
 public:
  // Makes the tree, the sandbox and the ttys; nothing of the service runs yet. When this machine cannot do that, throws
  // sandbox_error with the reason.
  explicit phone(phone_options options = {});
  // Ends everything that runs in the phone and removes its tree.
  ~phone();
  phone(const phone&) = delete;
  phone& operator=(const phone&) = delete;

  // The service. start() may be called again when it has ended; log(), out() and wait_exit() are about the last start.
  process& start();
  // The mode of the next start().
  void set_mode(run_mode mode);
  process& start_with(const std::vector<std::string>& arguments);
  process& service();
  // One more copy of the service in this phone, beside the one that runs.
  std::shared_ptr<process> start_another();
  void send_signal(int signal_number);
  std::optional<exit_status> wait_exit(std::chrono::milliseconds within = DEFAULT_WAIT);

  // What the service wrote: its platform log (standard error) and its standard output.
  const text_log& log();
  const text_log& out();
  bool wait_log(std::string_view text, std::chrono::milliseconds within = DEFAULT_WAIT);
  // Stops reading the log: sooner or later the service finds its pipe full. Resuming reads on.
  void pause_log();
  void resume_log();
  // Called with every piece of the service's log or output as it comes; set before start().
  void on_log(std::function<void(std::string_view)> listener);
  void on_out(std::function<void(std::string_view)> listener);

  // Other commands in the phone. run() starts one and returns at once, exec() waits for its end (error when late).
  std::shared_ptr<process> run(const std::vector<std::string>& command);
  command_result exec(const std::vector<std::string>& command, std::chrono::milliseconds within = DEFAULT_WAIT);
  // As run(), with the caller's own standard streams; and with the caller's working folder, if the phone has it.
  std::shared_ptr<process> run_attached(const std::vector<std::string>& command, const std::string& folder);

  // The ttys. Unplugging hangs the service's side up and takes the /dev name away; plugging makes a new tty under it.
  tty_end& pc();
  void unplug_pc();
  void plug_pc();
  modem& simulated_modem();  // error when the test plays the modem
  tty_end& modem_end();      // error when the modem is simulated
  void unplug_modem();
  void plug_modem();
  tty_end& at_end();  // the modem's AT link; error when the modem is simulated
  void unplug_at();
  void plug_at();

  // The phone's own test application: its end of the APP link. The service makes this terminal when it starts in the
  // platform set-up, and a new one when the application has closed it. open_app() waits for one; false: there was none
  // in time. No terminal is opened twice: after close_app() it waits for the new one. wait_hangup() of app() is true
  // when the service has let go of that terminal.
  bool open_app(std::chrono::milliseconds within = DEFAULT_WAIT);
  tty_end& app();
  void close_app();

  // The phone's own folder on the host, which holds its tree, sockets and the like. Removed with the phone.
  std::filesystem::path folder() const;
  // The tree. Paths are those of the phone, e.g. "/amt/sn".
  std::filesystem::path host_path(const std::filesystem::path& path) const;
  std::optional<std::string> read_file(const std::filesystem::path& path) const;
  void write_file(const std::filesystem::path& path, std::string_view content);  // makes the folders too
  void remove(const std::filesystem::path& path);                                // a folder with all that is in it
  bool exists(const std::filesystem::path& path) const;
  std::optional<std::string> property(const std::string& name) const;
  void set_property(const std::string& name, std::string_view value);
  std::size_t sync_count() const;  // how often /system/bin/sync was run

  // A kernel event, as the listeners of netlink group 1 in the phone get it: the strings, each with its NUL.
  void uevent(const std::vector<std::string>& strings);
  void uevent_raw(std::string_view message);

  // Lights, vibrator, battery, sound, radios: what they now do, and failures of their files.
  hardware& parts();

  // The files of the played devices, for the functions of devices.h and screenshot.h.
  std::filesystem::path devices() const;

  const phone_options& options() const;
  // The service's argv[0] in the phone and the configuration file that it reads.
  std::filesystem::path service_path() const;
  std::filesystem::path config_path() const;

 private:
  struct inside;
  std::unique_ptr<inside> m_inside;
};

}  // namespace handset
