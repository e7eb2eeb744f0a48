#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "pub/result.h"
#include "pub/util/device.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/temp-folder.h"

namespace {

const struct statfs* g_statfs_answer = nullptr;
std::string g_statfs_path;

}  // namespace

// Takes the C library's place, so that a test can choose the numbers of a file system.
extern "C" int statfs(const char* path, struct statfs* status) noexcept {
  g_statfs_path = path;
  if (g_statfs_answer != nullptr) {
    *status = *g_statfs_answer;
    return 0;
  }
  static const auto real = reinterpret_cast<int (*)(const char*, struct statfs*)>(dlsym(RTLD_NEXT, "statfs"));
  return real(path, status);
}

namespace {

using testing::ElementsAre;

struct statfs blocks(std::uint64_t all, std::uint64_t free, std::uint64_t available, long size) {
  struct statfs status;
  std::memset(&status, 0, sizeof status);
  status.f_blocks = all;
  status.f_bfree = free;
  status.f_bavail = available;
  status.f_bsize = size;
  return status;
}

class MountInfo : public testing::Test {
 protected:
  ~MountInfo() override { g_statfs_answer = nullptr; }

  pub_fs_info_st info_of(const struct statfs& status) {
    g_statfs_answer = &status;
    EXPECT_EQ(pub_util_get_mount_fs_info("/", &m_info), ERR_NONE);
    return m_info;
  }

  log_capture m_log;
  pub_fs_info_st m_info = {7, 7, 7};
};

TEST_F(MountInfo, Blocks_AreGivenInKilobytes) {
  const auto info = info_of(blocks(1000, 400, 300, 4096));
  EXPECT_EQ(g_statfs_path, "/");
  EXPECT_EQ(info.m_total_kb, 4000u);
  EXPECT_EQ(info.m_used_kb, 2800u);  // what is kept for root counts as used
  EXPECT_EQ(info.m_free_kb, 1200u);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_get_mount_fs_info()"));
}

TEST_F(MountInfo, SmallBlocks_AreRoundedDown) {
  const auto info = info_of(blocks(7, 3, 3, 512));
  EXPECT_EQ(info.m_total_kb, 3u);
  EXPECT_EQ(info.m_used_kb, 2u);
  EXPECT_EQ(info.m_free_kb, 1u);
}

// 1.5 TiB: the bytes do not fit into 32 bits, the kilobytes do.
TEST_F(MountInfo, LargeFileSystem_DoesNotOverflow) {
  const auto info = info_of(blocks(402653184, 1, 1, 4096));
  EXPECT_EQ(info.m_total_kb, 1610612736u);
  EXPECT_EQ(info.m_used_kb, 1610612732u);
  EXPECT_EQ(info.m_free_kb, 4u);
}

TEST_F(MountInfo, RealFileSystem_IsAskedFor) {
  EXPECT_EQ(pub_util_get_mount_fs_info("/proc", &m_info), ERR_NONE);
  EXPECT_EQ(m_info.m_total_kb, 0u);
}

// The text is looked for anywhere in a line; here it is a folder beside the working one that shares its name.
TEST_F(MountInfo, TextElsewhereInALine_CountsAsMounted) {
  const temp_folder folder;
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path(""));
  std::filesystem::create_directory("proc");
  const std::int32_t result = pub_util_get_mount_fs_info("proc", &m_info);
  std::filesystem::current_path(before);
  EXPECT_EQ(result, ERR_NONE);
  EXPECT_EQ(g_statfs_path, "proc");
  EXPECT_GT(m_info.m_total_kb, 0u);  // that of the folder, not of /proc
}

TEST_F(MountInfo, FoundButNoSuchPath_IsASystemFailure) {
  EXPECT_EQ(pub_util_get_mount_fs_info("/pro", &m_info), ERR_SYSTEM);
  EXPECT_THAT(m_log.texts(), ElementsAre("pub_util_get_mount_fs_info()", "sys call: statfs() failed! errno = 2",
                                         failure_line("util/util", "pub_util_get_mount_fs_info", -118, "2")));
  EXPECT_EQ(m_info.m_total_kb, 7u);
}

TEST_F(MountInfo, NotMounted_IsNotFound) {
  EXPECT_EQ(pub_util_get_mount_fs_info("/no/such/card", &m_info), ERR_NOT_HANDLED);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("pub_util_get_mount_fs_info()", failure_line("util/util", "pub_util_get_mount_fs_info", -104),
                          "file system \"/no/such/card\" has not been mounted"));
  EXPECT_EQ(m_info.m_total_kb, 7u);
}

TEST_F(MountInfo, BadArguments_AreNamed) {
  const auto trace = failure_line("util/util", "pub_util_get_mount_fs_info", -101);
  EXPECT_EQ(pub_util_get_mount_fs_info(nullptr, &m_info), ERR_ARGUMENT);
  EXPECT_EQ(pub_util_get_mount_fs_info("", &m_info), ERR_ARGUMENT);
  EXPECT_EQ(pub_util_get_mount_fs_info("/", nullptr), ERR_ARGUMENT);
  const std::string entry = "pub_util_get_mount_fs_info()";
  EXPECT_THAT(m_log.texts(), ElementsAre(entry, trace, "1, 0, 0", entry, trace, "0, 1, 0", entry, trace, "0, 0, 1"));
}

}  // namespace
