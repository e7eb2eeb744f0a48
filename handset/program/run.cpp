// `handset run`: a phone with the service in it, a cable for a station, and a control socket.
#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <optional>

#include "handset/phone/app-cable.h"
#include "handset/phone/cable.h"
#include "handset/phone/phone.h"
#include "handset/program/commands.h"
#include "handset/program/control.h"
#include "handset/wire/files.h"
#include "handset/wire/signals.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::milliseconds END_PATIENCE{3000};  // how long a service that was asked to end may take

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
  options.modem_device = command.modem_device;
  options.screen = read_screen_size(command.screen);  // none: no screen
  options.environment = command.environment;
  if (!command.arguments.empty()) options.arguments = command.arguments;
  if (command.quiet) options.log = log_sink::discard;
  options.board = BOARDS.at(command.board);
  choose_cards(command.cards, options);
  for (const auto& property : command.properties) options.properties.insert(split_at_equals(property));
  for (const auto& file : command.files) options.files.insert(split_at_equals(file));
  return options;
}

// The descriptor to which the service's log and output go; -1: nowhere.
int log_descriptor(const run_command& command, pub_fd& file) {
  if (command.quiet) return -1;
  if (command.log.empty()) return STDERR_FILENO;
  file.reset(::open(command.log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666));
  if (!file) throw error(fmt::format("cannot write {}: {}", command.log.string(), std::strerror(errno)));
  return file.get();
}

void write_to(int fd, std::string_view bytes) {
  while (fd >= 0 && !bytes.empty()) {
    const auto count = ::write(fd, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return;  // nobody reads the log any more
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

class phone_run {
 public:
  explicit phone_run(const run_command& command);
  int run();

 private:
  fs::path app_tty() const;
  void announce() const;
  void end_service();

  event_loop m_loop;
  end_signals m_signals;
  pub_fd m_log_file;
  phone m_phone;
  cable m_cable;
  std::optional<app_cable> m_app_cable;  // in the normal mode
  control_server m_control;
  bool m_asked = false;  // the service was asked to end
};

phone_run::phone_run(const run_command& command)
    : m_signals(m_loop, [this](int) { end_service(); }),
      m_phone(options_of(command)),
      m_cable(m_loop, m_phone.folder() / "ttyPC"),
      m_control(m_loop, m_phone.folder() / "control",
                {m_phone, m_cable, [this] { end_service(); }, m_phone.folder() / "ttyPC", app_tty()}) {
  m_cable.connect(m_phone.pc());
  if (!app_tty().empty()) m_app_cable.emplace(m_loop, m_phone, app_tty());
  const auto log = [fd = log_descriptor(command, m_log_file)](std::string_view bytes) { write_to(fd, bytes); };
  m_phone.on_log(log);
  m_phone.on_out(log);
}

// The first call ends the service in order, the second one kills it.
void phone_run::end_service() {
  m_phone.send_signal(m_asked ? SIGKILL : SIGTERM);
  if (!m_asked) m_loop.after(END_PATIENCE, [this] { end_service(); });
  m_asked = true;
}

fs::path phone_run::app_tty() const {
  return m_phone.options().mode == run_mode::normal ? m_phone.folder() / "ttyAPP" : fs::path();
}

void phone_run::announce() const {
  fmt::print("PC tty:  {}\n", (m_phone.folder() / "ttyPC").string());
  if (m_app_cable) fmt::print("APP tty: {}\n", app_tty().string());
  fmt::print("control: {}\n", (m_phone.folder() / "control").string());
  std::fflush(stdout);
}

int phone_run::run() {
  announce();
  auto& service = m_phone.start();
  service.on_exit([this](exit_status) { m_loop.stop(); });
  m_loop.run();
  const exit_status status = service.wait_exit().value();
  fmt::print("service: {}\n", to_string(status));
  return shell_status(status);
}

}  // namespace

int run(const run_command& command) {
  return phone_run(command).run();
}

}  // namespace handset
