#include "handset/phone/phone.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

#include "handset/phone/phone-process.h"
#include "handset/sandbox/sandbox.h"
#include "handset/sandbox/tree.h"
#include "handset/wire/files.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr const char* NAME = "vx-kro-amt";
constexpr const char* PATH = "PATH=/system/bin:/usr/bin:/bin:/usr/sbin:/sbin";
constexpr const char* PROPERTIES = "/data/property";
constexpr const char* USB_STATE = "/sys/class/android_usb/android0/state";
constexpr std::chrono::milliseconds APP_LINK_CHECK{5};
constexpr const char* SYNC_CALLS = "/handset/sync-calls";
constexpr const char* DEVICES = "/handset/devices";

// What a command in the phone inherits from whoever runs it: what tells a sanitizer's runtime what to do.
std::vector<std::string> inherited_environment() {
  std::vector<std::string> environment = {PATH, "HOME=/data", "TMPDIR=/tmp"};
  for (const char* name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
    if (const char* value = std::getenv(name)) environment.push_back(std::string(name) + "=" + value);
  }
  return environment;
}

// All of the caller's, but with the phone's places.
std::vector<std::string> attached_environment() {
  std::vector<std::string> environment = {PATH, "TMPDIR=/tmp"};
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view text = *entry;
    if (!text.starts_with("PATH=") && !text.starts_with("TMPDIR=")) environment.emplace_back(text);
  }
  return environment;
}

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
  std::vector<bind_mount> binds() const;
  void install_board_library();
  void write_files();
  fs::path service_path() const;
  fs::path config_path() const;
  unique_fd plug(const std::string& device);
  void plug_link(const std::string& device, modem_link link, tty_end& played_end);
  void unplug_link(const std::string& device, modem_link link, tty_end& played_end);
  bool open_app();
  process_plan service_plan(const std::vector<std::string>& arguments) const;
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
  std::string app_link;  // which link of that name was opened last
  std::unique_ptr<modem> simulated;
  std::function<void(std::string_view)> on_log;
  std::function<void(std::string_view)> on_out;
};

phone::inside::inside(phone_options the_options) : options(std::move(the_options)) {
  if (options.service.empty()) options.service = program_folder() / NAME;
  const auto drain_all = [this] {
    const std::lock_guard lock(processes_mutex);
    for (const auto& process : processes) process->drain();
  };
  core = std::shared_ptr<phone_core>(new phone_core{{}, agent_link(drain_all)});
  write_files();
  start_sandbox();
}

void phone::inside::start_sandbox() {
  // Signals are for the program's own threads. This thread is the sandbox's parent and must last as long as it.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  thread = std::thread([this] { core->loop.run(); });
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  try {
    core->loop.call([this] {
      box.start(tree, binds(), options.cards);
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

fs::path phone::inside::service_path() const {
  return fs::path(options.mode == run_mode::simplified ? "/phone/bin" : "/system/bin") / NAME;
}

fs::path phone::inside::config_path() const {
  return fs::path(options.mode == run_mode::simplified ? "/phone/bin" : "/system/etc") / (std::string(NAME) + ".cfg");
}

std::vector<bind_mount> phone::inside::binds() const {
  std::vector<bind_mount> binds = options.binds;
  if (options.screen) {
    const auto devices = device_binds(tree.host_path(DEVICES));
    binds.insert(binds.end(), devices.begin(), devices.end());
  }
  if (options.has_hardware) {
    const auto more = parts.binds();
    binds.insert(binds.end(), more.begin(), more.end());
  }
  std::error_code ignored;
  if (!fs::is_regular_file(options.service, ignored)) return binds;
  const fs::path binary = fs::canonical(options.service);
  binds.push_back({binary, service_path()});
  // The libraries that the service loads by name lie beside its folder, on the host as in the phone.
  const fs::path libraries = binary.parent_path().parent_path() / "lib";
  if (fs::is_directory(libraries, ignored)) {
    binds.push_back({libraries, service_path().parent_path().parent_path() / "lib"});
  }
  return binds;
}

void phone::inside::install_board_library() {
  if (options.board == board_library::absent) return;
  const fs::path folder = program_folder().parent_path() / "lib/board";
  const fs::path library = options.board == board_library::empty ? "amt.empty.misc.so" : "amt.vx5210.misc.so";
  const fs::path target = tree.host_path("/system/lib64/hw");
  fs::create_directories(target);
  std::error_code missing;  // a program of another build may lie alone
  fs::copy_file(folder / library, target / "amt.vx5210.misc.so", missing);
}

void phone::inside::write_files() {
  install_board_library();
  write_whole_file(tree.host_path(USB_STATE), "CONFIGURED\n");
  if (options.has_config) {
    write_whole_file(tree.host_path(config_path()), options.config.value_or(default_config(options)));
  }
  for (const auto& [name, value] : options.properties) {
    write_whole_file(tree.host_path(PROPERTIES) / name, value);
  }
  if (options.has_hardware) parts.install();
  if (options.screen) make_devices(tree.host_path(DEVICES), *options.screen);
  for (const auto& [path, content] : options.files) write_whole_file(tree.host_path(path), content);
}

unique_fd phone::inside::plug(const std::string& device) {
  message answer = core->agent.request("plug", {device});
  if (answer.fds.empty()) throw error("the phone gave no terminal for " + device);
  return std::move(answer.fds.front());
}

void phone::inside::plug_link(const std::string& device, modem_link link, tty_end& played_end) {
  unique_fd master = plug(device);
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

process_plan phone::inside::service_plan(const std::vector<std::string>& arguments) const {
  process_plan plan;
  plan.arguments = {service_path()};
  plan.arguments.insert(plan.arguments.end(), arguments.begin(), arguments.end());
  plan.environment = inherited_environment();
  if (options.screen) plan.environment.push_back("LD_PRELOAD=" + preload_inside());
  plan.environment.insert(plan.environment.end(), options.environment.begin(), options.environment.end());
  plan.discard_err = options.log == log_sink::discard;
  plan.err_pipe_size = options.log_pipe_size;
  return plan;
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

process& phone::start_with(const std::vector<std::string>& arguments) {
  if (m_inside->service && m_inside->service->running()) throw error("the service runs already");
  std::error_code ignored;
  if (!fs::is_regular_file(m_inside->options.service, ignored)) {
    throw error("there is no service binary " + m_inside->options.service.string());
  }
  auto plan = m_inside->service_plan(arguments);
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
  return m_inside->run(m_inside->service_plan(arguments));
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
  process_plan plan;
  plan.arguments = command;
  plan.environment = inherited_environment();
  return m_inside->run(plan);
}

command_result phone::exec(const std::vector<std::string>& command, std::chrono::milliseconds within) {
  process_plan plan;
  plan.arguments = command;
  plan.environment = inherited_environment();
  const auto process = m_inside->run(plan);
  const auto status = process->wait_exit(within);
  m_inside->forget(process);
  if (!status) throw error("the command does not end: " + command.at(0));
  return {*status, process->out().text(), process->err().text()};
}

std::shared_ptr<process> phone::run_attached(const std::vector<std::string>& command, const std::string& folder) {
  process_plan plan;
  plan.arguments = command;
  plan.environment = attached_environment();
  plan.folder = folder;
  plan.attached = true;
  return m_inside->run(plan);
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
  return m_inside->service_path();
}
fs::path phone::config_path() const {
  return m_inside->config_path();
}

}  // namespace handset
