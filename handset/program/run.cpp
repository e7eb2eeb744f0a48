// `handset run`: a phone with the service in it, a cable for a station, and a control socket.
#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <stdio.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <optional>

#include "capture/writer.h"
#include "handset/phone/app-cable.h"
#include "handset/phone/cable.h"
#include "handset/phone/factory-image.h"
#include "handset/phone/phone.h"
#include "handset/program/commands.h"
#include "handset/program/control.h"
#include "handset/program/names.h"
#include "handset/program/played-modem.h"
#include "handset/program/usb-steps.h"
#include "handset/wire/files.h"
#include "handset/wire/signals.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::milliseconds END_PATIENCE{3000};   // how long a service that was asked to end may take
constexpr std::chrono::milliseconds LINE_CHECK{10};       // no event reports that a line was set up
constexpr std::chrono::milliseconds EARLY{1000};          // no service that serves anybody ends so soon
constexpr std::chrono::milliseconds RESTART_PAUSE{1000};  // as init's: a service that fails at once is not a busy loop

const std::map<std::string, run_mode> MODES = {
    {"simplified", run_mode::simplified}, {"usb", run_mode::usb}, {"normal", run_mode::normal}};

const std::map<std::string, board_library> BOARDS = {
    {"present", board_library::present}, {"absent", board_library::absent}, {"empty", board_library::empty}};

std::pair<std::string, std::string> split_at_equals(const std::string& text) {
  const auto equals = text.find('=');
  return {text.substr(0, equals), equals == text.npos ? "" : text.substr(equals + 1)};
}

std::string read_config(const fs::path& path) {
  const auto text = read_whole_file(path);
  if (!text) throw error("cannot read " + path.string());
  return *text;
}

// The wanted cards replace the usual ones; without any, the usual ones stay.
void choose_cards(const std::vector<std::string>& wanted, phone_options& options) {
  if (!wanted.empty()) options.cards.clear();
  for (const auto& text : wanted) {
    if (const auto card = read_storage_card(text)) options.cards.push_back(*card);
  }
}

phone_options options_of(const run_command& command) {
  phone_options options;
  options.mode = MODES.at(command.mode);
  if (!command.config.empty()) options.config = read_config(command.config);
  options.service = command.service;
  options.simulated_modem = command.replay_modem.empty();
  options.modem_device = command.modem_device;
  options.screen = read_screen_size(command.screen);  // none: no screen
  options.environment = command.environment;
  if (!command.arguments.empty()) options.arguments = command.arguments;
  if (command.quiet) options.log = log_sink::discard;
  options.board = BOARDS.at(command.board);
  choose_cards(command.cards, options);
  for (const auto& property : command.properties) options.properties.insert(split_at_equals(property));
  for (const auto& file : command.files) options.files.insert(split_at_equals(file));
  if (!command.bare) add_factory_image(options);
  return options;
}

// Where the service's log and output are kept; empty: nowhere.
fs::path log_path(const run_command& command, const phone& the_phone) {
  if (command.quiet) return {};
  return command.log.empty() ? the_phone.folder() / "log" : fs::absolute(command.log);
}

pub_fd open_log(const fs::path& path) {
  if (path.empty()) return pub_fd();
  pub_fd file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666));
  if (!file) throw error(fmt::format("cannot write {}: {}", path.string(), std::strerror(errno)));
  return file;
}

