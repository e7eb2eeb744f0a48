#include "pub/util/process.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <string>

#include "pub/result.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/temp-folder.h"
#include "tests/unit/wait-for.h"

namespace {

int g_fifo_maximum = 99;
int g_scheduler_error = 0;
pid_t g_scheduled_pid = 0;
int g_scheduled_policy = -1;
int g_scheduled_priority = -1;
uid_t g_user = getuid();

}  // namespace

// Take the C library's place: whether a process may have a real-time priority is the host's choice.
extern "C" int sched_get_priority_max(int policy) noexcept {
  errno = EINVAL;
  return policy == SCHED_FIFO ? g_fifo_maximum : -1;
}

extern "C" int sched_setscheduler(pid_t pid, int policy, const sched_param* parameter) noexcept {
  g_scheduled_pid = pid;
  g_scheduled_policy = policy;
  g_scheduled_priority = parameter->sched_priority;
  errno = g_scheduler_error;
  return g_scheduler_error == 0 ? 0 : -1;
}

// As whom the program works: a user namespace has one user only.
extern "C" uid_t geteuid() noexcept {
  return g_user;
}

namespace {

using testing::ElementsAre;

constexpr pid_t NO_SUCH_PID = 0x3FFFFFFF;  // above every number that Linux gives out

// A process that runs under any command line one likes.
class child_process {
 public:
  explicit child_process(std::string name, std::string argument = "60") {
    char* const arguments[] = {name.data(), argument.data(), nullptr};
    EXPECT_EQ(posix_spawn(&m_pid, "/bin/sleep", nullptr, nullptr, arguments, environ), 0);
    // The new command line is there a little after the new program; where fork stands in for it, even later.
    const std::string path = "/proc/" + std::to_string(m_pid) + "/cmdline";
    EXPECT_TRUE(wait_for([&] { return read_whole_file(path).starts_with(name + '\0'); }));
  }
  ~child_process() { end(); }
  child_process(const child_process&) = delete;
  child_process& operator=(const child_process&) = delete;

  pid_t pid() const { return m_pid; }
  void end() {
    if (m_pid <= 0) return;
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
    m_pid = 0;
  }

 private:
  pid_t m_pid = 0;
};

std::string own_name() {
  const std::string command_line = read_whole_file("/proc/self/cmdline");
  return command_line.substr(0, command_line.find('\0'));
}

class Process : public testing::Test {
 protected:
  log_capture m_log;
  temp_folder m_folder;
};

// --- standard descriptors

bool is_null_device(int fd) {
  struct stat status = {};
  return fstat(fd, &status) == 0 && S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3);
}

// What a process that was started without some of the three has after the call: for each of them 'n' the null device
// that children have, too, 'p' the pipe it was started with, '-' neither.
std::string standard_descriptors_after_start_without(std::initializer_list<int> missing) {
  int report[2] = {};
  EXPECT_EQ(pipe2(report, O_CLOEXEC), 0);
  const pid_t child = fork();
  if (child == 0) {
    const int out = fcntl(report[1], F_DUPFD, 10);  // not among the three
    for (int fd = 0; fd < 3; ++fd) dup2(report[1], fd);
    for (const int fd : missing) close(fd);
    pub_util_fill_standard_descriptors();
    char kinds[3] = {};
    for (int fd = 0; fd < 3; ++fd) {
      const int flags = fcntl(fd, F_GETFD);
      kinds[fd] = flags != 0 ? '-' : is_null_device(fd) ? 'n' : 'p';
    }
    _exit(write(out, kinds, sizeof kinds) == sizeof kinds ? 0 : 1);
  }
  close(report[1]);
  char kinds[4] = "";
  EXPECT_EQ(read(report[0], kinds, 3), 3);
  close(report[0]);
  waitpid(child, nullptr, 0);
  return kinds;
}

