// The program `handset` from outside: what it prints, how it ends, and what it leaves on the disk.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>

#include "handset/wire/exit-status.h"
#include "handset/wire/files.h"
#include "handset/wire/tty-end.h"
#include "pub/util/fd.h"

namespace {

namespace fs = std::filesystem;
using handset::exited;
using handset::killed;
using handset::tty_end;
using testing::HasSubstr;
using testing::StartsWith;
using words = std::vector<std::string>;

const std::string HANDSET = handset::program_folder() / "handset";
const std::string STAND_IN = handset::program_folder() / "handset-stand-in";

// A program with its output in one pipe.
class child {
 public:
  explicit child(words command, const std::string& path = std::getenv("PATH")) {
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    // The helper for ttys reads any descriptor.
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    m_output.attach(pub_fd(ends[0]));
    const pub_fd write_end(ends[1]);
    std::vector<char*> arguments;
    for (auto& word : command) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    std::string path_entry = "PATH=" + path;
    std::string temporary = "TMPDIR=" + testing::TempDir();
    std::vector<char*> environment = {path_entry.data(), temporary.data()};
    for (char** entry = environ; *entry != nullptr; ++entry) {
      if (std::string_view(*entry).find("SAN_OPTIONS=") != std::string_view::npos) environment.push_back(*entry);
    }
    environment.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, write_end.get(), 1);
    posix_spawn_file_actions_adddup2(&actions, write_end.get(), 2);
    EXPECT_EQ(::posix_spawnp(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environment.data()), 0);
    posix_spawn_file_actions_destroy(&actions);
  }
  ~child() {
    if (m_pid == 0) return;
    send_signal(SIGKILL);
    wait();
  }
  child(const child&) = delete;
  child& operator=(const child&) = delete;

  void send_signal(int number) const { ::kill(m_pid, number); }
  handset::exit_status wait() {
    int status = 0;
    ::waitpid(std::exchange(m_pid, 0), &status, 0);
    return WIFSIGNALED(status) ? killed(WTERMSIG(status)) : exited(WEXITSTATUS(status));
  }
  // Up to and with text, or what there was.
  std::string read_until(std::string_view text) { return m_output.read_until(text); }
  // Everything until no process has the pipe open any more.
  std::string rest() { return m_output.read_exactly(std::string::npos); }
  bool abandoned() { return m_output.wait_hangup(); }

 private:
  tty_end m_output;
  pid_t m_pid = 0;
};

struct outcome {
  handset::exit_status status;
  std::string output;
};
outcome run(const words& command) {
  child program(command);
  std::string output = program.rest();
  return {program.wait(), std::move(output)};
}

TEST(ProgramExec, Status_IsTheCommands) {
  EXPECT_EQ(run({HANDSET, "exec", "--", "sh", "-c", "exit 9"}).status, exited(9));
  EXPECT_EQ(run({HANDSET, "exec", "--", "sh", "-c", "kill -9 $$"}).status, exited(128 + 9));
  EXPECT_EQ(run({HANDSET, "exec", "--", "no-such-command"}).status, exited(127));
  EXPECT_EQ(run({HANDSET, "exec"}).status, exited(2));
}

TEST(ProgramExec, ProgramOfTheBuildTree_RunsAtItsPlace) {
  const auto result = run({HANDSET, "exec", STAND_IN, "caps"});
  EXPECT_THAT(result.output, HasSubstr("uid 1000 gid 1001\n"));
  EXPECT_EQ(result.status, exited(0));
}

TEST(ProgramExec, BoundFolder_IsWritable) {
  std::string name = testing::TempDir() + "bound-XXXXXX";
  ASSERT_NE(::mkdtemp(name.data()), nullptr);
  EXPECT_EQ(run({HANDSET, "exec", "--bind", name, "--", "touch", name + "/made"}).status, exited(0));
  EXPECT_TRUE(fs::exists(name + "/made"));
  EXPECT_EQ(run({HANDSET, "exec", "--ro-bind", name, "--", "touch", name + "/not"}).status, exited(1));
  fs::remove_all(name);
}