void write_to(int fd, std::string_view bytes) {
  while (fd >= 0 && !bytes.empty()) {
    const auto count = ::write(fd, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return;  // nobody reads the log any more
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

// How to call a program of this build from where the user is.
std::string program(const std::string& name) {
  return fs::proximate(program_folder() / name).string();
}

class phone_run {
 public:
  explicit phone_run(const run_command& command);
  int run();

 private:
  control_target target();
  void open_capture();
  void announce() const;
  void take_log(std::string_view bytes);
  void start_service();
  void service_ended(exit_status status);
  void report_early_end() const;
  void end();
  void end_service();
  exit_status wait_service_end();
  void set_mode(const std::string& mode);
  void connect_pc();
  void wait_for_line();
  fs::path tty(const char* name) const { return m_phone.folder() / name; }

  const run_command& m_command;
  event_loop m_loop;
  end_signals m_signals;
  capture_writer_st m_capture;  // outlives the phone, whose modem writes to it
  phone m_phone;
  phone_name m_name;
  run_mode m_pc_mode;  // how the service serves the PC
  fs::path m_log_path;
  pub_fd m_log;
  usb_steps m_steps;
  cable m_cable;
  app_cable m_app_cable;
  std::optional<played_modem> m_played_modem;
  control_server m_control;
  bool m_asked = false;  // the phone was asked to end
  unsigned m_starts = 0;
  unsigned m_lines = 0;  // how often the PC's line was looked at
  std::chrono::steady_clock::time_point m_started;
  exit_status m_status = exited(0);  // of the service that ended last
};

phone_run::phone_run(const run_command& command)
    : m_command(command),
      m_signals(m_loop, [this](int) { end(); }),
      m_phone(options_of(command)),
      m_name(command.name, m_phone.folder()),
      m_pc_mode(m_phone.options().mode == run_mode::normal ? run_mode::simplified : m_phone.options().mode),
      m_log_path(log_path(command, m_phone)),
      m_log(open_log(m_log_path)),
      m_cable(m_loop, tty("ttyPC")),
      m_app_cable(m_loop, m_phone, tty("ttyAPP")),
      m_control(m_loop, control_socket(m_phone.folder()), target()) {
  if (!command.replay_modem.empty()) m_played_modem.emplace(m_loop, m_phone, command);
  open_capture();
  connect_pc();
  if (!command.bare && !m_played_modem) add_factory_identities(m_phone.simulated_modem());
  const auto log = [this](std::string_view bytes) { take_log(bytes); };
  m_phone.on_log(log);
  m_phone.on_out(log);
}

void phone_run::open_capture() {
  if (m_command.capture.empty()) return;
  if (capture_is_same_file(m_command.replay_modem, m_command.capture))
    throw usage_error(m_command.replay_modem + ": the capture that is played would grow by its replay");
  const std::string wrong = m_capture.open(m_command.capture);
  if (!wrong.empty()) throw error(wrong);
  m_cable.set_capture({&m_capture, capture_link_en::PC, m_name.text()});
  m_app_cable.set_capture({&m_capture, capture_link_en::APP, m_name.text()});
  if (m_played_modem)
    m_played_modem->set_capture(&m_capture, m_name.text());
  else
    m_phone.simulated_modem().set_capture(&m_capture, m_name.text());
}

control_target phone_run::target() {
  return {.the_phone = m_phone,
          .the_cable = m_cable,
          .name = m_name.text(),
          .pc_tty = tty("ttyPC"),
          .app_tty = tty("ttyAPP"),
          .log = m_log_path,
          .connect = [this] { connect_pc(); },
          .stop = [this] { end(); },
          .start =
              [this] {
                if (m_phone.service().running()) throw error("the service runs already");
                start_service();
              },
          .set_mode = [this](const std::string& mode) { set_mode(mode); }};
}

// On a thread of the phone.
void phone_run::take_log(std::string_view bytes) {
  write_to(m_log.get(), bytes);
  if (m_command.verbose) write_to(STDERR_FILENO, bytes);
  if (m_phone.options().mode == run_mode::usb) write_to(STDOUT_FILENO, m_steps.take(bytes));
}

void phone_run::start_service() {
  m_started = std::chrono::steady_clock::now();
  const unsigned number = ++m_starts;
  m_phone.start().on_exit([this, number](exit_status status) {
    // The end of a service that a later start has replaced is no news.
    m_loop.post([this, number, status] {
      if (number == m_starts) service_ended(status);
    });
  });
}

// Most often something is wrong with the program, and a test that only looks at the ttys would wait for nothing.
void phone_run::report_early_end() const {
  const auto age = std::chrono::steady_clock::now() - m_started;
  if (m_asked || age >= EARLY) return;
  fmt::print(stderr, "handset: the service ended {} ms after its start\n",
             std::chrono::duration_cast<std::chrono::milliseconds>(age).count());
}

void phone_run::service_ended(exit_status status) {
  m_status = status;
  fmt::print("service: {}\n", to_string(status));
  std::fflush(stdout);
  report_early_end();
  if (m_asked || (!m_command.keeps && !m_command.restarts)) return m_loop.stop();
  if (m_command.restarts) {
    m_loop.after(RESTART_PAUSE, [this, number = m_starts] {
      if (number == m_starts && !m_asked) start_service();
    });
    return;
  }
  fmt::print("the phone stays: {} ctl start starts the service again, Ctrl-C ends the phone\n", program("handset"));
  std::fflush(stdout);
}

// The first call ends the service in order, the second one kills it.
void phone_run::end_service() {
  if (m_phone.service().running()) m_phone.send_signal(m_asked ? SIGKILL : SIGTERM);
}

void phone_run::end() {
  if (!m_phone.service().running()) return m_loop.stop();
  end_service();
  if (!m_asked) m_loop.after(END_PATIENCE, [this] { end_service(); });
  m_asked = true;
}

exit_status phone_run::wait_service_end() {
  try {
    m_phone.send_signal(SIGTERM);
  } catch (const error&) {
    // It has just ended by itself.
  }
  auto status = m_phone.wait_exit(END_PATIENCE);
  if (!status) {
    m_phone.send_signal(SIGKILL);
    status = m_phone.wait_exit();
  }
  return status.value_or(killed(SIGKILL));
}

// The records stay, and both links keep their names. What a station sent to the old service is not for the new one.
void phone_run::set_mode(const std::string& mode) {
  ++m_starts;  // the end of this service is no news
  if (m_phone.service().running()) m_status = wait_service_end();
  const bool is_plugged = m_phone.pc().plugged();
  m_cable.disconnect();
  if (is_plugged) {
    m_phone.unplug_pc();
    m_phone.plug_pc();
  }
  if (mode == "app") m_phone.remove("/data/property/amt.normal.amt.switch_status");  // it would ask for the PC
  m_phone.set_mode(mode == "app" ? run_mode::normal : m_pc_mode);
  if (is_plugged) connect_pc();
  start_service();
  fmt::print("mode: {}\n", mode);
  std::fflush(stdout);
}

// A fresh line echoes until the service has set it up, and a station's first request would come back to it: it waits
// for that. In the mode app nobody opens the line, and what is sent to it is lost.
void phone_run::connect_pc() {
  const bool is_served = m_phone.options().mode != run_mode::normal;
  m_cable.disconnect();
  m_cable.hold_station(is_served);
  if (is_served) wait_for_line();
}

void phone_run::wait_for_line() {
  m_loop.after(LINE_CHECK, [this, number = ++m_lines] {
    if (number != m_lines || !m_phone.pc().plugged()) return;
    if ((m_phone.pc().attributes().c_lflag & ECHO) != 0) return wait_for_line();
    m_cable.connect(m_phone.pc());
  });
}

void phone_run::announce() const {
  const bool is_app = m_phone.options().mode == run_mode::normal;
  fmt::print("Phone {} runs in the mode {}.\n\n", m_name.text(), is_app ? "app" : "pc");
  fmt::print("PC tty:  {}\nAPP tty: {}\ncontrol: {}\n", tty("ttyPC").string(), tty("ttyAPP").string(),
             control_socket(m_phone.folder()).string());
  if (m_command.shows_tree) fmt::print("tree:    {}\n", m_phone.host_path("/").string());
  fmt::print("log:     {}\n\n", m_log_path.empty() ? "none" : m_log_path.string());
  const std::string handset = program("handset") + " ctl";
  const std::string station = program("amt-station");
  fmt::print("Try, in another terminal:\n");
  if (is_app) {
    fmt::print("  {} --app {} vibrate on\n  {} mode pc\n", station, tty("ttyAPP").string(), handset);
  } else {
    fmt::print("  {} --port {} version whole\n  {} mode app\n", station, tty("ttyPC").string(), handset);
  }
  fmt::print("  {} log -f\nCtrl-C ends the phone.\n", handset);
  std::fflush(stdout);
}

int phone_run::run() {
  announce();
  start_service();
  m_loop.run();
  const std::string lost = m_capture.failure();
  if (!lost.empty()) fmt::print(stderr, "handset: {}\n", lost);
  const int status = shell_status(m_status);
  return status == STATUS_DONE && m_played_modem && m_played_modem->has_differences() ? STATUS_FAILED : status;
}

}  // namespace

int run(const run_command& command) {
  return phone_run(command).run();
}

}  // namespace handset
