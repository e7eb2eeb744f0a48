#include "amt/amt-device/misc-library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/unit/board.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/phone-root.h"

namespace {

using testing::ElementsAre;

class LibraryPaths : public testing::Test {
 protected:
  static void init_on(const char* platform) {
    phone_root::set_property("ro.board.platform", platform);
    amt_device_init_library_paths();
  }

  log_capture m_log;
};

TEST_F(LibraryPaths, NoProperty_IsTheDefaultBoard) {
  phone_root::remove("/data/property/ro.board.platform");
  amt_device_init_library_paths();
  EXPECT_STREQ(amt_device_misc_library_path(), "/system/lib64/hw/amt.vx5210.misc.so");
  EXPECT_STREQ(amt_device_audio_library_path(), "/system/lib64/hw/audio.primary.vx5210.amt.so");
  EXPECT_FALSE(m_log.contains("property-ro.board.platform"));
  EXPECT_TRUE(m_log.has_in_a_row({"audio lib path-name: /system/lib64/hw/audio.primary.vx5210.amt.so",
                                  "misc lib path-name: /system/lib64/hw/amt.vx5210.misc.so"}));
}

TEST_F(LibraryPaths, EmptyProperty_IsTheDefaultBoard) {
  init_on("");
  EXPECT_STREQ(amt_device_misc_library_path(), "/system/lib64/hw/amt.vx5210.misc.so");
  EXPECT_FALSE(m_log.contains("property-ro.board.platform"));
}

TEST_F(LibraryPaths, UnknownBoard_IsLoggedAndTheDefault) {
  init_on("vx9999");
  EXPECT_STREQ(amt_device_misc_library_path(), "/system/lib64/hw/amt.vx5210.misc.so");
  EXPECT_TRUE(m_log.has("property-ro.board.platform value: vx9999"));
}

TEST_F(LibraryPaths, SecondBoardAnywhereInTheProperty_IsTaken) {
  for (const char* platform : {"vx5211", "vx5211-evb", "my-vx5211"}) {
    init_on("");
    init_on(platform);
    EXPECT_STREQ(amt_device_misc_library_path(), "/system/lib64/hw/amt.vx5211.misc.so") << platform;
    EXPECT_STREQ(amt_device_audio_library_path(), "/system/lib64/hw/audio.primary.vx5211.amt.so") << platform;
  }
}

TEST_F(LibraryPaths, OtherCase_IsAnotherBoard) {
  init_on("VX5211");
  EXPECT_STREQ(amt_device_misc_library_path(), "/system/lib64/hw/amt.vx5210.misc.so");
}

class MiscLibrary : public testing::Test {
 protected:
  static std::int32_t call(const char* operation, int result) {
    return amt_device_call_misc<int()>("caller", operation, [result](auto* function) { return function() + result; });
  }

  log_capture m_log;
  test_board m_board;
};

TEST_F(MiscLibrary, Operation_IsCalledAndItsUseGivesTheResult) {
  m_board.m_result = 40;
  m_log.clear();
  EXPECT_EQ(call("IsChargeState", 2), 42);
  EXPECT_THAT(m_board.m_calls, ElementsAre(board_call_st{"IsChargeState", 0}));
  EXPECT_TRUE(m_log.lines().empty());
}

TEST_F(MiscLibrary, MissingLibrary_IsASystemFailure) {
  m_board.remove();
  m_log.clear();
  EXPECT_EQ(call("IsChargeState", 0), -118);
  EXPECT_THAT(m_log.texts(), ElementsAre(failure_line("amt/amt-device", "caller", -118, "2"),
                                         "call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so: cannot open shared "
                                         "object file: No such file or directory"));
}

TEST_F(MiscLibrary, MissingOperation_IsASystemFailure) {
  m_board.use_empty();
  m_log.clear();
  EXPECT_EQ(call("IsChargeState", 0), -118);
  EXPECT_THAT(m_log.texts(),
              ElementsAre(failure_line("amt/amt-device", "caller", -118),
                          testing::MatchesRegex("call dlopen fail: - /.*: undefined symbol: IsChargeState")));
}

TEST_F(MiscLibrary, FileThatIsNoLibrary_IsASystemFailure) {
  phone_root::write(test_board::PATH, "no library at all");
  EXPECT_EQ(call("IsChargeState", 0), -118);
  EXPECT_TRUE(m_log.contains("call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so: "));
}

TEST_F(MiscLibrary, FolderInItsPlace_IsASystemFailure) {
  m_board.remove();
  std::filesystem::create_directories(test_board::PATH);
  EXPECT_EQ(call("IsChargeState", 0), -118);
}

TEST_F(MiscLibrary, SecondBoard_LoadsItsOwn) {
  constexpr char SECOND[] = "/system/lib64/hw/amt.vx5211.misc.so";
  std::filesystem::rename(test_board::PATH, SECOND);
  EXPECT_EQ(call("IsChargeState", 0), -118);
  phone_root::set_property("ro.board.platform", "vx5211-evb");
  amt_device_init_library_paths();
  EXPECT_EQ(call("IsChargeState", 0), 0);
  phone_root::remove(SECOND);
}

// Nothing of it is kept: what is there at the moment of a call counts.
TEST_F(MiscLibrary, LibraryReplacedBetweenCalls_IsTheNewOne) {
  EXPECT_EQ(call("IsChargeState", 0), 0);
  m_board.use_empty();
  EXPECT_EQ(call("IsChargeState", 0), -118);
  m_board.use_whole();
  EXPECT_EQ(call("IsChargeState", 0), 0);
  EXPECT_EQ(m_board.m_calls.size(), 2u);
}

TEST_F(MiscLibrary, Call_LeavesTheLibraryClosed) {
  EXPECT_EQ(call("IsChargeState", 0), 0);
  m_board.use_empty();
  EXPECT_EQ(call("IsChargeState", 0), -118);
  const std::string loaded = phone_root::read("/proc/self/maps");
  EXPECT_EQ(loaded.find("board-library"), std::string::npos) << loaded;
}

}  // namespace