TEST(ProgramExec, Killed_TakesEverythingAlong) {
  child program({HANDSET, "exec", "--", "sh", "-c", "setsid sleep 1000 & echo ready; exec sleep 1000"});
  ASSERT_EQ(program.read_until("ready\n"), "ready\n");
  program.send_signal(SIGKILL);
  EXPECT_EQ(program.wait(), killed(SIGKILL));
  EXPECT_TRUE(program.abandoned());  // its pipe has no holder left
}

TEST(ProgramExec, KilledOnesTree_IsRemovedByTheNext) {
  // A folder of its own: the phones of other tests come and go in the common one.
  const std::string folder = testing::TempDir() + "killed-" + std::to_string(::getpid());
  ::mkdir(folder.c_str(), 0777);
  const std::string own = "TMPDIR=" + folder;
  const std::string trees = "ls -d " + folder + "/handset-*/phone-* 2>/dev/null | wc -l";
  child program({"env", own, HANDSET, "exec", "--", "sh", "-c", "echo ready; exec sleep 1000"});
  ASSERT_EQ(program.read_until("ready\n"), "ready\n");
  program.send_signal(SIGKILL);
  program.wait();
  ASSERT_TRUE(program.abandoned());
  EXPECT_EQ(run({"sh", "-c", trees}).output, "1\n");
  EXPECT_EQ(run({"env", own, HANDSET, "exec", "true"}).status, exited(0));
  EXPECT_EQ(run({"sh", "-c", trees}).output, "0\n");
  run({"rm", "-rf", folder});
}

TEST(ProgramExec, Interrupted_EndsWithItsStatusAndNothingLeft) {
  child program({HANDSET, "exec", "--", "sh", "-c", "echo ready; exec sleep 1000"});
  ASSERT_EQ(program.read_until("ready\n"), "ready\n");
  program.send_signal(SIGINT);
  EXPECT_EQ(program.wait(), exited(128 + SIGINT));
  EXPECT_TRUE(program.abandoned());
}

TEST(ProgramExec, OrdinaryUser_SeesTheSamePhone) {
  if (::geteuid() != 0) GTEST_SKIP() << "this is an ordinary user already";
  // nobody: may it reach the program at all?
  const words as_nobody = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
  words probe = as_nobody;
  probe.insert(probe.end(), {"test", "-x", HANDSET});
  if (run(probe).status != exited(0)) GTEST_SKIP() << "the build tree is closed to other users";
  words command = as_nobody;
  command.insert(command.end(), {HANDSET, "exec", STAND_IN, "caps"});
  const auto result = run(command);
  EXPECT_THAT(result.output, HasSubstr("CapEff:\t0000000000000000\n"));
  EXPECT_THAT(result.output, HasSubstr("uid 1000 gid 1001\n"));
  EXPECT_EQ(result.status, exited(0));
}

TEST(ProgramSandbox, NoBubblewrap_IsReported) {
  child program({HANDSET, "exec", "true"}, "/nowhere");
  EXPECT_THAT(program.rest(), HasSubstr("bubblewrap is not installed"));
  EXPECT_EQ(program.wait(), exited(3));
}

TEST(ProgramSandbox, Refused_ReportsBubblewrapsMessage) {
  std::string folder = testing::TempDir() + "bin-XXXXXX";
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  std::ofstream(folder + "/bwrap") << "#!/bin/sh\necho 'bwrap: No permissions to create new namespace' >&2\nexit 1\n";
  fs::permissions(folder + "/bwrap", fs::perms::owner_all);
  child program({HANDSET, "exec", "true"}, folder + ":/usr/bin:/bin");
  EXPECT_THAT(program.rest(),
              HasSubstr("no sandbox can be made here\nbwrap: No permissions to create new namespace\n"));
  EXPECT_EQ(program.wait(), exited(3));
  fs::remove_all(folder);
}

// `handset run` with the stand-in for the service.
class ProgramRun : public testing::Test {
 protected:
  void start(const words& more = {}) {
    words command = {HANDSET, "run", "-v", "--service", STAND_IN};
    command.insert(command.end(), more.begin(), more.end());
    m_program.emplace(command);
    m_program->read_until("PC tty:  ");
    m_tty = m_program->read_until("\n");
    m_program->read_until("control: ");
    m_socket = m_program->read_until("\n");
    ASSERT_THAT(m_tty, testing::EndsWith("/ttyPC\n"));
    m_tty.pop_back();
    m_socket.pop_back();
    m_program->read_until("ready\n");
  }
  outcome ctl(const words& command) {
    words all = {HANDSET, "ctl", "--socket", m_socket};
    all.insert(all.end(), command.begin(), command.end());
    return run(all);
  }
  tty_end station() {
    tty_end end;
    end.attach(pub_fd(::open(m_tty.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)));
    return end;
  }

