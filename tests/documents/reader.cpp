#include "tests/documents/reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <regex>
#include <thread>

#include "handset/wire/files.h"

namespace fs = std::filesystem;

namespace {

constexpr int LIMIT_S = 60;
constexpr int ENDLESS_S = 2;

bool is_endless(const std::string& command) {
  static const std::regex words(R"(( monitor$| log -f$| shell$))");
  return std::regex_search(command, words);
}

int spawn(const std::vector<std::string>& words, const fs::path& folder, const fs::path& output) {
  const std::string bin = handset::program_folder();
  const std::string path = std::getenv("PATH");
  std::vector<std::string> environment = {"PATH=" + bin + ":" + path, "XDG_RUNTIME_DIR=" + folder.string(),
                                          "TMPDIR=" + folder.string(), "HOME=" + folder.string(), "NO_COLOR=1"};
  for (char** entry = environ; *entry != nullptr; ++entry) {
    if (std::string_view(*entry).find("SAN_OPTIONS=") != std::string_view::npos) environment.emplace_back(*entry);
  }
  const auto pointers = [](const std::vector<std::string>& strings) {
    std::vector<char*> list;
    for (const auto& string : strings) list.push_back(const_cast<char*>(string.c_str()));
    list.push_back(nullptr);
    return list;
  };
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  int pid = 0;
  EXPECT_EQ(
      ::posix_spawnp(&pid, words[0].c_str(), &actions, nullptr, pointers(words).data(), pointers(environment).data()),
      0);
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

int wait_for_end(int pid) {
  int status = 0;
  ::waitpid(pid, &status, 0);
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

template <typename Reached>
bool wait_until(Reached reached) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(LIMIT_S);
  while (!reached()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return true;
}

std::string content(const fs::path& path) {
  return handset::read_whole_file(path).value_or("");
}

}  // namespace

bool is_phone(const std::string& command) {
  return command.find("handset run") != command.npos && command.find("--help") == command.npos;
}

reader::reader() {
  // Short: the name of a phone's socket has little room.
  std::string name = "/tmp/reader-XXXXXX";
  EXPECT_NE(::mkdtemp(name.data()), nullptr);
  m_folder = name;
  fs::create_symlink(handset::program_folder().parent_path(), m_folder / "build");
}

reader::~reader() {
  end_phones();
  std::error_code ignored;
  fs::remove_all(m_folder, ignored);
}

reader::outcome reader::type(const std::string& command) {
  const bool ends_by_itself = !is_endless(command);
  const std::string limit = std::to_string(ends_by_itself ? LIMIT_S : ENDLESS_S);
  const fs::path output = m_folder / "output";
  const int status = wait_for_end(
      spawn({"timeout", "--preserve-status", "-s", "INT", limit, "sh", "-c", "exec " + command}, m_folder, output));
  return {ends_by_itself || status != 128 + SIGINT ? status : 0, content(output)};
}

void reader::start_phone(const std::string& command) {
  if (command.find("--name") == command.npos) end_phones();
  const fs::path output = m_folder / ("phone-" + std::to_string(m_phones.size()));
  m_phones.push_back(spawn({"sh", "-c", "exec " + command}, m_folder, output));
  EXPECT_TRUE(wait_until([&] { return content(output).find("Ctrl-C ends the phone.") != std::string::npos; }))
      << command << "\n"
      << content(output);
  m_mode = command.find("normal") == command.npos ? "pc" : "app";
  if (command.find("--mode") != command.npos) return;
  // The service may still be opening its terminal, which echoes until then.
  std::smatch name;
  static const std::regex named(R"(--name \S+)");
  const std::string which = std::regex_search(command, name, named) ? name[0].str() + " " : "";
  EXPECT_EQ(type("amt-station --port $(handset ctl " + which + "tty) wait-for-phone").exit, 0);
}

void reader::end_phones() {
  for (const int pid : m_phones) {
    ::kill(pid, SIGTERM);
    wait_for_end(pid);
  }
  m_phones.clear();
}

std::string reader::ctl(const std::string& words) {
  const auto result = type("handset ctl " + words + " 2>/dev/null");
  EXPECT_EQ(result.exit, 0) << words << "\n" << result.output;
  return result.output.substr(0, result.output.find('\n'));
}

std::string reader::prepare(const std::string& command) {
  if (command.find("amt-station") == command.npos) return command;
  const bool is_app = command.find("--app") != command.npos;
  const bool is_pc = command.find("--port") != command.npos || command.find("--phone ") != command.npos;
  const std::string mode = is_app ? "app" : is_pc ? "pc" : m_mode;
  if (mode != m_mode) ctl("mode " + mode);
  m_mode = mode;
  if (!is_app && !is_pc) return command;
  static const std::regex device(R"(/dev/(ttyUSB|ttyACM|pts/)\d+)");
  if (!std::regex_search(command, device)) return command;
  return std::regex_replace(command, device, ctl(std::string("tty ") + mode));
}