TEST(StandardDescriptors, AllThere_AreLeftAsTheyAre) {
  EXPECT_EQ(standard_descriptors_after_start_without({}), "ppp");
}

TEST(StandardDescriptors, EachMissing_BecomesTheNullDevice) {
  EXPECT_EQ(standard_descriptors_after_start_without({0}), "npp");
  EXPECT_EQ(standard_descriptors_after_start_without({1}), "pnp");
  EXPECT_EQ(standard_descriptors_after_start_without({2}), "ppn");
  EXPECT_EQ(standard_descriptors_after_start_without({0, 2}), "npn");
  EXPECT_EQ(standard_descriptors_after_start_without({0, 1, 2}), "nnn");
}

TEST(StandardDescriptors, Missing_IsNotLogged) {
  const log_capture log;
  const int kept = fcntl(0, F_DUPFD_CLOEXEC, 10);
  close(0);
  pub_util_fill_standard_descriptors();
  EXPECT_TRUE(is_null_device(0));
  EXPECT_TRUE(log.lines().empty());
  if (kept >= 0) dup2(kept, 0);
  close(kept);
}

// --- command lines

class CmdLine : public Process {
 protected:
  std::int32_t get(pid_t pid, std::uint32_t size = sizeof m_buffer) {
    std::memset(m_buffer, '#', sizeof m_buffer - 1);
    m_buffer[sizeof m_buffer - 1] = '\0';
    return pub_util_get_cmd_line(pid, m_buffer, size);
  }
  char m_buffer[400];
};

TEST_F(CmdLine, OwnProcess_IsItsFirstArgument) {
  EXPECT_EQ(get(getpid()), ERR_NONE);
  EXPECT_EQ(m_buffer, own_name());
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_get_cmd_line()"));
}

TEST_F(CmdLine, SmallBuffer_CutsToSizeLessOne) {
  const child_process child("/system/bin/abc");
  EXPECT_EQ(get(child.pid(), 5), ERR_NONE);
  EXPECT_STREQ(m_buffer, "/sys");
  EXPECT_EQ(m_buffer[5], '#');
  EXPECT_EQ(get(child.pid(), 1), ERR_NONE);
  EXPECT_STREQ(m_buffer, "");
  EXPECT_EQ(get(child.pid(), 16), ERR_NONE);
  EXPECT_STREQ(m_buffer, "/system/bin/abc");
}

TEST_F(CmdLine, NameWithABlank_EndsAtIt) {
  const child_process child("two words");
  EXPECT_EQ(get(child.pid()), ERR_NONE);
  EXPECT_STREQ(m_buffer, "two");
}

TEST_F(CmdLine, NameOf300Characters_IsCutTo255) {
  const child_process child(std::string(300, 'n'));
  EXPECT_EQ(get(child.pid()), ERR_NONE);
  EXPECT_EQ(m_buffer, std::string(255, 'n'));
}

TEST_F(CmdLine, NoSuchProcess_IsASystemFailure) {
  EXPECT_EQ(get(NO_SUCH_PID), ERR_SYSTEM);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_get_cmd_line()", failure_line("util/util", "pub_util_get_cmd_line", -118, "2"),
                          "Open file \"/proc/1073741823/cmdline\" fail: 2 - No such file or directory"));
}

TEST_F(CmdLine, ProcessWithoutOne_IsASystemFailure) {
  const pid_t zombie = fork();
  if (zombie == 0) _exit(0);
  siginfo_t info = {};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(zombie), &info, WEXITED | WNOWAIT), 0);
  EXPECT_EQ(get(zombie), ERR_SYSTEM);
  EXPECT_TRUE(m_log.contains("sys call: fscanf() failed! errno = "));
  waitpid(zombie, nullptr, 0);
}