  std::optional<child> m_program;
  std::string m_tty;
  std::string m_socket;
};

TEST_F(ProgramRun, StationAfterStation_ReachesTheModem) {
  start();
  for (int round = 0; round < 3; ++round) {
    auto end = station();
    end.write_all("AT\r");
    EXPECT_EQ(end.read_exactly(6), "\r\nOK\r\n");
  }
}

TEST_F(ProgramRun, StationThatLockedItsTtyAndDied_DoesNotLockTheNextOut) {
  start();
  {
    auto end = station();
    end.write_all("AT\r");
    EXPECT_EQ(end.read_exactly(6), "\r\nOK\r\n");
    ASSERT_EQ(::ioctl(end.fd(), TIOCEXCL), 0);
  }
  // Until the old terminal is replaced, opening it is refused; root would get in anyway.
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  auto next = station();
  while (!next.plugged() && std::chrono::steady_clock::now() < deadline) next = station();
  next.write_all("AT\r");
  EXPECT_EQ(next.read_exactly(6), "\r\nOK\r\n");
}

TEST_F(ProgramRun, ControlCommands_ReachThePhone) {
  start();
  EXPECT_THAT(ctl({"status"}).output, StartsWith("service: running"));
  EXPECT_EQ(ctl({"prop", "set", "a.b", "c"}).status, exited(0));
  EXPECT_EQ(ctl({"prop", "get", "a.b"}).output, "c\n");
  EXPECT_EQ(ctl({"file", "write", "/amt/x", "y"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/amt/x"}).output, "y");
  EXPECT_EQ(ctl({"modem", "board", "B9"}).status, exited(0));
  EXPECT_THAT(ctl({"modem", "state"}).output, HasSubstr("board: B9\n"));
  EXPECT_EQ(ctl({"modem", "silent", "perhaps"}).status, exited(2));
  EXPECT_EQ(ctl({"uevent"}).output, "usage: uevent STRING...\n");
  EXPECT_EQ(ctl({"nonsense"}).status, exited(2));
  auto end = station();
  end.write_all("AT\r");
  EXPECT_EQ(end.read_exactly(6), "\r\nOK\r\n");
  EXPECT_EQ(ctl({"modem", "say", "RING"}).status, exited(0));
  EXPECT_EQ(end.read_exactly(8), "\r\nRING\r\n");
}

TEST_F(ProgramRun, State_IsOfAllPartsOrOfOne) {
  start();
  EXPECT_THAT(ctl({"state"}).output, HasSubstr("\nkey light: off\nvibrator: still\n"));
  EXPECT_EQ(ctl({"file", "write", "/sys/class/leds/button-backlight/brightness", "1"}).status, exited(0));
  EXPECT_EQ(ctl({"state", "key", "light"}).output, "on\n");
  EXPECT_EQ(ctl({"state", "smell"}).output, "the hardware has no smell\n");
}

TEST_F(ProgramRun, Screenshot_IsWrittenWhereTheCallerIs) {
  start({"--screen", "48x80"});
  const fs::path folder = fs::temp_directory_path() / ("screenshot-" + std::to_string(::getpid()));
  fs::create_directories(folder);
  EXPECT_EQ(ctl({"screenshot", fs::relative(folder / "one.png")}).status, exited(0));
  EXPECT_EQ(ctl({"screenshot", folder / "two.png", "both"}).status, exited(0));
  EXPECT_TRUE(fs::exists(folder / "one.png"));
  EXPECT_TRUE(fs::exists(folder / "two.png"));
  EXPECT_EQ(ctl({"screenshot", folder / "three.png", "all"}).status, exited(2));
  fs::remove_all(folder);
}

TEST_F(ProgramRun, DeviceCommands_SetWhatFailsAndTakeItBack) {
  start();
  EXPECT_EQ(ctl({"device", "fail", "EIO", "fb0", "FBIOGET_FSCREENINFO"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/handset/devices/faults"}).output, "5 fb0 FBIOGET_FSCREENINFO\n");
  EXPECT_EQ(ctl({"device", "fail", "ENONSENSE", "fb0"}).status, exited(2));
  EXPECT_EQ(ctl({"device", "heal"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/handset/devices/faults"}).status, exited(1));
  EXPECT_EQ(ctl({"device", "calls"}).output, "");
}

// A shell in the service's place prints what is mounted.
std::string cards_of_phone(const words& options) {
  words command = {HANDSET, "run", "-v", "--service", "/bin/sh"};
  command.insert(command.end(), options.begin(), options.end());
  command.insert(command.end(), {"--", "-c", "df -k --output=target,size | grep ^/storage | tr -s ' '"});
  const auto result = run(command).output;
  const auto cards = result.find("\n/storage");
  return cards == result.npos ? "" : result.substr(cards + 1, result.find("service: ") - cards - 1);
}

TEST(ProgramCards, Unsaid_AreTheUsualTwo) {
  EXPECT_EQ(cards_of_phone({}), "/storage/sdcard0 12582912\n/storage/sdcard1 31166976\n");
}

TEST(ProgramCards, Given_AreTheOnlyOnes) {
  EXPECT_EQ(cards_of_phone({"--card", "/storage/sdcard1=2048"}), "/storage/sdcard1 2048\n");
  EXPECT_EQ(cards_of_phone({"--card", "/storage/a=4", "--card", "/storage/b=8"}), "/storage/a 4\n/storage/b 8\n");
  EXPECT_EQ(cards_of_phone({"--card", "none"}), "");
}

TEST(ProgramCards, WrongText_IsWrongUsage) {
  for (const char* wrong : {"", "none=", "/storage/sdcard1", "/storage/sdcard1=", "/storage/sdcard1=0", "/storage/x=1M",
                            "/storage/x=-4", "/storage/x=4294967296", "/=4", "storage/x=4"}) {
    const auto result = run({HANDSET, "run", "--card", wrong});
    EXPECT_THAT(result.output, HasSubstr("neither FOLDER=KB nor none")) << wrong;
    EXPECT_EQ(result.status, exited(2)) << wrong;
  }
}

TEST_F(ProgramRun, ModemHangup_EndsTheServiceAndTheProgram) {
  start();
  EXPECT_EQ(ctl({"modem", "hangup"}).status, exited(0));
  EXPECT_THAT(m_program->rest(), StartsWith("hung up MODEM\nservice: exit status 0\n"));
  EXPECT_EQ(m_program->wait(), exited(0));
  EXPECT_EQ(ctl({"status"}).status, exited(1));
}

TEST_F(ProgramRun, Uevent_ReachesTheService) {
  start({"--", "uevent"});
  EXPECT_EQ(ctl({"uevent", "change@x", "USB_STATE=DISCONNECTED"}).status, exited(0));
  EXPECT_EQ(m_program->read_until("|\n"), "event change@x|USB_STATE=DISCONNECTED|\n");
}

TEST_F(ProgramRun, RecordFaults_AreMadeFromOutside) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"file", "write", "/amt/imei.txt", "1"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "mode", "/amt/imei.txt", "0"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "mode", "/amt/imei.txt", "644"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/amt/imei.txt"}).output, "1");
  EXPECT_EQ(ctl({"file", "mode", "/amt/imei.txt", "9"}).status, exited(2));
  EXPECT_NE(ctl({"file", "mode", "/amt/none", "0"}).status, exited(0));
}

TEST_F(ProgramRun, FullFileSystem_KeepsTheContentUntilItIsHealed) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"file", "write", "/amt/imei.txt", "1"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "full", "/amt"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/amt/imei.txt"}).output, "1");
  EXPECT_EQ(ctl({"file", "heal", "/amt"}).status, exited(0));
  EXPECT_EQ(ctl({"file", "cat", "/amt/imei.txt"}).output, "1");
  EXPECT_EQ(ctl({"file", "heal", "/amt"}).output, "/amt does not fail\n");
  EXPECT_EQ(ctl({"file", "full", "/system"}).status, exited(1));
  EXPECT_EQ(ctl({"file", "full", "/amt/none"}).status, exited(1));
}

TEST_F(ProgramRun, UnknownNames_AreRefusedWithTheKnownOnes) {
  start({"--", "wait"});
  const words wrong[] = {{"library", "set", "hwt", "nosuch", "1"},
                         {"library", "set", "hwt", "hwt_btCheck", "x"},
                         {"library", "set", "nosuch", "hwt_btCheck", "1"},
                         {"device", "fail", "EIO", "nosuch", "open"},
                         {"device", "fail", "EIO", "fb0", "nosuch"},
                         {"device", "result", "1", "video0", "nosuch"},
                         {"modem", "nosuch", "1"},
                         {"mode", "nosuch"},
                         {"tty", "nosuch"},
                         {"file", "fail", "/amt/x", "nosuch"}};
  for (const auto& command : wrong) EXPECT_EQ(ctl(command).status, exited(2)) << command[1] << " " << command[2];
  EXPECT_THAT(ctl(wrong[0]).output, HasSubstr("hwt_gpsCtrl"));
  EXPECT_THAT(ctl(wrong[3]).output, HasSubstr("video0"));
  EXPECT_EQ(ctl({"file", "remove", "/amt/none"}).status, exited(1));
  EXPECT_EQ(ctl({"library", "set", "board", "wait create_devinfo(", "5"}).status, exited(0));
}

TEST_F(ProgramRun, Ended_StaysWithKeepAndStartsAgain) {
  start({"--keep", "--", "wait"});
  EXPECT_EQ(ctl({"file", "write", "/amt/x", "y"}).status, exited(0));
  EXPECT_EQ(ctl({"start"}).status, exited(1));  // it runs
  EXPECT_EQ(ctl({"signal", "TERM"}).status, exited(0));
  m_program->read_until("the phone stays: ");
  EXPECT_THAT(ctl({"status"}).output, StartsWith("service: ended"));
  EXPECT_EQ(ctl({"file", "cat", "/amt/x"}).output, "y");
  EXPECT_EQ(ctl({"start"}).status, exited(0));
  m_program->read_until("ready\n");
  EXPECT_THAT(ctl({"status"}).output, StartsWith("service: running"));
}

TEST_F(ProgramRun, Ended_IsStartedAgainWithRestart) {
  start({"--restart", "--", "wait"});
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(ctl({"signal", "KILL"}).status, exited(0));
    EXPECT_THAT(m_program->read_until("ready\n"), HasSubstr("service: signal 9"));
  }
  EXPECT_EQ(ctl({"stop"}).status, exited(0));
  EXPECT_EQ(m_program->wait(), exited(128 + SIGTERM));
}

TEST_F(ProgramRun, OtherMode_KeepsRecordsAndTtys) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"file", "write", "/amt/x", "y"}).status, exited(0));
  const auto ttys = ctl({"tty"}).output + ctl({"tty", "app"}).output;
  EXPECT_EQ(ctl({"mode", "app"}).status, exited(0));
  m_program->read_until("ready\n");
  EXPECT_THAT(ctl({"status"}).output, HasSubstr("\nmode: app\n"));
  EXPECT_EQ(ctl({"tty"}).output + ctl({"tty", "app"}).output, ttys);
  EXPECT_EQ(ctl({"mode", "pc"}).status, exited(0));
  m_program->read_until("ready\n");
  EXPECT_THAT(ctl({"status"}).output, HasSubstr("\nmode: pc (simplified start)\n"));
  EXPECT_EQ(ctl({"file", "cat", "/amt/x"}).output, "y");
}

TEST_F(ProgramRun, Log_IsReadFromOutside) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"log"}).output, "ready\n");
  child follower({HANDSET, "ctl", "--socket", m_socket, "log", "-f"});
  EXPECT_EQ(follower.read_until("ready\n"), "ready\n");
  EXPECT_EQ(ctl({"stop"}).status, exited(0));
  EXPECT_EQ(follower.wait(), exited(0));
}

