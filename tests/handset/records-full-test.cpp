// A file system for the records on which no byte is left.
#include "tests/handset/records-phone.h"

using namespace handset_test;

namespace {

class FullFileSystem : public RecordPhone {
 protected:
  // One page for all the records, taken by something else. The Bluetooth record is there: the service makes none.
  void start_full() {
    handset::phone_options options;
    options.cards = {{"/amt", 4}};
    start(options);
    ASSERT_EQ(shell(": >/amt/BT/BT_Address.txt; head -c 4096 /dev/zero >/amt/other"), "");
  }
  std::string shell(const std::string& script) {
    const auto result = phone().exec({"/bin/sh", "-c", script});
    return result.out + result.err;
  }
};

TEST_F(FullFileSystem, EachRecord_IsRefused) {
  start_full();
  expect_reply("AT^DBTADDR=\"00:11:22:33:44:55\"\r", REPLY_CME_ERROR);
  expect_reply("AT^DWIFIADDR=\"00:11:22:33:44:55\"\r", REPLY_CME_ERROR);
  expect_reply("AT^DPCBACTRL=2,PCBA-0001", REPLY_ERROR);
  expect_reply("AT^DAMT1=0\r", REPLY_ERROR);
  expect_logged("sys call: fputs() failed! errno = 28", 2);
  EXPECT_EQ(phone().log().count("fputs fail: 28 - No space left on device"), 2u) << phone().log().text();
}

TEST_F(FullFileSystem, ConfirmedIdentity_AnswerPassesAndTheLossIsLogged) {
  start_full();
  expect_reply("AT^DCGSNW=123456789012345\r", REPLY_OK);
  expect_reply("AT^DMSN=BOARD-0001\r", REPLY_OK);
  expect_logged("fputs fail: 28 - No space left on device", 2);
}

TEST_F(FullFileSystem, WithRoomAgain_TakesTheRecord) {
  start_full();
  expect_reply("AT^DPCBACTRL=2,PCBA-0001", REPLY_ERROR);
  ASSERT_EQ(shell("rm /amt/other"), "");
  expect_reply("AT^DPCBACTRL=2,PCBA-0001", REPLY_OK);
  EXPECT_EQ(shell("cat /amt/sn-2.txt"), "PCBA-0001");
}

}  // namespace
