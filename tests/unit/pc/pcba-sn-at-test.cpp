#include <chrono>

#include "amt/amt-handle/pc/pcba-sn.h"
#include "tests/unit/pc/phone-test.h"

namespace {

constexpr char FILE_NAME[] = "/amt/sn-2.txt";

class PcbaSnAt : public phone_test {};

TEST_F(PcbaSnAt, Read_AnswersTheRecord) {
  write(FILE_NAME, "PCBA0001");
  EXPECT_EQ(send("AT^DPCBACTRL=1\r"), "\r\n^DPCBACTRL: PCBA0001\r\n\r\nOK\r\n");
  EXPECT_TRUE(m_log.has("handle_amt_pcba_sn_at()"));
  EXPECT_TRUE(m_log.has_in_a_row({"read pcba-sn: PCBA0001", "readed pcba-sn: PCBA0001."}));
}

TEST_F(PcbaSnAt, Write_ReplacesTheRecordAndFlushes) {
  write(FILE_NAME, "OLD AND LONGER");
  EXPECT_EQ(send("AT^DPCBACTRL=2,PCBA0001"), OK);
  EXPECT_EQ(read(FILE_NAME), "PCBA0001");
  EXPECT_EQ(syncs(), 2);
  EXPECT_TRUE(m_log.has_in_a_row({"write pcba-sn: PCBA0001", "Writed pcba-sn: PCBA0001."}));
}

// 50 ms in front of each of the two flushes: the answer comes only when the record is safe.
TEST_F(PcbaSnAt, Write_IsAnsweredAfterBothPauses) {
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(send("AT^DPCBACTRL=2,PCBA0001"), OK);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(100));
}

TEST_F(PcbaSnAt, WriteWithCarriageReturn_IsReadBackWithIt) {
  EXPECT_EQ(send("AT^DPCBACTRL=2,PCBA0001\r"), OK);
  EXPECT_EQ(read(FILE_NAME), "PCBA0001\r");
  EXPECT_EQ(send("AT^DPCBACTRL=1\r"), "\r\n^DPCBACTRL: PCBA0001\r\r\n\r\nOK\r\n");
}

TEST_F(PcbaSnAt, WriteOfALoneCarriageReturn_IsASerialNumber) {
  EXPECT_EQ(send("AT^DPCBACTRL=2,\r"), OK);
  EXPECT_EQ(read(FILE_NAME), "\r");
}

TEST_F(PcbaSnAt, ThirdField_IsNotPartOfTheSerialNumber) {
  EXPECT_EQ(send("AT^DPCBACTRL=2,,A B,C\r"), OK);
  EXPECT_EQ(read(FILE_NAME), "A B");
}

TEST_F(PcbaSnAt, WriteOf29Characters_IsStoredAndReadWhole) {
  const std::string serial = "12345678901234567890123456789";
  EXPECT_EQ(send("AT^DPCBACTRL=2," + serial), OK);
  EXPECT_EQ(read(FILE_NAME), serial);
  EXPECT_EQ(send("AT^DPCBACTRL=1\r"), "\r\n^DPCBACTRL: 12345678901234567890123456789\r\n\r\nOK\r\n");
}

TEST_F(PcbaSnAt, WriteOfMoreThan29Characters_IsRefusedAndTheRecordKept) {
  write(FILE_NAME, "OLD");
  for (const std::size_t length : {30, 31, 4000}) {
    EXPECT_EQ(send("AT^DPCBACTRL=2," + std::string(length, 'x')), ERROR) << length;
    EXPECT_EQ(read(FILE_NAME), "OLD");
  }
  EXPECT_EQ(send("AT^DPCBACTRL=2," + std::string(29, 'x') + "\r"), ERROR);
  EXPECT_EQ(syncs(), 0);
}

TEST_F(PcbaSnAt, ReadOfALongerLine_IsCutTo29Characters) {
  write(FILE_NAME, "12345678901234567890123456789X");
  EXPECT_EQ(send("AT^DPCBACTRL=1\r"), "\r\n^DPCBACTRL: 12345678901234567890123456789\r\n\r\nOK\r\n");
  write(FILE_NAME, std::string(4000, 'y'));
  EXPECT_EQ(send("AT^DPCBACTRL=1\r"), "\r\n^DPCBACTRL: " + std::string(29, 'y') + "\r\n\r\nOK\r\n");
}

