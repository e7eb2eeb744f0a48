#include "amt/amt-handle/service/init.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/phone-root.h"

namespace {

std::vector<std::string> g_commands;  // of the shell
std::string g_failing_command;        // its beginning; empty: none fails

}  // namespace

// The linker sends the service's shell commands here: in the sandbox there is one group only, so chgrp changes nothing.
extern "C" int __real__Z20pub_util_run_commandPKc(const char* command);
extern "C" int __wrap__Z20pub_util_run_commandPKc(const char* command);
extern "C" int __wrap__Z20pub_util_run_commandPKc(const char* command) {
  g_commands.emplace_back(command);
  if (!g_failing_command.empty() && g_commands.back().starts_with(g_failing_command)) return 256;
  return __real__Z20pub_util_run_commandPKc(command);
}

namespace {

namespace fs = std::filesystem;

class MakeFolder : public testing::Test {
 protected:
  MakeFolder() {
    g_commands.clear();
    phone_root::remove("/amt/new");
    fs::create_directories("/amt");
  }
  ~MakeFolder() override {
    g_failing_command.clear();
    chmod("/amt/new", 0755);
  }
  static unsigned mode_of(const char* path) {
    struct stat status = {};
    EXPECT_EQ(stat(path, &status), 0);
    return status.st_mode & 07777;
  }

  log_capture m_log;
};

TEST_F(MakeFolder, Missing_IsMadeAndOpenedToItsUsers) {
  EXPECT_EQ(amt_make_folder("/amt/new"), 0);
  EXPECT_TRUE(fs::is_directory("/amt/new"));
  EXPECT_EQ(mode_of("/amt/new"), 0766u);
  EXPECT_THAT(g_commands, testing::ElementsAre("chgrp -R radio /amt/new", "chmod 766 /amt/new"));
  EXPECT_TRUE(m_log.has("amt_make_folder: /amt/new does not exist.\r\n"));
  EXPECT_TRUE(m_log.has("amt_make_folder mkdir(/amt/new) successfully"));
  EXPECT_FALSE(m_log.contains("failed"));
}

// The folder is there and is used, with other rights.
TEST_F(MakeFolder, RightsThatCannotBeGiven_AreLogged) {
  for (const std::string command : {"chgrp -R radio", "chmod 766"}) {
    g_failing_command = command;
    phone_root::remove("/amt/new");
    EXPECT_EQ(amt_make_folder("/amt/new"), 0);
    EXPECT_TRUE(fs::is_directory("/amt/new"));
    EXPECT_TRUE(m_log.has(command + " /amt/new failed"));
  }
}

TEST_F(MakeFolder, Existing_IsLeftAsItIs) {
  ASSERT_EQ(mkdir("/amt/new", 0700), 0);
  EXPECT_EQ(amt_make_folder("/amt/new"), 0);
  EXPECT_EQ(mode_of("/amt/new"), 0700u);
  EXPECT_TRUE(m_log.has("amt_make_folder: /amt/new exist.\r\n"));
}

// Only that something is there is looked at.
TEST_F(MakeFolder, FileOfThatName_PassesForTheFolder) {
  phone_root::write("/amt/new", "x");
  EXPECT_EQ(amt_make_folder("/amt/new"), 0);
  EXPECT_TRUE(m_log.has("amt_make_folder: /amt/new exist.\r\n"));
}

TEST_F(MakeFolder, CannotBeLookedFor_IsNotMade) {
  ASSERT_EQ(mkdir("/amt/new", 0), 0);
  EXPECT_EQ(amt_make_folder("/amt/new/deeper"), -118);
  EXPECT_THAT(
      m_log.texts(),
      testing::ElementsAre("amt_make_folder()", failure_line("amt/amt-handle", "amt_make_folder", -118, "13"),
                           "amt_make_folder access(/amt/new/deeper) faild errno[13] strerror[Permission denied]"));
}

TEST_F(MakeFolder, EndlessLinks_AreNotReplaced) {
  fs::create_directories("/amt/new");
  fs::create_symlink("loop", "/amt/new/loop");
  EXPECT_EQ(amt_make_folder("/amt/new/loop"), -118);
  EXPECT_EQ(m_log.last(),
            "amt_make_folder access(/amt/new/loop) faild errno[40] strerror[Too many levels of symbolic links]");
}

TEST_F(MakeFolder, NoParent_Fails) {
  EXPECT_EQ(amt_make_folder("/amt/new/deeper"), -118);
  EXPECT_THAT(m_log.texts(),
              testing::ElementsAre(
                  "amt_make_folder()", "amt_make_folder: /amt/new/deeper does not exist.\r\n",
                  failure_line("amt/amt-handle", "amt_make_folder", -118, "2"),
                  "amt_make_folder mkdir(/amt/new/deeper) faild errno[2] strerror[No such file or directory]"));
  EXPECT_FALSE(m_log.contains("successfully"));
}

TEST_F(MakeFolder, ParentIsAFile_Fails) {
  phone_root::write("/amt/new", "x");
  EXPECT_EQ(amt_make_folder("/amt/new/deeper"), -118);
  EXPECT_TRUE(m_log.has("amt_make_folder mkdir(/amt/new/deeper) faild errno[20] strerror[Not a directory]"));
}

TEST_F(MakeFolder, PathLongerThanItsCommands_IsMadeAllTheSame) {
  const std::string parent = "/amt/new/" + std::string(100, 'p');
  fs::create_directories(parent);
  EXPECT_EQ(amt_make_folder((parent + "/folder").c_str()), 0);
  EXPECT_TRUE(fs::is_directory(parent + "/folder"));
}

}  // namespace