TEST_F(CmdLine, BadArguments_AreNamed) {
  char byte = '#';
  EXPECT_EQ(pub_util_get_cmd_line(getpid(), nullptr, 10), ERR_ARGUMENT);
  EXPECT_EQ(pub_util_get_cmd_line(getpid(), &byte, 0), ERR_ARGUMENT);
  EXPECT_EQ(byte, '#');
  const auto trace = failure_line("util/util", "pub_util_get_cmd_line", -101);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_get_cmd_line()", trace, "1, 0", "pub_util_get_cmd_line()", trace, "0, 1"));
}

TEST_F(CmdLine, ProcessPath_IsTheFolder) {
  const std::string name = own_name();
  EXPECT_EQ(pub_util_get_process_path(m_buffer, sizeof m_buffer), ERR_NONE);
  EXPECT_EQ(m_buffer, name.substr(0, name.rfind('/')));
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_get_process_path()", "pub_util_get_cmd_line()"));
}

TEST_F(CmdLine, ProcessPathCutToASlash_IsEmpty) {
  ASSERT_EQ(own_name().front(), '/');
  EXPECT_EQ(pub_util_get_process_path(m_buffer, 2), ERR_NONE);
  EXPECT_STREQ(m_buffer, "");
}

TEST_F(CmdLine, ProcessPathBadArguments_AreNamed) {
  EXPECT_EQ(pub_util_get_process_path(nullptr, 10), ERR_ARGUMENT);
  EXPECT_EQ(pub_util_get_process_path(m_buffer, 0), ERR_ARGUMENT);
  const auto trace = failure_line("util/util", "pub_util_get_process_path", -101);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_get_process_path()", trace, "1, 0", "pub_util_get_process_path()", trace, "0, 1"));
}

// --- pid files

class PidFile : public Process {
 protected:
  // Whether the process named in a pid file of this content counts as running.
  bool is_running(std::string_view content, const char* name = "vx-kro-amt") {
    return is_running_by(m_folder.write("pid", content), name);
  }
  bool is_running_by(const std::string& path, const char* name = "vx-kro-amt") {
    m_path = path;
    m_is_run = 7;
    m_pid = 7;
    EXPECT_EQ(pub_util_get_pid_and_check_run(path.c_str(), name, &m_is_run, &m_pid), ERR_NONE);
    EXPECT_EQ(m_log.texts().back(), "pub_util_get_pid_and_check_run return is_run_ptr[" + std::to_string(m_is_run) +
                                        "] pid_ptr[" + std::to_string(m_pid) + "]");
    EXPECT_TRUE(m_is_run != 0 || m_pid == 0);
    return m_is_run == 1;
  }

  std::string m_path;
  std::int32_t m_is_run = 7;
  std::int64_t m_pid = 7;
};

TEST_F(PidFile, RunningCopy_IsFound) {
  const child_process child("/system/bin/vx-kro-amt");
  EXPECT_TRUE(is_running(std::to_string(child.pid()) + "\n"));
  EXPECT_EQ(m_pid, child.pid());
  EXPECT_THAT(
      m_log.texts(),
      ElementsAre("pub_util_get_pid_and_check_run()",
                  "pub_util_get_pid_and_check_run pid_file_ptr[" + m_path + "] name_ptr[vx-kro-amt]",
                  "pub_util_get_pid_and_check_run return is_run_ptr[1] pid_ptr[" + std::to_string(child.pid()) + "]"));
}

TEST_F(PidFile, OfAnotherUserInAFolderOfHis_IsNotBelieved) {
  const child_process child("/system/bin/vx-kro-amt");
  g_user = getuid() + 1;
  EXPECT_FALSE(is_running(std::to_string(child.pid())));
  g_user = getuid();
  EXPECT_TRUE(m_log.has("Open file \"" + m_path + "\" fail: 1 - Operation not permitted"));
  EXPECT_TRUE(is_running(std::to_string(child.pid())));
}

TEST_F(PidFile, NameInsideTheFirstWord_IsEnough) {
  const child_process child("./my-vx-kro-amt-2");
  EXPECT_TRUE(is_running("  \n" + std::to_string(child.pid()) + " junk"));
}