TEST_F(ProgramRun, FactoryImage_IsThereUnlessBare) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"prop", "get", "ro.build.display.id"}).output, "VX5210-4.2.0\n");
  EXPECT_THAT(ctl({"modem", "state"}).output, HasSubstr("imei: 490154203237518\n"));
  start({"--bare", "--", "wait"});
  EXPECT_EQ(ctl({"prop", "get", "ro.build.display.id"}).status, exited(1));
  EXPECT_THAT(ctl({"modem", "state"}).output, HasSubstr("imei: \n"));
  start({"--file", "/amt/usb_serial=mine", "--", "wait"});
  EXPECT_EQ(ctl({"file", "cat", "/amt/usb_serial"}).output, "mine");
}

TEST(ProgramStart, ServiceThatEndsAtOnce_IsReported) {
  const auto result = run({HANDSET, "run", "--service", "/bin/true"});
  EXPECT_THAT(result.output, HasSubstr("handset: the service ended "));
  EXPECT_THAT(result.output, HasSubstr(" ms after its start"));
  EXPECT_EQ(result.status, exited(0));
}

// Phones in a folder of their own, so that only these run there.
class ProgramNames : public testing::Test {
 protected:
  ~ProgramNames() override {
    m_phones.clear();
    fs::remove_all(m_folder);
  }
  words alone(const words& command) const {
    words all = {"env", "XDG_RUNTIME_DIR=" + m_folder, HANDSET};
    all.insert(all.end(), command.begin(), command.end());
    return all;
  }
  void start(const words& options) {
    words command = {"run", "-v", "--service", STAND_IN};
    command.insert(command.end(), options.begin(), options.end());
    command.insert(command.end(), {"--", "wait"});
    m_phones.push_back(std::make_unique<child>(alone(command)));
    m_phones.back()->read_until("ready\n");
  }
  outcome ctl(const words& command) const { return run(alone(command)); }