TEST_F(PcbaSnAt, ReadOfALineWithItsEnd_KeepsIt) {
  write(FILE_NAME, "A\nB\n");
  EXPECT_EQ(send("AT^DPCBACTRL=1\r"), "\r\n^DPCBACTRL: A\n\r\n\r\nOK\r\n");
}

TEST_F(PcbaSnAt, ReadWithoutARecord_IsAnsweredError) {
  EXPECT_EQ(send("AT^DPCBACTRL=1\r"), ERROR);
  EXPECT_TRUE(has_failure("amt_read_pcba_sn", -118, "open(\"/amt/sn-2.txt\") fail: 2 - No such file or directory"));
  EXPECT_TRUE(has_failure("handle_amt_pcba_sn_at", -100, "read error."));
}

TEST_F(PcbaSnAt, ReadOfAnEmptyRecord_IsAnsweredError) {
  write(FILE_NAME, "");
  EXPECT_EQ(send("AT^DPCBACTRL=1\r"), ERROR);
  EXPECT_TRUE(has_failure("handle_amt_pcba_sn_at", -100, "read error."));
}

TEST_F(PcbaSnAt, WriteThatFails_IsAnsweredError) {
  make_full(FILE_NAME);
  EXPECT_EQ(send("AT^DPCBACTRL=2,A"), ERROR);
  EXPECT_TRUE(has_failure("amt_write_pcba_sn", -118, "fputs fail: 28 - No space left on device"));
  EXPECT_TRUE(has_failure("handle_amt_pcba_sn_at", -100, "write error."));
  EXPECT_EQ(syncs(), 2);
}

TEST_F(PcbaSnAt, WriteWithoutTheFolder_IsAnsweredError) {
  fs::remove_all("/amt");
  EXPECT_EQ(send("AT^DPCBACTRL=2,A"), ERROR);
  EXPECT_EQ(syncs(), 0);
}

TEST_F(PcbaSnAt, WriteOnAReadOnlySystem_IsAnsweredError) {
  make_read_only_system(FILE_NAME);
  EXPECT_EQ(send("AT^DPCBACTRL=2,A"), ERROR);
  EXPECT_TRUE(m_log.has("open(\"/amt/sn-2.txt\") fail: 30 - Read-only file system"));
}

TEST_F(PcbaSnAt, UnknownType_IsAnsweredError) {
  EXPECT_EQ(send("AT^DPCBACTRL=3\r"), ERROR);
  EXPECT_TRUE(has_failure("handle_amt_pcba_sn_at", -101, "unknown operation type: 3"));
  EXPECT_EQ(send("AT^DPCBACTRL=-1\r"), ERROR);
  EXPECT_TRUE(has_failure("handle_amt_pcba_sn_at", -101, "unknown operation type: 255"));
  EXPECT_EQ(send("AT^DPCBACTRL=\r"), ERROR);
  EXPECT_TRUE(has_failure("handle_amt_pcba_sn_at", -101, "unknown operation type: 0"));
}

TEST_F(PcbaSnAt, TypeOfMoreThanEightBits_IsCut) {
  write(FILE_NAME, "A");
  EXPECT_EQ(send("AT^DPCBACTRL=257\r"), "\r\n^DPCBACTRL: A\r\n\r\nOK\r\n");
}

TEST_F(PcbaSnAt, NoType_IsAnsweredByTheErrorFrame) {
  EXPECT_EQ(send_for_hex("AT^DPCBACTRL="), ERROR_FRAME);
  EXPECT_TRUE(has_failure("handle_amt_pcba_sn_at", -101, "type is null!!!"));
}

TEST_F(PcbaSnAt, NoSerialNumber_IsAnsweredByTheErrorFrame) {
  write(FILE_NAME, "OLD");
  EXPECT_EQ(send_for_hex("AT^DPCBACTRL=2"), ERROR_FRAME);
  EXPECT_EQ(send_for_hex("AT^DPCBACTRL=2,,"), ERROR_FRAME);
  EXPECT_TRUE(has_failure("handle_amt_pcba_sn_at", -101, "pcba-sn is null!!!"));
  EXPECT_EQ(read(FILE_NAME), "OLD");
}

}  // namespace