TEST_F(PidFile, OwnProcess_CountsAsRunning) {
  const std::string name = own_name();
  EXPECT_TRUE(is_running(std::to_string(getpid()), name.substr(name.rfind('/') + 1).c_str()));
  EXPECT_EQ(m_pid, getpid());
}

TEST_F(PidFile, OtherProgram_DoesNotCount) {
  const child_process child("/system/bin/other");
  EXPECT_FALSE(is_running(std::to_string(child.pid())));
}

TEST_F(PidFile, NameOnlyInAnArgument_DoesNotCount) {
  const child_process child("vi", "0060");
  EXPECT_FALSE(is_running(std::to_string(child.pid()), "0060"));
}

TEST_F(PidFile, NameBehind79Characters_DoesNotCount) {
  const child_process near(std::string(69, 'x') + "vx-kro-amt");
  EXPECT_TRUE(is_running(std::to_string(near.pid())));
  const child_process far(std::string(70, 'x') + "vx-kro-amt");
  EXPECT_FALSE(is_running(std::to_string(far.pid())));
}

TEST_F(PidFile, DeadProcess_IsStale) {
  child_process child("vx-kro-amt");
  const std::string pid = std::to_string(child.pid());
  child.end();
  EXPECT_FALSE(is_running(pid));
  EXPECT_TRUE(m_log.has("Open file \"/proc/" + pid + "/cmdline\" fail: 2 - No such file or directory"));
}

TEST_F(PidFile, ProcessWithoutCommandLine_DoesNotCount) {
  const pid_t zombie = fork();
  if (zombie == 0) _exit(0);
  siginfo_t info = {};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(zombie), &info, WEXITED | WNOWAIT), 0);
  EXPECT_FALSE(is_running(std::to_string(zombie)));
  EXPECT_TRUE(m_log.contains("fscanf() return: -1; "));
  waitpid(zombie, nullptr, 0);
}

TEST_F(PidFile, Missing_IsOnlyLogged) {
  const std::string path = m_folder.path("missing");
  EXPECT_FALSE(is_running_by(path));
  EXPECT_TRUE(m_log.has("Open file \"" + path + "\" fail: 2 - No such file or directory"));
}

TEST_F(PidFile, Junk_IsOnlyLogged) {
  EXPECT_FALSE(is_running("junk 123"));
  EXPECT_TRUE(m_log.contains("fscanf() return: 0; "));
}

TEST_F(PidFile, Empty_IsOnlyLogged) {
  EXPECT_FALSE(is_running(""));
  EXPECT_TRUE(m_log.contains("fscanf() return: -1; "));
}

TEST_F(PidFile, Binary_IsOnlyLogged) {
  std::string noise;
  for (int n = 0; n < 4096; ++n) noise += static_cast<char>(128 + n % 128);
  EXPECT_FALSE(is_running(noise));
  EXPECT_FALSE(is_running(std::string("\0001234", 5)));
  EXPECT_TRUE(m_log.contains("fscanf() return: 0; "));
}

TEST_F(PidFile, Folder_IsOnlyLogged) {
  EXPECT_FALSE(is_running_by(m_folder.path("")));
  EXPECT_TRUE(m_log.has("fscanf() return: -1; 21 - Is a directory"));
}

TEST_F(PidFile, NumbersThatAreNoPid_AreStale) {
  for (const char* number : {"0", "-1", "1073741823", "99999999999999999999999", "-99999999999999999999999"}) {
    EXPECT_FALSE(is_running(number)) << number;
  }
  EXPECT_TRUE(m_log.has("Open file \"/proc/9223372036854775807/cmdline\" fail: 2 - No such file or directory"));
  EXPECT_TRUE(m_log.has("Open file \"/proc/-9223372036854775808/cmdline\" fail: 2 - No such file or directory"));
}

