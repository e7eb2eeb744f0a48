#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>

#include "tests/unit/device/device-test.h"

namespace {

namespace fs = std::filesystem;

constexpr char CONFIG[] = "/data/etc/storage.config";
constexpr char NO_CARD[] = "18 00 BB 8A 12 00 EE 37 01 04 00 00 00 00 00 EE 01 01 04 00 00 00 00 00";
constexpr char CARD_1024_KB[] = "18 00 BB 8A 12 00 EE 37 01 04 00 00 04 00 00 EE 01 01 04 00 00 00 00 00";
constexpr char CARD_2048_KB[] = "18 00 BB 8A 12 00 EE 37 01 04 00 00 08 00 00 EE 01 01 04 00 00 00 00 00";

struct storage_st {
  const char* m_path;
  const char* m_size;
};

bool mount_storage(const storage_st& storage) {
  std::error_code error;
  fs::create_directories(storage.m_path, error);
  return !error && mount("card", storage.m_path, "tmpfs", 0, storage.m_size) == 0;
}

// Alone with its mounts; its user and group stay themselves, or it could not make a folder in a new file system.
bool leave_for_own_mounts() {
  const std::string user = std::to_string(geteuid());
  const std::string group = std::to_string(getegid());
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  std::ofstream("/proc/self/setgroups") << "deny";
  std::ofstream("/proc/self/uid_map") << user + " " + user + " 1";
  std::ofstream("/proc/self/gid_map") << group + " " + group + " 1";
  return true;
}

bool mount_all(const std::vector<storage_st>& storages) {
  return leave_for_own_mounts() && std::all_of(storages.begin(), storages.end(), mount_storage);
}

const std::vector<storage_st> BOTH_STORAGES = {{"/storage/sdcard0", "size=1024k"}, {"/storage/sdcard1", "size=2048k"}};

const std::vector<std::string> LINES_1024_KB = {"external tf card capability: 1024 KB", "tf card capability: 1024 KB"};
const std::vector<std::string> LINES_2048_KB = {"external tf card capability: 2048 KB", "tf card capability: 2048 KB"};

class Card : public device_test {
 protected:
  // What the card's request is answered with in a process that has these storages; "" when it cannot have them, or does
  // not log how the request ended.
  std::string answer_with(const std::vector<storage_st>& storages, const std::vector<std::string>& last_lines) {
    const pid_t child = fork();
    if (child == 0) _exit(mount_all(storages) && app(137) == 0 && m_log.has_in_a_row(last_lines) ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? to_app() : "";
  }
};

TEST_F(Card, Card_NoConfig_IsTheSecondStorage) {
  EXPECT_EQ(answer_with(BOTH_STORAGES, LINES_2048_KB), CARD_2048_KB);
}

TEST_F(Card, Card_ConfigOne_IsTheFirstStorage) {
  for (const char* config : {"1", " \n1", "1x", "+01"}) {
    write_file(CONFIG, config);
    EXPECT_EQ(answer_with(BOTH_STORAGES, LINES_1024_KB), CARD_1024_KB) << config;
  }
}

TEST_F(Card, Card_AnyOtherConfig_IsTheSecondStorage) {
  for (const char* config : {"0", "2", "11", "-1", "one", "", "-", "99999999999999999999", "-99999999999999999999"}) {
    write_file(CONFIG, config);
    EXPECT_EQ(answer_with(BOTH_STORAGES, LINES_2048_KB), CARD_2048_KB) << config;
  }
}

TEST_F(Card, Card_ConfigIsAFolder_IsTheSecondStorage) {
  fs::create_directories(CONFIG);
  EXPECT_EQ(answer_with(BOTH_STORAGES, LINES_2048_KB), CARD_2048_KB);
}

// 5 TiB: the number has 32 bits.
TEST_F(Card, Card_TooLargeForItsNumber_KeepsTheLowBits) {
  EXPECT_EQ(answer_with({{"/storage/sdcard1", "size=5120g"}},
                        {"external tf card capability: 1073741824 KB", "tf card capability: 1073741824 KB"}),
            "18 00 BB 8A 12 00 EE 37 01 04 00 00 00 00 40 EE 01 01 04 00 00 00 00 00");
}

// 3 TiB: a signed number would be negative.
TEST_F(Card, Card_WithTheHighestBit_IsUnsigned) {
  EXPECT_EQ(answer_with({{"/storage/sdcard1", "size=3072g"}},
                        {"external tf card capability: 3221225472 KB", "tf card capability: 3221225472 KB"}),
            "18 00 BB 8A 12 00 EE 37 01 04 00 00 00 00 C0 EE 01 01 04 00 00 00 00 00");
}

// The path is looked for anywhere in a line: another card makes its folder, on the file system around it, count.
TEST_F(Card, Card_NameInsideAnotherMount_IsTheFileSystemAroundIt) {
  EXPECT_EQ(answer_with({{"/storage", "size=1024k"}, {"/storage/sdcard1/not", "size=2048k"}}, LINES_1024_KB),
            CARD_1024_KB);
}

TEST_F(Card, Card_NameInsideAnotherMountWithoutItsFolder_IsZero) {
  EXPECT_EQ(answer_with({{"/storage", "size=1024k"}, {"/storage/sdcard10", "size=2048k"}},
                        {"sys call: statfs() failed! errno = 2"}),
            NO_CARD);
}

TEST_F(Card, Card_NotMounted_IsZeroAndNoError) {
  EXPECT_EQ(app(137), 0);
  EXPECT_EQ(to_app(), NO_CARD);
  EXPECT_TRUE(m_log.has_in_a_row({"amt_device_tf_card--->will open storage config file: /data/etc/storage.config",
                                  "amt_device_tf_card--->storage config value: 0",
                                  "amt_device_tf_card--->external sd card path: /storage/sdcard1"}));
  EXPECT_EQ(m_log.count("file system \"/storage/sdcard1\" has not been mounted"), 1u);
  EXPECT_TRUE(m_log.has("tf card capability: 0 KB"));
  EXPECT_FALSE(m_log.contains("external tf card capability"));
}

TEST_F(Card, Card_ConfigRead_IsLogged) {
  write_file(CONFIG, "1\n");
  EXPECT_EQ(app(137), 0);
  EXPECT_TRUE(m_log.has_in_a_row({"amt_device_tf_card--->getted storage config value: 1",
                                  "amt_device_tf_card--->storage config value: 1",
                                  "amt_device_tf_card--->external sd card path: /storage/sdcard0"}));
}

TEST_F(Card, Card_LinkClosed_GivesTheSendersResult) {
  close_links();
  EXPECT_EQ(app(137), ERR_FAIL);
}

}  // namespace
