#include "tests/station-run/line-phone.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <sstream>
#include <thread>

#include "station/program/command-line.h"
#include "tests/spawn.h"

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::seconds PATIENCE{30};

std::string program(const std::string& name) {
  return std::string(PROGRAM_FOLDER "/") + name;
}

std::vector<std::string> phone_command(const std::string& name, const std::vector<std::string>& more) {
  std::vector<std::string> command = {program("handset"), "run", "-q", "--name", name + std::to_string(::getpid())};
  command.insert(command.end(), more.begin(), more.end());
  return command;
}

}  // namespace

std::string text_after(const std::string& output, const std::string& text) {
  const std::size_t at = output.find(text);
  if (at == std::string::npos) return {};
  const std::size_t begin = output.find_first_not_of(' ', at + text.size());
  return output.substr(begin, output.find('\n', begin) - begin);
}

beside_st::beside_st(const std::vector<std::string>& command, const std::string& output)
    : m_pid(spawn_into_file(command, output)), m_output(output) {
  EXPECT_GT(m_pid, 0) << command[0];
}

beside_st::~beside_st() {
  if (m_pid <= 0) return;
  send_signal(SIGTERM);
  wait();
}

void beside_st::send_signal(int number) const {
  if (m_pid > 0) ::kill(m_pid, number);
}

int beside_st::wait() {
  int status = 0;
  ::waitpid(m_pid, &status, 0);
  m_pid = 0;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

bool beside_st::wait_output(const std::string& text) const {
  const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
  while (output().find(text) == std::string::npos) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

line_phone_st::line_phone_st(const temp_folder& folder, const std::string& name, const std::vector<std::string>& more)
    : m_log(folder.path(name + ".log")), m_program(phone_command(name, more), m_log) {
  EXPECT_TRUE(m_program.wait_output("Ctrl-C ends the phone")) << m_program.output();
  m_port = text_after(m_program.output(), "PC tty:");
  m_socket = text_after(m_program.output(), "control:");
  beside_st wait({program("amt-station"), "--port", m_port, "wait-for-phone"}, m_log + ".wait");
  EXPECT_EQ(wait.wait(), 0) << wait.output();
}

void line_phone_st::control(const std::vector<std::string>& words) const {
  std::vector<std::string> command = {program("handset"), "ctl", "--socket", m_socket};
  command.insert(command.end(), words.begin(), words.end());
  beside_st ctl(command, m_log + ".ctl");
  EXPECT_EQ(ctl.wait(), 0) << ctl.output();
}

std::string amt_station() {
  return program("amt-station");
}

station_outcome run_station_here(const std::vector<std::string>& arguments, int stop_fd, int in_fd) {
  std::ostringstream out;
  std::ostringstream err;
  station_io_st io{&out, &err};
  io.m_stop_fd = stop_fd;
  io.m_in_fd = in_fd;
  const int status = station_run(arguments, io);
  return {status, out.str(), err.str()};
}

std::string LineTest::write_plan(const std::string& steps, const std::string& head) const {
  return m_folder.write("plan.toml", "[plan]\nname = \"test plan\"\nrevision = \"7\"\n" + head + steps);
}

std::vector<std::string> LineTest::run_arguments(const std::string& plan,
                                                 const std::vector<std::string>& phones) const {
  std::vector<std::string> arguments = {"run", plan, "--records", records_folder(), "--station", "desk 4"};
  for (const auto& phone : phones) arguments.insert(arguments.end(), {"--phone", phone});
  return arguments;
}

station_outcome LineTest::run(const std::string& plan, const std::string& port, int stop_fd, int in_fd) const {
  return run_station_here(run_arguments(plan, {"A=" + port}), stop_fd, in_fd);
}

std::vector<nlohmann::json> LineTest::records() const {
  std::vector<fs::path> paths;
  if (!fs::exists(records_folder())) return {};
  for (const auto& entry : fs::directory_iterator(records_folder())) {
    if (entry.path().extension() == ".json") paths.push_back(entry.path());
  }
  std::ranges::sort(paths);
  std::vector<nlohmann::json> all;
  for (const auto& path : paths) all.push_back(nlohmann::json::parse(read_whole_file(path), nullptr, false));
  return all;
}

nlohmann::json LineTest::record() const {
  const auto all = records();
  EXPECT_EQ(all.size(), 1u);
  return all.empty() ? nlohmann::json() : all[0];
}

void LineTest::expect_valid_records() const {
  std::vector<std::string> command = {PROJECT_FOLDER "/tests/station-run/validate-records",
                                      PROJECT_FOLDER "/docs/record.schema.json"};
  for (const auto& entry : fs::directory_iterator(records_folder())) {
    if (entry.path().extension() == ".json") command.push_back(entry.path());
  }
  EXPECT_GT(command.size(), 2u);
  beside_st validator(command, m_folder.path("validator"));
  EXPECT_EQ(validator.wait(), 0) << validator.output();
}