TEST_F(PidFile, EachBadArgument_IsNamedAndTheResultsAreCleared) {
  struct {
    const char* m_file;
    const char* m_name;
    bool m_has_is_run;
    bool m_has_pid;
    const char* m_flags;
  } const rows[] = {
      {nullptr, "n", true, true, "1, 0, 0, 0, 0, 0"}, {"", "n", true, true, "0, 1, 0, 0, 0, 0"},
      {"f", nullptr, true, true, "0, 0, 1, 0, 0, 0"}, {"f", "", true, true, "0, 0, 0, 1, 0, 0"},
      {"f", "n", false, true, "0, 0, 0, 0, 1, 0"},    {"f", "n", true, false, "0, 0, 0, 0, 0, 1"},
  };
  for (const auto& row : rows) {
    m_log.clear();
    std::int32_t is_run = 7;
    std::int64_t pid = 7;
    EXPECT_EQ(pub_util_get_pid_and_check_run(row.m_file, row.m_name, row.m_has_is_run ? &is_run : nullptr,
                                             row.m_has_pid ? &pid : nullptr),
              ERR_ARGUMENT);
    EXPECT_THAT(m_log.texts(),
                ElementsAre("pub_util_get_pid_and_check_run()",
                            failure_line("util/util", "pub_util_get_pid_and_check_run", -101), row.m_flags));
    EXPECT_EQ(is_run, row.m_has_is_run ? 0 : 7);
    EXPECT_EQ(pid, row.m_has_pid ? 0 : 7);
  }
}

TEST_F(PidFile, Created_HoldsTheOwnPid) {
  pub_util_create_pid_file("unit-test");
  const std::string pid = std::to_string(getpid());
  EXPECT_EQ(read_whole_file("/tmp/unit-test.pid"), pid + "\n");
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_create_pid_file()", "PID of unit-test: " + pid));
  std::filesystem::remove("/tmp/unit-test.pid");
}

TEST_F(PidFile, CreatedWithNull_IsABadArgument) {
  pub_util_create_pid_file(nullptr);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_create_pid_file()",
                                         failure_line("util/util", "pub_util_create_pid_file", -101), "1"));
}

TEST_F(PidFile, CreatedWithALongName_IsCutWithItsCommand) {
  const std::string head = "echo " + std::to_string(getpid()) + " > ";
  const std::string path = "/tmp/" + std::string(58 - head.size() - 5, 'n');
  pub_util_create_pid_file(std::string(80, 'n').c_str());
  EXPECT_EQ(read_whole_file(path), std::to_string(getpid()) + "\n");
  std::filesystem::remove(path);
}

// --- priority

class Priority : public Process {
 protected:
  Priority() {
    g_fifo_maximum = 99;
    g_scheduler_error = 0;
    g_scheduled_policy = -1;
  }
};

TEST_F(Priority, Raised_IsFourBelowTheFifoMaximum) {
  pub_util_raise_process_priority();
  EXPECT_EQ(g_scheduled_pid, getpid());
  EXPECT_EQ(g_scheduled_policy, SCHED_FIFO);
  EXPECT_EQ(g_scheduled_priority, 95);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_raise_process_priority()"));
}

TEST_F(Priority, Refused_IsOnlyLogged) {
  g_scheduler_error = EPERM;
  pub_util_raise_process_priority();
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_raise_process_priority()", "sys call: sched_setscheduler() failed! errno = 1",
                          failure_line("util/util", "pub_util_raise_process_priority", -118, "1")));
}

TEST_F(Priority, NoMaximum_IsOnlyLogged) {
  g_fifo_maximum = -1;
  pub_util_raise_process_priority();
  EXPECT_EQ(g_scheduled_policy, -1);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_raise_process_priority()", "sys call: sched_get_priority_max() failed! errno = 22",
                          failure_line("util/util", "pub_util_raise_process_priority", -118, "22")));
}

}  // namespace
