// The record of the board's serial number.
#include "amt/amt-record/serial-number.h"

#include <filesystem>

#include "tests/unit/links.h"
#include "tests/unit/phone-root.h"

namespace {

constexpr pub_log_module_st SERIAL_MODULE{"vx-kro-amt", "test"};
constexpr char BOARD_FILE[] = "/amt/sn-2.txt";

class BoardSerial : public context_test {
 protected:
  BoardSerial() {
    phone_root::remove("/amt");
    std::filesystem::create_directories("/amt");
    phone_root::take_sync_calls();
  }
};

TEST_F(BoardSerial, WriteRecord_ReplacesTheFileAndFlushes) {
  phone_root::write("/amt/imei.txt", "something longer");
  EXPECT_EQ(amt_write_pcba_sn("860001", "/amt/imei.txt"), ERR_NONE);
  EXPECT_EQ(phone_root::read("/amt/imei.txt"), "860001");
  EXPECT_EQ(phone_root::take_sync_calls(), 2);
  EXPECT_TRUE(m_log.has("write pcba-sn: 860001"));
}

TEST_F(BoardSerial, WriteNothing_IsRefused) {
  EXPECT_EQ(amt_write_pcba_sn(nullptr, BOARD_FILE), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", ERR_ARGUMENT, "1, 0"));
  EXPECT_EQ(amt_write_pcba_sn("", BOARD_FILE), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", ERR_ARGUMENT, "0, 1"));
  EXPECT_FALSE(std::filesystem::exists(BOARD_FILE));
}

TEST_F(BoardSerial, WriteWhereNoFileCanBe_FailsWithoutAFlush) {
  EXPECT_EQ(amt_write_pcba_sn("1", "/amt/no/such/folder"), ERR_SYSTEM);
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", ERR_SYSTEM,
                          "open(\"/amt/no/such/folder\") fail: 2 - No such file or directory"));
  EXPECT_EQ(phone_root::take_sync_calls(), 0);
}

TEST_F(BoardSerial, WriteToAFullSystem_FailsAfterTheFlush) {
  EXPECT_EQ(amt_write_pcba_sn("1", "/dev/full"), ERR_SYSTEM);
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", ERR_SYSTEM, "fputs fail: 28 - No space left on device"));
  EXPECT_EQ(phone_root::take_sync_calls(), 2);
}

struct content_row {
  const char* m_name;
  std::string m_content;
  std::string m_serial;
};

class BoardSerialContent : public BoardSerial, public testing::WithParamInterface<content_row> {};

TEST_P(BoardSerialContent, Read_IsTheFirstLineUpTo29Characters) {
  phone_root::write(BOARD_FILE, GetParam().m_content);
  char serial[AMT_PCBA_SN_SIZE];
  EXPECT_EQ(amt_read_pcba_sn(serial), ERR_NONE);
  EXPECT_EQ(std::string(serial), GetParam().m_serial);
}

INSTANTIATE_TEST_SUITE_P(Each, BoardSerialContent,
                         testing::Values(content_row{"Plain", "SN1", "SN1"},
                                         content_row{"LineEndStays", "SN1\nSN2", "SN1\n"},
                                         content_row{"CarriageReturnStays", "SN1\r", "SN1\r"},
                                         content_row{"TwentyNine", std::string(29, '7'), std::string(29, '7')},
                                         content_row{"Thirty", std::string(30, '7'), std::string(29, '7')},
                                         content_row{"FiveHundred", std::string(500, '7'), std::string(29, '7')}),
                         [](const auto& row) { return row.param.m_name; });

TEST_F(BoardSerial, ReadLongLine_LogsWhatItGives) {
  phone_root::write("/amt/sn-2.txt", std::string(29, 'a') + "bcdef\n");
  char buffer[AMT_PCBA_SN_SIZE];
  EXPECT_EQ(amt_read_pcba_sn(buffer), ERR_NONE);
  EXPECT_EQ(std::string(buffer), std::string(29, 'a'));
  EXPECT_TRUE(m_log.has("read pcba-sn: " + std::string(29, 'a')));
}

TEST_F(BoardSerial, ReadMissingOrEmptyFile_Fails) {
  char serial[AMT_PCBA_SN_SIZE] = "before";
  EXPECT_EQ(amt_read_pcba_sn(serial), ERR_SYSTEM);
  EXPECT_TRUE(
      has_failure("amt_read_pcba_sn", ERR_SYSTEM, "open(\"/amt/sn-2.txt\") fail: 2 - No such file or directory"));
  EXPECT_STREQ(serial, "");
  phone_root::write(BOARD_FILE, "");
  EXPECT_EQ(amt_read_pcba_sn(serial), ERR_SYSTEM);
  EXPECT_TRUE(m_log.contains("read fail: "));
}

// A caller that goes on after a failure has no text of an earlier one.
TEST_F(BoardSerial, AdbSerialThatCannotBeRead_IsEmpty) {
  char serial[AMT_ADB_SERIAL_SIZE] = "OLD";
  EXPECT_EQ(amt_read_adb_serial(SERIAL_MODULE, serial), ERR_FAIL);
  EXPECT_EQ(std::string(std::begin(serial), std::end(serial)), std::string(AMT_ADB_SERIAL_SIZE, '\0'));
}

}  // namespace
