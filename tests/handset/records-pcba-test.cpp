// The PCBA serial number, which shares a record with the second board number, and the flag of the start on USB
// insertion.
#include "tests/handset/records-phone.h"

using namespace handset_test;

namespace {

using PcbaRecord = RecordPhone;

TEST_F(PcbaRecord, WrittenAndReadBack_HasTheCarriageReturnThatEndedTheCommand) {
  start();
  expect_reply("AT^DPCBACTRL=1\r", REPLY_ERROR);
  expect_flushed(true, [&] { expect_reply("AT^DPCBACTRL=2,PCBA-0001\r", REPLY_OK); });
  EXPECT_EQ(record(SECOND_SN_RECORD), "PCBA-0001\r");
  expect_reply("AT^DPCBACTRL=1\r", "\r\n^DPCBACTRL: PCBA-0001\r\r\n\r\nOK\r\n");
  expect_reply("AT^DPCBACTRL=2,PCBA-0002", REPLY_OK);
  EXPECT_EQ(record(SECOND_SN_RECORD), "PCBA-0002");
  expect_reply("AT^DPCBACTRL=1", "\r\n^DPCBACTRL: PCBA-0002\r\n\r\nOK\r\n");
  expect_reply("AT^DPCBACTRL=,2,,PCBA-0003,more\r", REPLY_OK);  // empty fields are none
  EXPECT_EQ(record(SECOND_SN_RECORD), "PCBA-0003");
  expect_logged("Writed pcba-sn: PCBA-0003.");
  EXPECT_EQ(phone().log().count("readed pcba-sn: PCBA-0002."), 1u);
}

TEST_F(PcbaRecord, TwentyNineCharacters_AreTakenAndThirtyRefused) {
  start();
  expect_reply("AT^DPCBACTRL=2,12345678901234567890123456789", REPLY_OK);
  EXPECT_EQ(record(SECOND_SN_RECORD), "12345678901234567890123456789");
  expect_flushed(false, [&] {
    expect_reply("AT^DPCBACTRL=2,12345678901234567890123456789\r", REPLY_ERROR);
    expect_reply("AT^DPCBACTRL=2," + std::string(1000, '9'), REPLY_ERROR);
  });
  expect_reply("AT^DPCBACTRL=1\r", "\r\n^DPCBACTRL: 12345678901234567890123456789\r\n\r\nOK\r\n");
  phone().write_file(SECOND_SN_RECORD, "abcdefghijklmnopqrstuvwxyzABCDEF\n");
  expect_reply("AT^DPCBACTRL=1\r", "\r\n^DPCBACTRL: abcdefghijklmnopqrstuvwxyzABC\r\n\r\nOK\r\n");
}

TEST_F(PcbaRecord, OtherTypesAndMissingFields_AreRefused) {
  start();
  expect_reply("AT^DPCBACTRL=3,PCBA\r", REPLY_ERROR);
  expect_reply("AT^DPCBACTRL=x\r", REPLY_ERROR);
  expect_error_frame("AT^DPCBACTRL=");
  expect_error_frame("AT^DPCBACTRL=,,");
  expect_error_frame("AT^DPCBACTRL=2");
  EXPECT_EQ(record(SECOND_SN_RECORD), NOTHING);
  expect_logged("type is null!!!", 2);
  EXPECT_EQ(phone().log().count("pcba-sn is null!!!"), 1u);
  EXPECT_EQ(phone().log().count("unknown operation type: 3"), 1u);
}

TEST_F(PcbaRecord, SharedWithTheSecondBoardNumber_EachReplacesTheOther) {
  start();
  expect_reply("AT^DPCBACTRL=2,PCBA-0001", REPLY_OK);
  expect_reply("AT^DMPCHN=1\r", REPLY_OK);
  expect_reply("AT^DMSN=BOARD-2\r", REPLY_OK);
  expect_reply("AT^DPCBACTRL=1\r", "\r\n^DPCBACTRL: BOARD-2\r\n\r\nOK\r\n");
  expect_reply("AT^DPCBACTRL=2,PCBA-0002", REPLY_OK);
  EXPECT_EQ(record(SECOND_SN_RECORD), "PCBA-0002");
}

TEST_F(PcbaRecord, Locked_IsRefusedAndKept) {
  start();
  lock(SECOND_SN_RECORD, "old");
  expect_flushed(false, [&] {
    expect_reply("AT^DPCBACTRL=2,PCBA-0001\r", REPLY_ERROR);
    expect_reply("AT^DPCBACTRL=1\r", REPLY_ERROR);
  });
  expect_logged("open(\"/amt/sn-2.txt\") fail: 13 - Permission denied", 2);
  EXPECT_EQ(phone().log().count("write error."), 1u);
  EXPECT_EQ(phone().log().count("read error."), 1u);
  unlock(SECOND_SN_RECORD);
  EXPECT_EQ(record(SECOND_SN_RECORD), "old");
}

TEST_F(PcbaRecord, FileSystemFull_IsRefusedAndFlushed) {
  start();
  fill_up(SECOND_SN_RECORD);
  expect_flushed(true, [&] { expect_reply("AT^DPCBACTRL=2,PCBA-0001\r", REPLY_ERROR); });
  expect_logged("fputs fail: 28 - No space left on device");
  EXPECT_EQ(phone().log().count("FUNC-amt_write_pcba_sn(), error_code=-118, errno=28"), 1u) << phone().log().text();
}

TEST_F(PcbaRecord, ReadOnlyFileSystem_IsReadButNotWritten) {
  const read_only_record record(SECOND_SN_RECORD, "old");
  start(record.options());
  expect_reply("AT^DPCBACTRL=2,PCBA-0001\r", REPLY_ERROR);
  expect_reply("AT^DPCBACTRL=1\r", "\r\n^DPCBACTRL: old\r\n\r\nOK\r\n");
  expect_logged("open(\"/amt/sn-2.txt\") fail: 30 - Read-only file system");
}

TEST_F(PcbaRecord, EmptyRecord_IsRefused) {
  start();
  phone().write_file(SECOND_SN_RECORD, "");
  expect_reply("AT^DPCBACTRL=1\r", REPLY_ERROR);
  expect_logged("read fail: ");
}

using FlagRecord = RecordPhone;

TEST_F(FlagRecord, WrittenAndReadBack_IsOneDigit) {
  start();
  expect_reply("AT^DAMT1=2\r", "\r\n^DAMT1: 1\r\n\r\nOK\r\n");
  expect_flushed(true, [&] { expect_reply("AT^DAMT1=0\r", REPLY_OK); });
  EXPECT_EQ(record(FLAG_RECORD), "0");
  expect_reply("AT^DAMT1=2\r", "\r\n^DAMT1: 0\r\n\r\nOK\r\n");
  expect_flushed(true, [&] { expect_reply("AT^DAMT1=1\r", REPLY_OK); });
  EXPECT_EQ(record(FLAG_RECORD), "1");
  expect_reply("AT^DAMT1=2\r", "\r\n^DAMT1: 1\r\n\r\nOK\r\n");
  phone().write_file(FLAG_RECORD, "91");
  expect_reply("AT^DAMT1=2\r", "\r\n^DAMT1: 9\r\n\r\nOK\r\n");
  phone().write_file(FLAG_RECORD, "x");
  expect_reply("AT^DAMT1=2\r", "\r\n^DAMT1: 0\r\n\r\nOK\r\n");
}

TEST_F(FlagRecord, OtherTypesAndMissingField_AreRefused) {
  start();
  expect_reply("AT^DAMT1=3\r", REPLY_ERROR);
  expect_reply("AT^DAMT1=-1\r", REPLY_ERROR);
  expect_error_frame("AT^DAMT1=");
  EXPECT_EQ(record(FLAG_RECORD), NOTHING);
  expect_logged("type is null!!!");
  EXPECT_EQ(phone().log().count("unknown operation type: 4294967295"), 1u);
}

TEST_F(FlagRecord, Locked_IsNotWrittenAndReadsAsOne) {
  start();
  lock(FLAG_RECORD, "0");
  expect_flushed(false, [&] {
    expect_reply("AT^DAMT1=1\r", REPLY_ERROR);
    expect_reply("AT^DAMT1=2\r", "\r\n^DAMT1: 1\r\n\r\nOK\r\n");
  });
  expect_logged("write error to do-not-permit-handshake file.");
  EXPECT_EQ(phone().log().count("open(\"/amt/power_usb_amt.txt\") fail: 13 - Permission denied"), 2u);
  unlock(FLAG_RECORD);
  EXPECT_EQ(record(FLAG_RECORD), "0");
}

TEST_F(FlagRecord, FileSystemFull_IsRefusedAndFlushed) {
  start();
  fill_up(FLAG_RECORD);
  expect_flushed(true, [&] { expect_reply("AT^DAMT1=0\r", REPLY_ERROR); });
  expect_logged("fputs fail: 28 - No space left on device");
}

TEST_F(FlagRecord, ReadOnlyFileSystem_IsReadButNotWritten) {
  const read_only_record record(FLAG_RECORD, "0");
  start(record.options());
  expect_reply("AT^DAMT1=1\r", REPLY_ERROR);
  expect_reply("AT^DAMT1=2\r", "\r\n^DAMT1: 0\r\n\r\nOK\r\n");
  expect_logged("open(\"/amt/power_usb_amt.txt\") fail: 30 - Read-only file system");
}

}  // namespace