  std::string m_folder = [] {
    std::string name = "/tmp/names-XXXXXX";
    EXPECT_NE(::mkdtemp(name.data()), nullptr);
    return name;
  }();
  std::vector<std::unique_ptr<child>> m_phones;
};

TEST_F(ProgramNames, OnlyPhone_AnswersWithItsName) {
  start({});
  EXPECT_EQ(ctl({"ctl", "prop", "get", "ro.board.platform"}).output, "[phone1]\nvx5210\n");
}

TEST_F(ProgramNames, SeveralPhones_AreListedAndOneHasToBeNamed) {
  start({"--name", "A"});
  start({"--name", "B"});
  const auto refused = ctl({"ctl", "status"});
  EXPECT_THAT(refused.output, HasSubstr("several phones are running: A, B;"));
  EXPECT_EQ(refused.status, exited(2));
  EXPECT_THAT(ctl({"ctl", "--name", "B", "status"}).output, StartsWith("[B]\n"));
  const auto missing = ctl({"ctl", "--name", "C", "status"});
  EXPECT_THAT(missing.output, HasSubstr("no phone named C is running; there is A, B"));
  EXPECT_EQ(missing.status, exited(1));
  EXPECT_THAT(ctl({"run", "--name", "A"}).output, HasSubstr("a phone named A runs already"));
}

