// What another user of the phone may have done in a folder that is open to all, before or while the service works
// there; and what a command of the service gets of it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/process.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/temp-folder.h"

namespace {

namespace fs = std::filesystem;

constexpr char PID_FILE[] = "/tmp/unit-shared.pid";

class SharedFolder : public testing::Test {
 protected:
  SharedFolder() {
    fs::remove(PID_FILE);
    EXPECT_EQ(chmod("/tmp", 01777), 0);
  }
  ~SharedFolder() override { fs::remove(PID_FILE); }

  void create_pid_file() {
    pub_util_create_pid_file("unit-shared");
    EXPECT_EQ(read_whole_file(PID_FILE), std::to_string(getpid()) + "\n");
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(PID_FILE)));
  }

  log_capture m_log;
  temp_folder m_folder;
};

TEST_F(SharedFolder, PidFileOverALink_LeavesTheOthersFileAlone) {
  const std::string victim = m_folder.write("victim", "precious");
  fs::create_symlink(victim, PID_FILE);
  create_pid_file();
  EXPECT_EQ(read_whole_file(victim), "precious");
}

TEST_F(SharedFolder, PidFileOverALinkToNothing_MakesNoFileThere) {
  fs::create_symlink(m_folder.path("nothing"), PID_FILE);
  create_pid_file();
  EXPECT_FALSE(fs::exists(m_folder.path("nothing")));
}

TEST_F(SharedFolder, PidFileOverASecondNameOfAFile_LeavesTheFileAlone) {
  const std::string victim = m_folder.write("victim", "precious");
  fs::create_hard_link(victim, PID_FILE);
  create_pid_file();
  EXPECT_EQ(read_whole_file(victim), "precious");
}

TEST_F(SharedFolder, PidFileOverANamedPipe_DoesNotWaitForAReader) {
  ASSERT_EQ(mkfifo(PID_FILE, 0666), 0);
  create_pid_file();
}

TEST_F(SharedFolder, PidFileOverAFolder_IsOnlyLogged) {
  fs::create_directory(PID_FILE);
  pub_util_create_pid_file("unit-shared");
  EXPECT_TRUE(m_log.has("sys call: open() failed! errno = 17"));
  EXPECT_TRUE(fs::is_directory(PID_FILE));
}

TEST_F(SharedFolder, PidFile_HasTheModeOfANewFile) {
  const mode_t mask = umask(0);
  create_pid_file();
  umask(mask);
  EXPECT_EQ(fs::status(PID_FILE).permissions(), static_cast<fs::perms>(0666));
}

bool is_running_by(const char* path) {
  std::int32_t is_run = 0;
  std::int64_t pid = 0;
  EXPECT_EQ(pub_util_get_pid_and_check_run(path, "unit-pub-files", &is_run, &pid), ERR_NONE);
  return is_run != 0;
}

TEST_F(SharedFolder, PidFileOfOnesOwn_IsBelieved) {
  create_pid_file();
  EXPECT_TRUE(is_running_by(PID_FILE));
}

TEST_F(SharedFolder, PidFileThatIsALink_IsNotRead) {
  const std::string own = m_folder.write("pid", std::to_string(getpid()));
  EXPECT_TRUE(is_running_by(own.c_str()));
  fs::create_symlink(own, PID_FILE);
  EXPECT_FALSE(is_running_by(PID_FILE));
  EXPECT_TRUE(m_log.contains(": 40 - "));
}

TEST_F(SharedFolder, PidFileThatIsANamedPipe_DoesNotWaitForAWriter) {
  ASSERT_EQ(mkfifo(PID_FILE, 0666), 0);
  EXPECT_FALSE(is_running_by(PID_FILE));
}

TEST_F(SharedFolder, FileToAppendTo_IsNotFollowedOverALink) {
  const std::string victim = m_folder.write("victim", "precious");
  fs::create_symlink(victim, PID_FILE);
  EXPECT_FALSE(pub_util_fopen_shared(PID_FILE, O_RDWR | O_APPEND | O_CREAT));
  EXPECT_EQ(errno, ELOOP);
  EXPECT_FALSE(pub_util_fopen_shared("/tmp/unit-missing/file", O_RDONLY));
}

TEST_F(SharedFolder, LinkInAFolderOfOnesOwn_IsFollowed) {
  const std::string file = m_folder.write("file", "");
  fs::create_symlink(file, m_folder.path("link"));
  const pub_file opened = pub_util_fopen_shared(m_folder.path("link").c_str(), O_RDWR | O_APPEND | O_CREAT);
  ASSERT_TRUE(opened);
  EXPECT_GE(std::fputs("x", opened.get()), 0);
  EXPECT_EQ(std::fflush(opened.get()), 0);
  EXPECT_EQ(read_whole_file(file), "x");
}

TEST_F(SharedFolder, Replaceable_IsWhatOthersMayWriteBeside) {
  const std::string folder = m_folder.path("");
  const std::string file = m_folder.path("file");
  for (const auto& [mode, is_replaceable] :
       {std::pair{0700, false}, {0755, false}, {0770, true}, {01777, true}, {0702, true}}) {
    ASSERT_EQ(chmod(folder.c_str(), static_cast<mode_t>(mode)), 0);
    EXPECT_EQ(pub_util_is_replaceable(file.c_str()), is_replaceable) << std::oct << mode;
  }
  EXPECT_TRUE(pub_util_is_replaceable((m_folder.path("missing") + "/file").c_str()));
}

class Command : public SharedFolder {
 protected:
  std::string output_of(const std::string& command) {
    const std::string path = m_folder.path("output");
    EXPECT_EQ(pub_util_run_command((command + " > " + path).c_str()), 0);
    return read_whole_file(path);
  }
};

TEST_F(Command, Descriptors_AreTheStandardOnes) {
  const std::string before = output_of("ls /proc/self/fd");
  const std::string path = m_folder.write("file", "");
  const pub_file file = pub_util_fopen(path.c_str(), "r+");
  const pub_file shared = pub_util_fopen_shared(path.c_str(), O_RDONLY);
  const pub_fd opened(pub_util_open(path.c_str(), O_RDONLY));
  const pub_fd created = pub_util_create_shared(PID_FILE);
  EXPECT_TRUE(file && shared && opened && created);
  EXPECT_EQ(output_of("ls /proc/self/fd"), before);
}

TEST_F(Command, RealTimePriority_IsNotPassedOn) {
  sched_param parameter = {};
  ASSERT_EQ(syscall(SYS_sched_setscheduler, 0, SCHED_BATCH, &parameter), 0);  // what anybody may choose
  EXPECT_EQ(output_of("cut -d' ' -f41 /proc/self/stat"), "0\n");
  ASSERT_EQ(syscall(SYS_sched_setscheduler, 0, SCHED_OTHER, &parameter), 0);
}

}  // namespace
