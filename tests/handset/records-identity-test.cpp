// IMEI and board number: written by the modem, kept by the service once the modem has confirmed.
#include <functional>

#include "tests/handset/records-phone.h"

using namespace handset_test;

namespace {

// The three identity writes as frames; the checksum is not looked at on input.
const std::string WRITE_IMEI_FRAME =
    from_hex("AABBCCDD 22000000 02000000 1A00 BB 05 1400 EE 15 02 0F00") + "123456789012345" + from_hex("00000000");
const std::string WRITE_BOARD_FRAME =
    from_hex("AABBCCDD 1D000000 02000000 1500 BB 57 0F00 EE 26 02 0A00") + "BOARD-0001" + from_hex("00000000");
const std::string CHANNEL_1_FRAME =
    from_hex("AABBCCDD 17000000 02000000 0F00 BB E8 0900 EE 9F 01 0400 01000000 00000000");

// The modem's answers to the first two, without their checksum.
const std::string IMEI_DONE = from_hex("AABBCCDD 17000000 02000000 0F00 BB 06 0900 EE 01 01 0400 00000000");
const std::string IMEI_REFUSED = from_hex("AABBCCDD 17000000 02000000 0F00 BB 06 0900 EE 01 01 0400 01000000");
const std::string BOARD_DONE = from_hex("AABBCCDD 17000000 02000000 0F00 BB 58 0900 EE 01 01 0400 00000000");
const std::string CHANNEL_DONE = from_hex("AABBCCDD 17000000 02000000 0F00 BB E9 0900 EE 01 01 0400 00000000");
constexpr std::size_t CHECKSUM_SIZE = 4;

class IdentityRecord : public RecordPhone {
 protected:
  void expect_frame_reply(const std::string& request, const std::string& reply) {
    ASSERT_TRUE(phone().pc().write_all(request));
    const auto got = phone().pc().read_exactly(reply.size() + CHECKSUM_SIZE);
    EXPECT_EQ(to_hex(got.substr(0, reply.size())), to_hex(reply)) << phone().log().text();
    EXPECT_EQ(to_hex(phone().pc().read_pending()), "");
  }
  void set_switches(const std::function<void(handset::modem_switches&)>& change) {
    phone().simulated_modem().change_switches(change);
  }
  void silence() {
    set_switches([](auto& switches) { switches.silent = true; });
  }
  // A command that reaches a modem which is silent.
  void expect_unanswered(std::string_view command) {
    const auto& received = phone().simulated_modem().received();
    const auto mark = received.size();
    ASSERT_TRUE(phone().pc().write_all(command));
    ASSERT_TRUE(received.wait_for(command, handset::DEFAULT_WAIT, mark));
  }
  // The modem sends something without a request. Once the PC has it, the service has dealt with it.
  void say(std::string_view bytes) {
    phone().simulated_modem().say(bytes);
    EXPECT_EQ(to_hex(phone().pc().read_exactly(bytes.size())), to_hex(bytes));
  }
  void expect_no_record() {
    for (const char* path : {IMEI_RECORD, SECOND_IMEI_RECORD, SN_RECORD, SECOND_SN_RECORD}) {
      EXPECT_EQ(record(path), NOTHING) << path;
    }
  }
};

TEST_F(IdentityRecord, Text_Confirmed_IsSavedBeforeThePcHearsOfIt) {
  start();
  expect_flushed(true, [&] { expect_reply("AT^DCGSNW=123456789012345\r", REPLY_OK); });
  EXPECT_EQ(record(IMEI_RECORD), "123456789012345");
  expect_flushed(true, [&] { expect_reply("AT^DMSN= BOARD-0001\r", REPLY_OK); });
  EXPECT_EQ(record(SN_RECORD), "BOARD-0001");
  EXPECT_EQ(record(SECOND_IMEI_RECORD), NOTHING);
  EXPECT_EQ(record(SECOND_SN_RECORD), NOTHING);
  EXPECT_EQ(phone().simulated_modem().state().imei, "123456789012345");
  expect_logged("save imei to file. channel:0; content:123456789012345;");
  EXPECT_EQ(phone().log().count("Writed imei to file success."), 1u);
  EXPECT_EQ(phone().log().count("save sn to file. channel:0; content:BOARD-0001;"), 1u);
  EXPECT_EQ(phone().log().count("Writed sn to file success."), 1u);
  end_with(phone(), SIGTERM);
}

TEST_F(IdentityRecord, Frame_Confirmed_IsSavedBeforeThePcHearsOfIt) {
  start();
  expect_flushed(true, [&] { expect_frame_reply(WRITE_IMEI_FRAME, IMEI_DONE); });
  EXPECT_EQ(record(IMEI_RECORD), "123456789012345");
  expect_flushed(true, [&] { expect_frame_reply(WRITE_BOARD_FRAME, BOARD_DONE); });
  EXPECT_EQ(record(SN_RECORD), "BOARD-0001");
  EXPECT_EQ(record(SECOND_IMEI_RECORD), NOTHING);
  EXPECT_EQ(record(SECOND_SN_RECORD), NOTHING);
  expect_logged("getted error-code from modem: err-code:0;", 2);
  EXPECT_EQ(phone().log().count("getted write-imei command in amt1: imei:123456789012345;"), 1u);
  EXPECT_EQ(phone().log().count("getted write-board command in amt1: board:BOARD-0001;"), 1u);
}

TEST_F(IdentityRecord, Text_ChannelOne_UsesTheSecondRecords) {
  start();
  expect_reply("AT^DMPCHN=1\r", REPLY_OK);
  expect_reply("AT^DCGSNW=111111111111111\r", REPLY_OK);
  expect_reply("AT^DMSN=BOARD-2\r", REPLY_OK);
  EXPECT_EQ(record(SECOND_IMEI_RECORD), "111111111111111");
  EXPECT_EQ(record(SECOND_SN_RECORD), "BOARD-2");
  EXPECT_EQ(record(IMEI_RECORD), NOTHING);
  EXPECT_EQ(record(SN_RECORD), NOTHING);
  expect_reply("AT^DMPCHN=2\r", REPLY_OK);
  expect_reply("AT^DCGSNW=222222222222222\r", REPLY_OK);
  EXPECT_EQ(record(IMEI_RECORD), "222222222222222");
  expect_reply("AT^DMPCHN=257\r", REPLY_OK);  // eight bits of it count
  expect_reply("AT^DCGSNW=333333333333333\r", REPLY_OK);
  EXPECT_EQ(record(SECOND_IMEI_RECORD), "333333333333333");
  EXPECT_EQ(record(IMEI_RECORD), "222222222222222");
}

TEST_F(IdentityRecord, Frame_ChannelOne_UsesTheSecondRecords) {
  start();
  expect_frame_reply(CHANNEL_1_FRAME, CHANNEL_DONE);
  expect_frame_reply(WRITE_IMEI_FRAME, IMEI_DONE);
  expect_frame_reply(WRITE_BOARD_FRAME, BOARD_DONE);
  EXPECT_EQ(record(SECOND_IMEI_RECORD), "123456789012345");
  EXPECT_EQ(record(SECOND_SN_RECORD), "BOARD-0001");
  EXPECT_EQ(record(IMEI_RECORD), NOTHING);
  EXPECT_EQ(record(SN_RECORD), NOTHING);
}

TEST_F(IdentityRecord, Text_Refused_IsNotSavedUntilSomethingIsConfirmed) {
  start();
  set_switches([](auto& switches) { switches.refuse = true; });
  expect_reply("AT^DCGSNW=123456789012345\r", REPLY_ERROR);
  set_switches([](auto& switches) { switches.refusal = "+CME ERROR: 100"; });
  expect_reply("AT^DMSN=BOARD-0001\r", REPLY_CME_ERROR);
  expect_no_record();
  // Nothing times out: the next OK, to whatever it is, confirms the last capture.
  set_switches([](auto& switches) { switches.refuse = false; });
  expect_reply("AT^DLKS=0\r", REPLY_OK);
  EXPECT_EQ(record(SN_RECORD), "BOARD-0001");
  EXPECT_EQ(record(IMEI_RECORD), NOTHING);
}

TEST_F(IdentityRecord, Frame_Refused_IsNotSaved) {
  start();
  set_switches([](auto& switches) { switches.refuse = true; });
  expect_flushed(false, [&] { expect_frame_reply(WRITE_IMEI_FRAME, IMEI_REFUSED); });
  expect_no_record();
  expect_logged("getted error-code from modem: err-code:1;");
}

TEST_F(IdentityRecord, Modem_AnswersLate_IsSavedThen) {
  start();
  set_switches([](auto& switches) { switches.delay = 500ms; });
  expect_reply("AT^DCGSNW=123456789012345\r", REPLY_OK);
  EXPECT_EQ(record(IMEI_RECORD), "123456789012345");
  expect_frame_reply(WRITE_BOARD_FRAME, BOARD_DONE);
  EXPECT_EQ(record(SN_RECORD), "BOARD-0001");
}

TEST_F(IdentityRecord, Confirmation_TornApart_ConfirmsNothing) {
  start();
  silence();
  expect_unanswered("AT^DCGSNW=123456789012345\r");
  say("\r\nO");
  say("K\r\n");
  expect_no_record();
  say("\r\nOK\r\n");
  EXPECT_EQ(record(IMEI_RECORD), "123456789012345");
}

TEST_F(IdentityRecord, Confirmation_AmongOtherText_Confirms) {
  start();
  silence();
  expect_unanswered("AT^DMSN=BOARD-0001\r");
  for (const std::string_view text : {"\r\n+CREG: 1\r\n", "\r\n+STATE: OK\r\n", "\r\nOKAY\r\n"}) {
    say(text);
    expect_no_record();
  }
  say("\r\n+CREG: 2\r\n\r\nOK\r\n\r\n+CREG: 3\r\n");
  EXPECT_EQ(record(SN_RECORD), "BOARD-0001");
}

TEST_F(IdentityRecord, Confirmation_Twice_SavesOnce) {
  start();
  silence();
  expect_unanswered("AT^DCGSNW=123456789012345\r");
  expect_flushed(true, [&] {
    say("\r\nOK\r\n");
    say("\r\nOK\r\n");
  });
  expect_logged("save imei to file.");
}

TEST_F(IdentityRecord, Confirmation_ForTheOtherType_ConfirmsWhatIsPending) {
  start();
  silence();
  expect_unanswered("AT^DCGSNW=123456789012345\r");
  say(BOARD_DONE + from_hex("00000000"));
  EXPECT_EQ(record(IMEI_RECORD), "123456789012345");
  EXPECT_EQ(record(SN_RECORD), NOTHING);
}

TEST_F(IdentityRecord, Confirmation_ByAnotherFrame_ConfirmsNothing) {
  start();
  silence();
  expect_unanswered("AT^DCGSNW=123456789012345\r");
  say(CHANNEL_DONE + from_hex("00000000"));
  expect_no_record();
}

TEST_F(IdentityRecord, Confirmation_WithoutCapture_SavesNothing) {
  start();
  expect_flushed(false, [&] {
    say("\r\nOK\r\n");
    say(IMEI_DONE + from_hex("00000000"));
  });
  expect_no_record();
}

TEST_F(IdentityRecord, Capture_ReplacedBeforeItIsConfirmed_LastOneIsSaved) {
  start();
  silence();
  expect_unanswered("AT^DCGSNW=111111111111111\r");
  expect_unanswered("AT^DCGSNW=222222222222222\r");
  say("\r\nOK\r\n");
  EXPECT_EQ(record(IMEI_RECORD), "222222222222222");
  expect_unanswered("AT^DCGSNW=333333333333333\r");
  expect_unanswered("AT^DMSN=BOARD-0001\r");
  say("\r\nOK\r\n");
  say("\r\nOK\r\n");
  EXPECT_EQ(record(IMEI_RECORD), "222222222222222");
  EXPECT_EQ(record(SN_RECORD), "BOARD-0001");
}

TEST_F(IdentityRecord, Value_Empty_SavesNothing) {
  start();
  expect_flushed(false, [&] { expect_reply("AT^DCGSNW=\r", REPLY_OK); });
  expect_no_record();
  expect_logged("write imei error.", 0);
}

TEST_F(IdentityRecord, Value_LongerThanTwenty_IsCut) {
  start();
  expect_reply("AT^DMSN=12345678901234567890\r", REPLY_OK);
  EXPECT_EQ(record(SN_RECORD), "12345678901234567890");
  expect_reply("AT^DMSN=abcdefghijklmnopqrstu\r", REPLY_OK);
  EXPECT_EQ(record(SN_RECORD), "abcdefghijklmnopqrst");
}

TEST_F(IdentityRecord, Locked_AnswerPassesAndTheCaptureIsGone) {
  start();
  lock(IMEI_RECORD, "old");
  expect_flushed(false, [&] { expect_reply("AT^DCGSNW=123456789012345\r", REPLY_OK); });
  unlock(IMEI_RECORD);
  EXPECT_EQ(record(IMEI_RECORD), "old");
  expect_reply("AT^DLKS=0\r", REPLY_OK);
  EXPECT_EQ(record(IMEI_RECORD), "old");
  expect_logged("write imei error.");
  EXPECT_EQ(phone().log().count("open(\"/amt/imei.txt\") fail: 13 - Permission denied"), 1u);
  EXPECT_EQ(phone().log().count("FUNC-handle_amt_imei_and_sn_save_file(), error_code=-100"), 1u);
}

TEST_F(IdentityRecord, FileSystemFull_AnswerPassesAndTheServiceGoesOn) {
  start();
  fill_up(SN_RECORD);
  expect_flushed(true, [&] { expect_reply("AT^DMSN=BOARD-0001\r", REPLY_OK); });
  expect_flushed(true, [&] { expect_reply("AT^DCGSNW=123456789012345\r", REPLY_OK); });
  EXPECT_EQ(record(IMEI_RECORD), "123456789012345");
  expect_logged("write sn error.");
  EXPECT_EQ(phone().log().count("fputs fail: 28 - No space left on device"), 1u);
}

TEST_F(IdentityRecord, FolderMissing_AnswerPasses) {
  start();
  phone().remove("/amt");
  expect_reply("AT^DCGSNW=123456789012345\r", REPLY_OK);
  expect_frame_reply(WRITE_BOARD_FRAME, BOARD_DONE);
  expect_reply("AT^DPCBACTRL=2,PCBA\r", REPLY_ERROR);
  expect_reply("AT^DAMT1=1\r", REPLY_ERROR);
  expect_reply("AT^DAMT1=2\r", "\r\n^DAMT1: 1\r\n\r\nOK\r\n");
  expect_logged("open(\"/amt/imei.txt\") fail: 2 - No such file or directory");
  EXPECT_EQ(phone().log().count("open(\"/amt/sn.txt\") fail: 2 - No such file or directory"), 1u);
  EXPECT_FALSE(phone().exists("/amt"));
}

TEST_F(IdentityRecord, ReadOnlyFileSystem_AnswerPasses) {
  const read_only_record record(IMEI_RECORD, "old");
  start(record.options());
  expect_reply("AT^DCGSNW=123456789012345\r", REPLY_OK);
  expect_logged("open(\"/amt/imei.txt\") fail: 30 - Read-only file system");
  EXPECT_EQ(record.content(), "old");
}

}  // namespace
