#include "handset/phone/phone.h"

#include <algorithm>
#include <csignal>
#include <mutex>
#include <thread>
#include <utility>

#include "handset/phone/outfit.h"
#include "handset/phone/phone-process.h"
#include "handset/sandbox/sandbox.h"
#include "handset/sandbox/tree.h"
#include "handset/wire/files.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::milliseconds APP_LINK_CHECK{5};
constexpr const char* SYNC_CALLS = "/handset/sync-calls";

std::string vector_text(const std::vector<std::string>& strings) {
  std::string text;
  for (const auto& string : strings) text.append(string).push_back('\0');
  return text;
}

}  // namespace

struct phone::inside {
  explicit inside(phone_options the_options);
  ~inside();
  inside(const inside&) = delete;
  inside& operator=(const inside&) = delete;

  void start_sandbox();
  void stop();
  pub_fd plug(const std::string& device);
  void plug_link(const std::string& device, modem_link link, tty_end& played_end);
  void unplug_link(const std::string& device, modem_link link, tty_end& played_end);
  bool open_app();
  std::shared_ptr<phone_process> run(const process_plan& plan);
  void forget(const std::shared_ptr<phone_process>& process);
  phone_process& current();

  phone_options options;
  phone_tree tree;
  hardware parts{tree.root()};
  std::shared_ptr<phone_core> core;
  sandbox box;
  std::thread thread;
  std::mutex processes_mutex;
  std::vector<std::shared_ptr<phone_process>> processes;
  std::shared_ptr<phone_process> service;
  tty_end pc;
  tty_end modem_end;
  tty_end at_end;
  tty_end app;
  std::string app_link;  // identity of the link that was opened last
  std::unique_ptr<modem> simulated;
  std::function<void(std::string_view)> on_log;
  std::function<void(std::string_view)> on_out;
};

phone::inside::inside(phone_options the_options) : options(std::move(the_options)) {
  if (options.service.empty()) options.service = program_folder() / SERVICE_NAME;
  const auto drain_all = [this] {
    const std::lock_guard lock(processes_mutex);
    for (const auto& process : processes) process->drain();
  };
  core = std::shared_ptr<phone_core>(new phone_core{{}, agent_link(drain_all)});
  fit_out(options, tree, parts);
  start_sandbox();
}

void phone::inside::start_sandbox() {
  // Signals are for the program's own threads. This thread is the sandbox's parent and must live as long.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  thread = std::thread([this] { core->loop.run(); });
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  try {
    core->loop.call([this] {
      box.start(tree, binds_of(options, tree, parts), options.cards, options.user);
      core->agent.open(core->loop, box.agent());
    });
    if (!core->agent.wait_hello(DEFAULT_WAIT)) throw sandbox_error(core->loop.ask([this] { return box.why_not(); }));
    if (options.simulated_modem) simulated = std::make_unique<modem>(core->loop);
    if (options.pc_plugged) pc.attach(plug(options.pc_device));
  } catch (...) {
    stop();
    throw;
  }
}

void phone::inside::stop() {
  if (!thread.joinable()) return;
  core->loop.call([this] {
    core->loop.forget(box.agent());
    box.stop();
    const std::lock_guard lock(processes_mutex);
    for (const auto& process : processes) process->finish();
  });
  core->agent.close();
  core->loop.stop();
  thread.join();
}

phone::inside::~inside() {
  stop();
}

// What is behind another device of the modem is no serial line, and nobody sets it up.
pub_fd phone::inside::plug(const std::string& device) {
  const bool is_serial_line = device == options.pc_device || device.starts_with("/dev/ttyS");
  message answer = core->agent.request("plug", {device, is_serial_line ? "fresh" : "raw"});
  if (answer.fds.empty()) throw error("the phone gave no terminal for " + device);
  return std::move(answer.fds.front());
}

void phone::inside::plug_link(const std::string& device, modem_link link, tty_end& played_end) {
  pub_fd master = plug(device);
  if (simulated)
    simulated->attach(std::move(master), link);
  else
    played_end.attach(std::move(master));
}

void phone::inside::unplug_link(const std::string& device, modem_link link, tty_end& played_end) {
  core->agent.request("unplug", {device});
  if (simulated) simulated->hang_up(link);
  played_end.detach();
}

bool phone::inside::open_app() {
  message answer = core->agent.request("open", {APP_LINK, app_link});
  if (answer.fds.empty()) return false;
  app_link = answer.fields.front();
  app.attach(std::move(answer.fds.front()));
  return true;
}

std::shared_ptr<phone_process> phone::inside::run(const process_plan& plan) {
  auto process = std::make_shared<phone_process>(core);
  {
    const std::lock_guard lock(processes_mutex);
    processes.push_back(process);
  }
  try {
    process->start(plan);
  } catch (...) {
    forget(process);
    throw;
  }
  return process;
}

void phone::inside::forget(const std::shared_ptr<phone_process>& process) {
  core->loop.call([&] { process->finish(); });
  const std::lock_guard lock(processes_mutex);
  std::erase(processes, process);
}

phone_process& phone::inside::current() {
  const std::lock_guard lock(processes_mutex);
  if (!service) throw error("the service was not started");
  return *service;
}

phone::phone(phone_options options) : m_inside(std::make_unique<inside>(std::move(options))) {
  if (m_inside->options.modem_plugged) plug_modem();
  if (m_inside->options.at_plugged) plug_at();
}

phone::~phone() = default;

process& phone::start() {
  const std::vector<std::string> usual =
      m_inside->options.mode == run_mode::usb ? std::vector<std::string>{"-u"} : std::vector<std::string>{};
  return start_with(m_inside->options.arguments.value_or(usual));
}

void phone::set_mode(run_mode mode) {
  m_inside->options.mode = mode;
}