TEST_F(ProgramNames, NameOfAKilledPhone_IsFreeAgain) {
  start({"--name", "A"});
  m_phones.back()->send_signal(SIGKILL);
  m_phones.back()->wait();
  m_phones.clear();
  EXPECT_THAT(ctl({"ctl", "status"}).output, HasSubstr("no phone of this user is running"));
  start({"--name", "A"});
  EXPECT_THAT(ctl({"ctl", "status"}).output, StartsWith("[A]\n"));
}

TEST_F(ProgramNames, WrongName_IsWrongUsage) {
  for (const char* wrong : {"", "a/b", "a b", "abcdefghijklmnopqrstu"}) {
    EXPECT_EQ(ctl({"run", "--name", wrong}).status, exited(2)) << wrong;
  }
}

TEST_F(ProgramRun, StopOrInterrupt_EndsTheServiceByTerm) {
  start({"--", "wait"});
  EXPECT_EQ(ctl({"stop"}).status, exited(0));
  EXPECT_EQ(m_program->wait(), exited(128 + SIGTERM));
  start({"--", "wait"});
  m_program->send_signal(SIGINT);
  EXPECT_EQ(m_program->wait(), exited(128 + SIGTERM));
  EXPECT_FALSE(fs::exists(m_tty));
}

TEST_F(ProgramRun, Killed_TakesTheServiceAlong) {
  start();
  auto end = station();
  ASSERT_TRUE(end.plugged());
  m_program->send_signal(SIGKILL);
  m_program->wait();
  EXPECT_TRUE(end.wait_hangup());  // not by its name: another phone may have got the terminal's number since
}

}  // namespace
