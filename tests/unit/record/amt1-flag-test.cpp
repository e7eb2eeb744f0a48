// The flag file that permits the handshake, and the property that publishes it.
#include "amt/amt-record/amt1-flag.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "amt/amt-handle/context/state.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/phone-root.h"

namespace {

using namespace std::string_literals;
namespace fs = std::filesystem;

constexpr char FLAG_FILE[] = "/amt/power_usb_amt.txt";
constexpr char PROPERTY[] = "sys.vx.amt.failure.handshake";

class Amt1Flag : public testing::Test {
 protected:
  Amt1Flag() {
    g_power_supply_is_ac = 0;
    phone_root::remove(FLAG_FILE);
    phone_root::remove_properties();
    phone_root::take_sync_calls();
  }
  static void make_folder_of_the_file() { fs::create_directories(FLAG_FILE); }
  static void make_full() {
    phone_root::remove(FLAG_FILE);
    fs::create_symlink("/dev/full", FLAG_FILE);
  }
  std::int32_t read_flag() {
    std::int32_t value = 99;
    EXPECT_EQ(handle_amt_damt1_operation(2, &value), 0);
    return value;
  }
  static std::string published() {
    amt_set_handshake_permission();
    return phone_root::get_property(PROPERTY);
  }

  log_capture m_log;
};

TEST_F(Amt1Flag, ReadLine_File_IsItsFirstLineWithItsEnd) {
  phone_root::write("/tmp/lines", "first\nsecond\n");
  char content[AMT_CONTENT_SIZE];
  EXPECT_EQ(amt_read_data_from_file(content, "/tmp/lines"), 0);
  EXPECT_STREQ(content, "first\n");
  EXPECT_EQ(m_log.texts(), (std::vector<std::string>{"amt_read_data_from_file()", "read content: first\n"}));
}

TEST_F(Amt1Flag, ReadLine_LongLine_IsCutTo98Characters) {
  for (const std::size_t length : {std::size_t{98}, std::size_t{99}, std::size_t{10240}}) {
    phone_root::write("/tmp/lines", std::string(length, '7'));
    char content[AMT_CONTENT_SIZE];
    EXPECT_EQ(amt_read_data_from_file(content, "/tmp/lines"), 0);
    EXPECT_EQ(content, std::string(98, '7')) << length;
  }
}

TEST_F(Amt1Flag, ReadLine_MissingFile_FailsWithAnEmptyBuffer) {
  char content[AMT_CONTENT_SIZE];
  std::fill_n(content, sizeof content, 'x');
  EXPECT_EQ(amt_read_data_from_file(content, "/tmp/no-such-file"), -118);
  EXPECT_EQ(std::string(content, sizeof content), std::string(sizeof content, '\0'));
  EXPECT_THAT(m_log.texts(), testing::ElementsAre("amt_read_data_from_file()",
                                                  failure_line("amt/amt-handle", "amt_read_data_from_file", -118, "2"),
                                                  "open(\"/tmp/no-such-file\") fail: 2 - No such file or directory"));
}

TEST_F(Amt1Flag, ReadLine_Folder_FailsToRead) {
  char content[AMT_CONTENT_SIZE];
  EXPECT_EQ(amt_read_data_from_file(content, "/tmp"), -118);
  EXPECT_TRUE(m_log.has("read fail: 21 - Is a directory"));
  EXPECT_STREQ(content, "");
}

TEST_F(Amt1Flag, ReadLine_EmptyFile_FailsToRead) {
  phone_root::write("/tmp/lines", "");
  char content[AMT_CONTENT_SIZE];
  EXPECT_EQ(amt_read_data_from_file(content, "/tmp/lines"), -118);
  EXPECT_TRUE(m_log.contains("read fail: "));
}

TEST_F(Amt1Flag, Write_0Or1_IsTheWholeFileAndFlushed) {
  for (const std::int32_t flag : {0, 1}) {
    const std::string digit = std::to_string(flag);
    phone_root::write(FLAG_FILE, "something longer\n");
    m_log.clear();
    std::int32_t value = 99;
    EXPECT_EQ(handle_amt_damt1_operation(flag, &value), 0);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(phone_root::read(FLAG_FILE), digit);
    EXPECT_EQ(phone_root::take_sync_calls(), 2);
    EXPECT_EQ(m_log.texts(), (std::vector<std::string>{
                                 "handle_amt_damt1_operation()", "handle_amt_damt1_operation op_type: " + digit + ".",
                                 "amt_write_content_to_file_sync()", "write content: " + digit,
                                 "Writed to file(/amt/power_usb_amt.txt) success.flag: " + digit + "."}));
  }
}

TEST_F(Amt1Flag, Write_FolderInItsPlace_Fails) {
  make_folder_of_the_file();
  std::int32_t value = 99;
  EXPECT_EQ(handle_amt_damt1_operation(1, &value), -100);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(phone_root::take_sync_calls(), 0);
  EXPECT_TRUE(m_log.has("open(\"/amt/power_usb_amt.txt\") fail: 21 - Is a directory"));
  EXPECT_THAT(m_log.texts(),
              testing::Contains(failure_line("amt/amt-handle", "amt_write_content_to_file_sync", -118, "21")));
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-handle", "handle_amt_damt1_operation", -100)));
  EXPECT_EQ(m_log.last(), "write error to do-not-permit-handshake file.");
}

TEST_F(Amt1Flag, Write_FullFileSystem_FailsAndIsFlushedAllTheSame) {
  make_full();
  std::int32_t value = 0;
  EXPECT_EQ(handle_amt_damt1_operation(0, &value), -100);
  EXPECT_TRUE(m_log.has("fputs fail: 28 - No space left on device"));
  EXPECT_FALSE(m_log.contains("write content"));
  EXPECT_EQ(phone_root::take_sync_calls(), 2);
}

struct content_st {
  const char* m_legend;
  std::string m_content;
  std::int32_t m_flag;     // what "AT^DAMT1=2" tells: the first character alone counts
  const char* m_property;  // what is published: the value of the first line counts
};

class FlagContent : public Amt1Flag, public testing::WithParamInterface<content_st> {};

TEST_P(FlagContent, EachReader_FollowsItsOwnRule) {
  phone_root::write(FLAG_FILE, GetParam().m_content);
  EXPECT_EQ(read_flag(), GetParam().m_flag);
  EXPECT_EQ(published(), GetParam().m_property);
  EXPECT_EQ(amt_is_handshake_permitted_by_file(), GetParam().m_property == "2"s);
}

INSTANTIATE_TEST_SUITE_P(Contents, FlagContent,
                         testing::Values(content_st{"Zero", "0", 0, "1"}, content_st{"One", "1", 1, "2"},
                                         content_st{"OneWithLineEnd", "1\n", 1, "2"},
                                         content_st{"TenIsOneByItsFirstCharacter", "10", 1, "2"},
                                         content_st{"LeadingZero", "01", 0, "2"}, content_st{"Letter", "x", 0, "1"},
                                         content_st{"LetterBeforeDigit", "x1", 0, "1"},
                                         content_st{"BlankBeforeDigit", " 1", 0, "2"}, content_st{"Nine", "9", 9, "2"},
                                         content_st{"Minus", "-1", 0, "2"}, content_st{"EmptyLineFirst", "\n1", 0, "1"},
                                         content_st{"ZeroByteFirst", "\0001"s, 0, "1"},
                                         content_st{"EmptyFileIsUnreadable", "", 1, "2"},
                                         content_st{"TenThousandZeros", std::string(10240, '0'), 0, "1"},
                                         content_st{"TenThousandNines", std::string(10240, '9'), 9, "2"}),
                         [](const auto& row) { return std::string(row.param.m_legend); });

TEST_F(Amt1Flag, Read_File_IsLogged) {
  phone_root::write(FLAG_FILE, "10");
  EXPECT_EQ(read_flag(), 1);
  EXPECT_TRUE(m_log.has("readed success from file(/amt/power_usb_amt.txt). flag: 10."));
}

TEST_F(Amt1Flag, Read_MissingFileOrFolder_Is1) {
  EXPECT_EQ(read_flag(), 1);
  EXPECT_TRUE(m_log.has("readed failure from file(/amt/power_usb_amt.txt).."));
  make_folder_of_the_file();
  EXPECT_EQ(read_flag(), 1);
}

TEST_F(Amt1Flag, UnknownOperation_IsRefusedAndTouchesNothing) {
  for (const std::int32_t operation : {3, -1, 255, -2147483647 - 1}) {
    std::int32_t value = 99;
    EXPECT_EQ(handle_amt_damt1_operation(operation, &value), -101);
    EXPECT_EQ(value, 0);
  }
  EXPECT_TRUE(m_log.has("unknown operation type: 3"));
  EXPECT_TRUE(m_log.has("unknown operation type: 4294967295"));
  EXPECT_THAT(m_log.texts(),
              testing::Contains(failure_line("amt/amt-handle", "handle_amt_damt1_operation", -101)).Times(4));
  EXPECT_FALSE(fs::exists(FLAG_FILE));
}

TEST_F(Amt1Flag, Publish_MissingFile_IsPermitted) {
  EXPECT_EQ(published(), "2");
  EXPECT_TRUE(
      m_log.has_in_a_row({"permit to enter amt by handshake. ", "set property(sys.vx.amt.failure.handshake) to 2."}));
}

TEST_F(Amt1Flag, Publish_FolderInItsPlace_IsPermitted) {
  make_folder_of_the_file();
  EXPECT_EQ(published(), "2");
}

TEST_F(Amt1Flag, Publish_FileForbids_IsNotPermitted) {
  phone_root::write(FLAG_FILE, "0");
  EXPECT_EQ(published(), "1");
  EXPECT_TRUE(m_log.has_in_a_row({"readed success from file(/amt/power_usb_amt.txt). flag: 0.",
                                  "do not permit to enter amt by handshake. ",
                                  "set property(sys.vx.amt.failure.handshake) to 1."}));
}

TEST_F(Amt1Flag, Publish_AcSupply_IsNotPermittedWithAnyFile) {
  phone_root::write(FLAG_FILE, "1");
  g_power_supply_is_ac = 1;
  m_log.clear();
  EXPECT_EQ(published(), "1");
  EXPECT_EQ(m_log.texts(),
            (std::vector<std::string>{"amt_set_handshake_permission()", "do not permit to enter amt by handshake. ",
                                      "set property(sys.vx.amt.failure.handshake) to 1."}));
  EXPECT_FALSE(m_log.contains("readed success"));
}

TEST_F(Amt1Flag, Publish_Again_ReplacesTheProperty) {
  phone_root::write(FLAG_FILE, "0");
  EXPECT_EQ(published(), "1");
  phone_root::write(FLAG_FILE, "1");
  EXPECT_EQ(published(), "2");
}

}  // namespace
