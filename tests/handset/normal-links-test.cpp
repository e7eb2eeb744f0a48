// The APP link and the modem's AT link when the other side closes, dies, stays silent or cuts what it sends.
#include "tests/handset/app-phone.h"

using namespace handset_test;

namespace {

const std::string VERSION_TWO = frame(45, "EE 13 01 0400 02000000");  // a module that nobody knows
const std::string VERSION_FAILED = result_frame(46, "01000000");

TEST(AppLink, IdWithoutHandler_IsAnErrorAnswer) {
  handset::phone phone(platform());
  start_app_serving(phone);
  expect_answer(phone, frame(44, ""), result_frame(45, "01000000"));
  expect_log(phone, "unregistered AMT request id: 44");
  expect_answer(phone, frame(255, ""), result_frame(0, "01000000"));
  expect_log(phone, "unknown AMT request id: 255");
  end_with(phone, SIGTERM);
}

TEST(AppLink, FrameSplitOverTwoReads_IsTwoRequests) {
  handset::phone phone(platform());
  start_app_serving(phone);
  // The first half has the id of the whole; the second is looked at as if it had a head.
  expect_answer(phone, VERSION_TWO.substr(0, 6), result_frame(46, "01000000"));
  expect_log(phone, "handle APP req data: : (data_len = 6) -- 0F00BB2D0900");
  expect_answer(phone, VERSION_TWO.substr(6), result_frame(5, "01000000"));
  expect_log(phone, "receive command id: 4(0x04) - AMT_WRITEFLASH_RSPCMD");
}

TEST(AppLink, ApplicationClosesAndReopens_IsServedOnANewTerminal) {
  handset::phone phone(platform());
  start_app_serving(phone);
  for (std::size_t round = 2; round < 6; ++round) {
    phone.close_app();
    ASSERT_TRUE(phone.open_app());
    expect_answer(phone, VERSION_TWO, VERSION_FAILED);
    ASSERT_TRUE(wait_terminals(phone, round));
  }
  expect_log(phone, "pty disconnect: pts name(/dev/pts/", 4);
  end_with(phone, SIGTERM);
}

TEST(AppLink, ApplicationGoneBeforeItsAnswer_NextTerminalIsEmpty) {
  handset::phone phone(platform());
  start_app_serving(phone);
  phone.send_signal(SIGSTOP);
  ASSERT_TRUE(phone.app().write_all(frame(44, "")));
  phone.close_app();
  EXPECT_FALSE(phone.open_app(std::chrono::milliseconds{0}));  // the old one is still there
  phone.send_signal(SIGCONT);
  ASSERT_TRUE(phone.open_app());
  expect_answer(phone, frame(13, ""), result_frame(14, "00000000"));
}

TEST(AppLink, MoreThanARecordAtOnce_IsReadInPieces) {
  handset::phone phone(platform());
  start_app_serving(phone);
  phone.send_signal(SIGSTOP);
  ASSERT_TRUE(phone.app().write_all(std::string(6000, '\xFF')));
  phone.send_signal(SIGCONT);
  // Each piece is a request 255.
  const std::string two = result_frame(0, "01000000") + result_frame(0, "01000000");
  EXPECT_EQ(to_hex(phone.app().read_exactly(two.size())), to_hex(two));
  EXPECT_EQ(phone.log().count("(data_len = 4096)"), 0u);
  end_with(phone, SIGTERM);
}

TEST(AppLink, ApplicationThatReadsNothing_BlocksTheReaderAndSigTermStillEnds) {
  handset::phone phone(platform());
  start_app_serving(phone);
  const std::string request = frame(45, "EE 13 01 0400 40000000");
  bool is_served = true;
  for (std::size_t mark = phone.log().size(); is_served; mark = phone.log().size()) {
    ASSERT_TRUE(phone.app().write_all(request));
    is_served = phone.log().wait_for("send APP rsp data: ", 2s, mark);
  }
  end_with(phone, SIGTERM);
}

TEST(AppLink, NewTerminalCannotBeMapped_EndsTheReaderAndNotTheService) {
  auto options = platform();
  options.config = "vx.tty.app=/data/link/app\nvx.tty.at.mux=/dev/ttyAT\n";
  options.files["/data/link/x"] = "";
  handset::phone phone(options);
  phone.start();
  ASSERT_TRUE(phone.wait_log("amt_handle_read_app_loop()"));
  ASSERT_EQ(phone.exec({"/bin/sh", "-c", "mv /data/link /data/gone; exec 3<>/data/gone/app"}).status,
            handset::exited(0));
  ASSERT_TRUE(phone.wait_log("[PTY]map /dev/pts/"));
  EXPECT_TRUE(phone.service().running());
  end_with(phone, SIGTERM);
}

TEST(AtLink, GoneAndBack_IsRepairedAndTheCommandSentAgain) {
  handset::phone phone(platform());
  start_app_serving(phone);
  phone.simulated_modem().change_state([](auto& state) { state.board_number = "B7"; });
  phone.unplug_at();
  phone.plug_at();
  expect_answer(phone, frame(85, ""), frame(86, "EE 26 02 0200 4237  EE 01 01 0400 00000000"));
  EXPECT_EQ(phone.simulated_modem().received(handset::modem_link::at).text(), "AT^DLKS=0\rAT^DLKS=0\rAT^DMSN\r");
  expect_log(phone, "write_at ret_val[-118]");
  end_with(phone, SIGTERM);
}

TEST(AtLink, BackAfterSomeTries_IsRepaired) {
  handset::phone phone(platform());
  start_app_serving(phone);
  phone.unplug_at();
  ASSERT_TRUE(phone.app().write_all(frame(13, "")));
  ASSERT_TRUE(phone.wait_log("(2/30)try to open device \"/dev/ttyAT\""));
  phone.plug_at();
  EXPECT_EQ(to_hex(phone.app().read_exactly(15)), to_hex(result_frame(14, "00000000")));
}

TEST(AtLink, SilencingRefusedAfterTheRepair_CommandIsSentAllTheSame) {
  handset::phone phone(platform_with_raw_modem());
  start_app_with_raw_modem(phone);
  phone.unplug_at();
  phone.plug_at();
  ASSERT_TRUE(phone.app().write_all(frame(85, "")));
  ASSERT_EQ(phone.at_end().read_exactly(10), LINK_STATUS_OFF);
  ASSERT_TRUE(phone.at_end().write_all("\r\nERROR\r\n"));
  ASSERT_EQ(phone.at_end().read_exactly(8), "AT^DMSN\r");
}

TEST(AtLink, LostWhileTheAnswerIsAwaited_IsRepairedAndReadOn) {
  handset::phone phone(platform_with_raw_modem());
  start_app_with_raw_modem(phone);
  ASSERT_TRUE(phone.app().write_all(frame(85, "")));
  ASSERT_EQ(phone.at_end().read_exactly(8), "AT^DMSN\r");
  phone.unplug_at();
  phone.plug_at();
  ASSERT_EQ(phone.at_end().read_exactly(10), LINK_STATUS_OFF);
  // The confirmation is read 18 bytes at a time: exactly these, so that the answer after them is whole.
  ASSERT_TRUE(phone.at_end().write_all("\r\nOK\r\n\r\n+CREG: 1\r\n\r\n^DMSN: B7\r\n\r\nOK\r\n"));
  EXPECT_EQ(to_hex(phone.app().read_exactly(22)), to_hex(frame(86, "EE 26 02 0200 4237  EE 01 01 0400 00000000")));
}

TEST(AtLink, BackAfterThirtyTries_IsAnErrorAnswerUntilThenAndUsableAgain) {
  handset::phone phone(platform());
  start_app_serving(phone);
  phone.unplug_at();
  ASSERT_TRUE(phone.app().write_all(frame(7, "")));
  EXPECT_EQ(to_hex(phone.app().read_exactly(15, 60s)), to_hex(result_frame(8, "0A000000")));
  expect_log(phone, "(29/30)try to open device \"/dev/ttyAT\"");
  // From now on each request looks once, without waiting.
  expect_answer(phone, frame(13, ""), result_frame(14, "01000000"));
  expect_answer(phone, VERSION_TWO, VERSION_FAILED);
  expect_log(phone, "(0/1)try to open device \"/dev/ttyAT\"");
  EXPECT_EQ(phone.log().count("(1/1)try to open device"), 0u);
  phone.simulated_modem().change_state([](auto& state) { state.board_number = "B7"; });
  phone.plug_at();
  expect_answer(phone, frame(85, ""), frame(86, "EE 26 02 0200 4237  EE 01 01 0400 00000000"));
  expect_answer(phone, frame(13, ""), result_frame(14, "00000000"));
  end_with(phone, SIGTERM);
}

TEST(AtLink, SilentAfterTheRepair_IsAnErrorAnswer) {
  handset::phone phone(platform());
  start_app_serving(phone);
  phone.simulated_modem().change_switches([](auto& switches) { switches.silent = true; });
  phone.unplug_at();
  phone.plug_at();
  ASSERT_TRUE(phone.app().write_all(frame(7, "")));
  EXPECT_EQ(to_hex(phone.app().read_exactly(15, 60s)), to_hex(result_frame(8, "0A000000")));
  expect_log(phone, "(4/5)tries. buf_a: \"\"");
}

TEST(AtLink, SigTermDuringTheRepair_Ends) {
  handset::phone phone(platform());
  start_app_serving(phone);
  phone.unplug_at();
  ASSERT_TRUE(phone.app().write_all(frame(7, "")));
  ASSERT_TRUE(phone.wait_log("(1/30)try to open device \"/dev/ttyAT\""));
  end_with(phone, SIGTERM);
}

TEST(AtLink, SilentModem_BlocksEveryQueryUntilSigTerm) {
  handset::phone phone(platform_with_raw_modem());
  start_app_with_raw_modem(phone);
  ASSERT_TRUE(phone.app().write_all(frame(65, "")));
  ASSERT_EQ(phone.at_end().read_exactly(10), "AT^DMFD\?\?\r");
  ASSERT_TRUE(phone.at_end().write_all("\r\n^DMFD: 2013\r\n"));
  ASSERT_TRUE(phone.log().wait_count("read_at()", 2));
  end_with(phone, SIGTERM);
  EXPECT_EQ(phone.app().read_pending(), "");
}

TEST(AtLink, UnsolicitedLinesAroundAnAnswer_AreReadOver) {
  handset::phone phone(platform_with_raw_modem());
  start_app_with_raw_modem(phone);
  ASSERT_TRUE(phone.app().write_all(frame(85, "")));
  ASSERT_EQ(phone.at_end().read_exactly(8), "AT^DMSN\r");
  ASSERT_TRUE(phone.at_end().write_all("\r\n+CREG: 1\r\n\r\n^DMSN: B7\r\n"));
  ASSERT_TRUE(phone.at_end().write_all("\r\n\r\nOK\r\n"));
  EXPECT_EQ(to_hex(phone.app().read_exactly(22)), to_hex(frame(86, "EE 26 02 0200 4237  EE 01 01 0400 00000000")));
}

TEST(AtLink, AnswerLongerThanTheRecord_IsAnErrorAnswerAtItsEnd) {
  handset::phone phone(platform_with_raw_modem());
  start_app_with_raw_modem(phone);
  ASSERT_TRUE(phone.app().write_all(frame(7, "")));
  ASSERT_EQ(phone.at_end().read_exactly(9), "AT^DGSN?\r");
  ASSERT_TRUE(phone.at_end().write_all(std::string(4096, 'x') + "\r\nOK\r\n"));
  EXPECT_EQ(to_hex(phone.app().read_exactly(15)), to_hex(result_frame(8, "0A000000")));
  expect_log(phone, "LINE-1045, FUNC-read_at(), error_code=-101");
}

}  // namespace