process& phone::start_with(const std::vector<std::string>& arguments) {
  if (m_inside->service && m_inside->service->running()) throw error("the service runs already");
  std::error_code ignored;
  if (!fs::is_regular_file(m_inside->options.service, ignored)) {
    throw error("there is no service binary " + m_inside->options.service.string());
  }
  auto plan = service_plan(m_inside->options, arguments);
  plan.on_err = m_inside->on_log;
  plan.on_out = m_inside->on_out;
  auto started = m_inside->run(plan);
  {
    const std::lock_guard lock(m_inside->processes_mutex);
    m_inside->service = std::move(started);
  }
  return *m_inside->service;
}

process& phone::service() {
  return m_inside->current();
}

std::shared_ptr<process> phone::start_another() {
  const auto arguments = m_inside->options.arguments.value_or(std::vector<std::string>{});
  return m_inside->run(service_plan(m_inside->options, arguments));
}

void phone::send_signal(int signal_number) {
  m_inside->current().send_signal(signal_number);
}

std::optional<exit_status> phone::wait_exit(std::chrono::milliseconds within) {
  return m_inside->current().wait_exit(within);
}

const text_log& phone::log() {
  return m_inside->current().err();
}
const text_log& phone::out() {
  return m_inside->current().out();
}
bool phone::wait_log(std::string_view text, std::chrono::milliseconds within) {
  return log().wait_for(text, within);
}
void phone::pause_log() {
  m_inside->current().err_pipe().pause();
}
void phone::resume_log() {
  m_inside->current().err_pipe().resume();
}
void phone::on_log(std::function<void(std::string_view)> listener) {
  m_inside->on_log = std::move(listener);
}
void phone::on_out(std::function<void(std::string_view)> listener) {
  m_inside->on_out = std::move(listener);
}

std::shared_ptr<process> phone::run(const std::vector<std::string>& command) {
  return m_inside->run(command_plan(command));
}

command_result phone::exec(const std::vector<std::string>& command, std::chrono::milliseconds within) {
  const auto process = m_inside->run(command_plan(command));
  const auto status = process->wait_exit(within);
  m_inside->forget(process);
  if (!status) throw error("the command does not end: " + command.at(0));
  return {*status, process->out().text(), process->err().text()};
}

std::shared_ptr<process> phone::run_attached(const std::vector<std::string>& command, const std::string& folder) {
  return m_inside->run(attached_plan(command, folder));
}

tty_end& phone::pc() {
  return m_inside->pc;
}

void phone::unplug_pc() {
  m_inside->core->agent.request("unplug", {m_inside->options.pc_device});
  m_inside->pc.detach();
}

void phone::plug_pc() {
  m_inside->pc.attach(m_inside->plug(m_inside->options.pc_device));
}

modem& phone::simulated_modem() {
  if (!m_inside->simulated) throw error("the modem is not simulated");
  return *m_inside->simulated;
}

tty_end& phone::modem_end() {
  if (m_inside->simulated) throw error("the modem is simulated");
  return m_inside->modem_end;
}

void phone::unplug_modem() {
  m_inside->unplug_link(m_inside->options.modem_device, modem_link::data, m_inside->modem_end);
}

void phone::plug_modem() {
  m_inside->plug_link(m_inside->options.modem_device, modem_link::data, m_inside->modem_end);
}

tty_end& phone::at_end() {
  if (m_inside->simulated) throw error("the modem is simulated");
  return m_inside->at_end;
}

void phone::unplug_at() {
  m_inside->unplug_link(m_inside->options.at_device, modem_link::at, m_inside->at_end);
}

void phone::plug_at() {
  m_inside->plug_link(m_inside->options.at_device, modem_link::at, m_inside->at_end);
}

bool phone::open_app(std::chrono::milliseconds within) {
  const auto deadline = std::chrono::steady_clock::now() + within;
  while (!m_inside->open_app()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(APP_LINK_CHECK);
  }
  return true;
}

tty_end& phone::app() {
  return m_inside->app;
}

void phone::close_app() {
  m_inside->app.detach();
}

fs::path phone::folder() const {
  return m_inside->tree.folder();
}

fs::path phone::host_path(const fs::path& path) const {
  return m_inside->tree.host_path(path);
}

std::optional<std::string> phone::read_file(const fs::path& path) const {
  std::error_code hidden;
  if (!fs::is_regular_file(host_path(path), hidden)) return std::nullopt;
  return read_whole_file(host_path(path));
}

void phone::write_file(const fs::path& path, std::string_view content) {
  write_whole_file(host_path(path), content);
}

void phone::remove(const fs::path& path) {
  fs::remove_all(host_path(path));
}

bool phone::exists(const fs::path& path) const {
  return fs::exists(fs::symlink_status(host_path(path)));
}

std::optional<std::string> phone::property(const std::string& name) const {
  return read_file(fs::path(PROPERTIES) / name);
}

void phone::set_property(const std::string& name, std::string_view value) {
  write_file(fs::path(PROPERTIES) / name, value);
}

std::size_t phone::sync_count() const {
  const std::string calls = read_file(SYNC_CALLS).value_or("");
  return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), '\n'));
}

void phone::uevent(const std::vector<std::string>& strings) {
  uevent_raw(vector_text(strings));
}

void phone::uevent_raw(std::string_view message) {
  m_inside->core->agent.request("uevent", {std::string(message)});
}

hardware& phone::parts() {
  return m_inside->parts;
}

fs::path phone::devices() const {
  return host_path(DEVICES);
}

const phone_options& phone::options() const {
  return m_inside->options;
}
fs::path phone::service_path() const {
  return service_path_of(m_inside->options);
}
fs::path phone::config_path() const {
  return config_path_of(m_inside->options);
}

}  // namespace handset
