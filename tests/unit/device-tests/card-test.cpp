#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>

#include "tests/unit/device-tests/device-test.h"

namespace {

namespace fs = std::filesystem;

constexpr char CONFIG[] = "/data/etc/storage.config";
constexpr char NO_CARD[] = "18 00 BB 8A 12 00 EE 37 01 04 00 00 00 00 00 EE 01 01 04 00 00 00 00 00";
constexpr char CARD_1024_KB[] = "18 00 BB 8A 12 00 EE 37 01 04 00 00 04 00 00 EE 01 01 04 00 00 00 00 00";
constexpr char CARD_2048_KB[] = "18 00 BB 8A 12 00 EE 37 01 04 00 00 08 00 00 EE 01 01 04 00 00 00 00 00";

// Whether this process, alone with its mounts now, could put file systems of 1024 and 2048 KB on the two folders.
bool mount_storage() {
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  fs::create_directories("/storage/sdcard0");
  fs::create_directories("/storage/sdcard1");
  return mount("card", "/storage/sdcard0", "tmpfs", 0, "size=1024k") == 0 &&
         mount("card", "/storage/sdcard1", "tmpfs", 0, "size=2048k") == 0;
}

class card_test : public device_test {
 protected:
  // What the card's request is answered with in a process that has both storages; "" when it cannot have them.
  std::string answer_with_storage() {
    const pid_t child = fork();
    if (child == 0) _exit(mount_storage() ? app(137) : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? to_app() : "";
  }
};

TEST_F(card_test, Card_NoConfig_IsTheSecondStorage) {
  EXPECT_EQ(answer_with_storage(), CARD_2048_KB);
}

TEST_F(card_test, Card_ConfigOne_IsTheFirstStorage) {
  write_file(CONFIG, "1");
  EXPECT_EQ(answer_with_storage(), CARD_1024_KB);
}

TEST_F(card_test, Card_AnyOtherConfig_IsTheSecondStorage) {
  for (const char* config : {"0", "2", "11", "-1", "one", ""}) {
    write_file(CONFIG, config);
    EXPECT_EQ(answer_with_storage(), CARD_2048_KB) << config;
  }
}

TEST_F(card_test, Card_NotMounted_IsZeroAndNoError) {
  EXPECT_EQ(app(137), 0);
  EXPECT_EQ(to_app(), NO_CARD);
  EXPECT_TRUE(m_log.has_in_a_row({"amt_device_tf_card--->will open storage config file: /data/etc/storage.config",
                                  "amt_device_tf_card--->storage config value: 0",
                                  "amt_device_tf_card--->external sd card path: /storage/sdcard1"}));
  EXPECT_TRUE(m_log.has("tf card capability: 0 KB"));
  EXPECT_FALSE(m_log.contains("external tf card capability"));
}

TEST_F(card_test, Card_ConfigRead_IsLogged) {
  write_file(CONFIG, "1\n");
  EXPECT_EQ(app(137), 0);
  EXPECT_TRUE(m_log.has_in_a_row({"amt_device_tf_card--->getted storage config value: 1",
                                  "amt_device_tf_card--->storage config value: 1",
                                  "amt_device_tf_card--->external sd card path: /storage/sdcard0"}));
}

TEST_F(card_test, Card_LinkClosed_GivesTheSendersResult) {
  close_links();
  EXPECT_EQ(app(137), ERR_FAIL);
}

}  // namespace
