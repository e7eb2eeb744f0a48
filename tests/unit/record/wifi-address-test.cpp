// The record of the WiFi address.
#include "amt/amt-record/wifi-address.h"

#include "tests/unit/record/no-memory.h"
#include "tests/unit/record/record-test.h"

namespace {

constexpr char RECORD[] = "/amt/WIFI/WIFI_nvram.txt";

class WifiAddress : public record_test {
 protected:
  std::int32_t read_record() { return amt_read_wifi_address(m_address, sizeof m_address); }
  char m_address[AMT_WIFI_ADDRESS_SIZE] = "not touched";
};

TEST_F(WifiAddress, Write_IsTheAddressAndALineEnd) {
  write(RECORD, "OLD AND LONGER THAN THE NEW ONE\nSECOND LINE\n");
  EXPECT_EQ(amt_write_wifi_address("AA:BB:CC:DD:EE:FF"), 0);
  EXPECT_EQ(read(RECORD), "AA:BB:CC:DD:EE:FF\n");
  EXPECT_EQ(syncs(), 2);
  EXPECT_TRUE(m_log.has_in_a_row({"amt_write_wifi_address()", "write BT address: AA:BB:CC:DD:EE:FF"}));
}

TEST_F(WifiAddress, WriteAndRead_GiveTheAddressBack) {
  EXPECT_EQ(amt_write_wifi_address("AA:BB:CC:DD:EE:FF"), 0);
  EXPECT_EQ(read_record(), 0);
  EXPECT_STREQ(m_address, "AA:BB:CC:DD:EE:FF");
  EXPECT_TRUE(m_log.has("wifi_addr_len: 18"));
}

TEST_F(WifiAddress, WriteOfNothing_IsRefusedAndTheRecordKept) {
  write(RECORD, "OLD\n");
  EXPECT_EQ(amt_write_wifi_address(""), -101);
  EXPECT_EQ(amt_write_wifi_address(nullptr), -101);
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-wifi", "amt_write_wifi_address", -101)).Times(2));
  EXPECT_EQ(read(RECORD), "OLD\n");
  EXPECT_EQ(syncs(), 0);
}

TEST_F(WifiAddress, WriteOf98Characters_IsTheMostThatARecordHolds) {
  EXPECT_EQ(amt_write_wifi_address(std::string(98, 'x').c_str()), 0);
  EXPECT_EQ(read(RECORD), std::string(98, 'x') + "\n");
  for (const std::size_t length : {99, 100, 4000}) {
    write(RECORD, "OLD\n");
    m_log.clear();
    EXPECT_EQ(amt_write_wifi_address(std::string(length, 'x').c_str()), -101) << length;
    EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-wifi", "amt_write_wifi_address", -101)));
    EXPECT_EQ(read(RECORD), "OLD\n") << length;
  }
}

TEST_F(WifiAddress, WriteWithoutMemory_NeedsNone) {
  write(RECORD, "OLD\n");
  EXPECT_EQ(without_memory([] { return amt_write_wifi_address("an address of more than fifteen characters"); }), 0);
  EXPECT_EQ(read(RECORD), "an address of more than fifteen characters\n");
}

TEST_F(WifiAddress, WriteWithoutTheFolder_Fails) {
  fs::remove_all("/amt/WIFI");
  EXPECT_EQ(amt_write_wifi_address("NEW"), -100);
  EXPECT_TRUE(has_failure("amt_write_wifi_address", -100, "open /amt/WIFI/WIFI_nvram.txt fail", "2"));
  EXPECT_EQ(syncs(), 0);
}

TEST_F(WifiAddress, WriteIntoAForbiddenFile_FailsAndKeepsIt) {
  make_forbidden(RECORD, "OLD\n");
  EXPECT_EQ(amt_write_wifi_address("NEW"), -100);
  EXPECT_TRUE(has_failure("amt_write_wifi_address", -100, "open /amt/WIFI/WIFI_nvram.txt fail", "13"));
  chmod(RECORD, 0644);
  EXPECT_EQ(read(RECORD), "OLD\n");
}

TEST_F(WifiAddress, WriteOnAReadOnlySystem_Fails) {
  make_read_only_system(RECORD);
  EXPECT_EQ(amt_write_wifi_address("NEW"), -100);
  EXPECT_TRUE(has_failure("amt_write_wifi_address", -100, "open /amt/WIFI/WIFI_nvram.txt fail", "30"));
}

TEST_F(WifiAddress, WriteOnAFullSystem_FailsAndFlushes) {
  make_full(RECORD);
  EXPECT_EQ(amt_write_wifi_address("NEW"), -118);
  EXPECT_TRUE(m_log.has("sys call: fputs() failed! errno = 28"));
  EXPECT_FALSE(m_log.contains("write BT address"));
  EXPECT_EQ(syncs(), 2);
}

TEST_F(WifiAddress, ReadWithoutARecord_FailsWithNothing) {
  EXPECT_EQ(read_record(), -100);
  EXPECT_STREQ(m_address, "");
  EXPECT_TRUE(has_failure("amt_read_wifi_address", -100, "open /amt/WIFI/WIFI_nvram.txt fail"));
}

TEST_F(WifiAddress, ReadOfAnEmptyRecord_FailsWithNothing) {
  write(RECORD, "");
  EXPECT_EQ(read_record(), -100);
  EXPECT_STREQ(m_address, "");
  EXPECT_TRUE(has_failure("amt_read_wifi_address", -100, "read fail"));
}

TEST_F(WifiAddress, ReadOfALineWithoutItsEnd_LosesTheLastCharacter) {
  write(RECORD, "AA:BB");
  EXPECT_EQ(read_record(), 0);
  EXPECT_STREQ(m_address, "AA:B");
}

TEST_F(WifiAddress, ReadOfALoneLineEnd_GivesNothing) {
  write(RECORD, "\n");
  EXPECT_EQ(read_record(), 0);
  EXPECT_STREQ(m_address, "");
}

TEST_F(WifiAddress, ReadOfALineThatBeginsWithAZeroByte_GivesNothing) {
  write(RECORD, std::string_view("\0A\n", 3));
  EXPECT_EQ(read_record(), 0);
  EXPECT_STREQ(m_address, "");
}

TEST_F(WifiAddress, ReadOfSeveralLines_TakesTheFirst) {
  write(RECORD, "A\nB\n");
  EXPECT_EQ(read_record(), 0);
  EXPECT_STREQ(m_address, "A");
}

TEST_F(WifiAddress, ReadOfALineEndOfTwo_KeepsTheFirst) {
  write(RECORD, "A\r\n");
  EXPECT_EQ(read_record(), 0);
  EXPECT_STREQ(m_address, "A\r");
}

TEST_F(WifiAddress, ReadIntoSixtyBytes_GivesAtMost59Characters) {
  for (const auto& [length, kept] : {std::pair(58, 58), {59, 59}, {60, 59}, {97, 59}, {98, 59}, {4000, 59}}) {
    write(RECORD, std::string(static_cast<std::size_t>(length), 'x') + "\n");
    EXPECT_EQ(read_record(), 0);
    EXPECT_EQ(std::string(m_address), std::string(static_cast<std::size_t>(kept), 'x')) << length;
  }
}

// The length that is logged counts the line end, as long as the buffer would have room for it.
TEST_F(WifiAddress, ReadOfALongLine_LogsTheLengthThatWasCopied) {
  for (const auto& [length, logged] : {std::pair(57, 58), {58, 59}, {59, 59}, {60, 59}, {4000, 59}}) {
    write(RECORD, std::string(static_cast<std::size_t>(length), 'x') + "\n");
    m_log.clear();
    EXPECT_EQ(read_record(), 0);
    EXPECT_EQ(m_log.last(), "wifi_addr_len: " + std::to_string(logged)) << length;
  }
}

TEST_F(WifiAddress, ReadIntoNoByte_IsRefusedAndWritesNothing) {
  write(RECORD, "AA\n");
  char byte = 'x';
  EXPECT_EQ(amt_read_wifi_address(&byte, 0), ERR_FAIL);
  EXPECT_EQ(byte, 'x');
}

TEST_F(WifiAddress, ReadIntoOneByte_GivesNothing) {
  write(RECORD, "AA\n");
  char byte = 'x';
  EXPECT_EQ(amt_read_wifi_address(&byte, 1), 0);
  EXPECT_EQ(byte, '\0');
}

}  // namespace
