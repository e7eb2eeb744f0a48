// What the service says and does when others are late, full, slow or gone: an answer belongs to its request, nothing is
// cut or mixed, and the end comes when it is asked for.
#include <gmock/gmock.h>

#include "tests/handset/app-phone.h"

using namespace handset_test;

namespace {

const std::string DONE = "EE 01 01 0400 00000000";
const std::string PROBE = frame(176, "");  // answered without the modem
const std::string PROBE_ANSWER = result_frame(175, "00000000");

// --- an application and a modem that the test plays

class LateModem : public testing::Test {
 protected:
  LateModem() : m_phone(platform_with_raw_modem()) { start_app_with_raw_modem(m_phone); }
  void ask(const std::string& request, std::string_view command) {
    ASSERT_TRUE(m_phone.app().write_all(request));
    ASSERT_EQ(m_phone.at_end().read_exactly(command.size()), command);
  }
  void modem_says(std::string_view text) { ASSERT_TRUE(m_phone.at_end().write_all(text)); }
  void expect_at_app(const std::string& answer) {
    EXPECT_EQ(to_hex(m_phone.app().read_exactly(answer.size())), to_hex(answer));
  }
  void expect_imei() {
    ask(frame(7, ""), "AT^DGSN?\r");
    modem_says("\r\n^DGSN: 35\r\n\r\nOK\r\n");
    expect_at_app(frame(8, "EE 15 02 0200 3335" + DONE));
  }

  handset::phone m_phone;
};

TEST_F(LateModem, OkAfterAnAnswerThatCannotBeConverted_IsNotTheNextAnswer) {
  ask(frame(23, ""), "AT^DTTEST=17\r");
  modem_says("\r\n^DTTEST: 30000000000000000000\r\n");
  ASSERT_TRUE(m_phone.wait_log("receive <== \r\n^DTTEST: 3000"));
  EXPECT_EQ(to_hex(m_phone.app().read_pending()), "");
  modem_says("\r\nOK\r\n");
  expect_at_app(result_frame(24, "01000000"));
  expect_imei();
}

// Five results, of which the modem refuses one. Each is to get its own answer, also after the broken one.
TEST_F(LateModem, StationResults_GetTheirOwnAnswersAfterABrokenOne) {
  ask(frame(47, "EE 03 01 0400 09000000"), "AT^DTTEST=2F09000000\r");
  modem_says("\r\n^DTTEST: 30000000000000000000\r\n");
  usleep(40'000);
  modem_says("\r\nOK\r\n");
  expect_at_app(result_frame(48, "01000000"));
  for (int station = 5; station <= 9; ++station) {
    const std::string number = "0" + std::to_string(station);
    ask(frame(91, "EE 27 01 0400 " + number + "000000  EE 24 01 0400 01000000"),
        "AT^DATOMW=" + std::to_string(station) + ",1\r");
    const bool is_refused = station == 7;
    modem_says(is_refused ? "\r\nERROR\r\n" : "\r\nOK\r\n");
    expect_at_app(result_frame(92, is_refused ? "0A000000" : "00000000"));
  }
}

TEST_F(LateModem, ChannelSwitchWhoseOkComesInTwoReads_LeavesTheNextItsAnswer) {
  for (const std::string_view half : {"\r\n", "\r\nO"}) {
    ask(frame(232, ""), "AT^DMPCHN=0\r");
    modem_says(half);
    expect_at_app(result_frame(233, "01000000"));
    ASSERT_TRUE(m_phone.app().write_all(frame(13, "")));
    usleep(40'000);
    modem_says(std::string_view("\r\nOK\r\n").substr(half.size()));
    ASSERT_EQ(m_phone.at_end().read_exactly(13), "AT^DTTEST=0D\r");
    modem_says("\r\nERROR\r\n");
    expect_at_app(result_frame(14, "01000000"));
  }
}

// More than the receive record holds.
TEST_F(LateModem, UnsolicitedLinesBetweenRequests_AreDroppedWithALogLine) {
  std::string lines;
  for (int count = 0; count < 110; ++count) lines += "\r\n^DLKS: 1,0000000000000000000000000000000000\r\n";
  modem_says(lines + "\r\nOK\r\n");
  expect_imei();
  expect_log(m_phone, "dropped " + std::to_string(lines.size() + 6) + " bytes that waited on the AT link");
  EXPECT_TRUE(m_phone.wait_log("drop from AT link: : (data_len = "));
}

TEST_F(LateModem, AnswerLongerThanTheRecord_IsAFailureAndTheNextIsServed) {
  ask(frame(7, ""), "AT^DGSN?\r");
  for (int count = 0; count < 10; ++count) modem_says(std::string(1000, 'x'));
  modem_says("\r\n^DGSN: 35\r\n\r\nOK\r\n");
  expect_at_app(result_frame(8, "0A000000"));
  expect_imei();
}

TEST_F(LateModem, ReturnInADescription_IsRefusedAndRecordsNothing) {
  ASSERT_TRUE(
      m_phone.app().write_all(frame(91, "EE 27 01 0400 03000000  EE 24 01 0400 01000000  EE 25 02 0400 6F6B 0D 41")));
  expect_at_app(result_frame(92, "01000000"));
  EXPECT_EQ(m_phone.at_end().read_pending(), "");
  EXPECT_FALSE(m_phone.exists("/amt/amt_result.txt"));
}

// The answer comes when nobody waits for it any more, and later than the next application's first request.
TEST_F(LateModem, ApplicationThatLeaves_TakesItsRequestWithIt) {
  ask(frame(7, ""), "AT^DGSN?\r");
  m_phone.close_app();
  ASSERT_TRUE(m_phone.wait_log("the application has left, the modem is silent"));
  ASSERT_TRUE(m_phone.open_app()) << m_phone.log().text();
  expect_answer(m_phone, PROBE, PROBE_ANSWER);
  modem_says("\r\n^DGSN: 99\r\n\r\nOK\r\n");
  expect_imei();
  EXPECT_EQ(to_hex(m_phone.app().read_pending()), "");
}

TEST_F(LateModem, SilentModem_HoldsTheEndForNothing) {
  ask(frame(7, ""), "AT^DGSN?\r");
  end_with(m_phone, SIGTERM);
}

TEST(SplitAnswers, WithPauses_GoToTheirOwnRequests) {
  handset::phone phone(platform());
  phone.simulated_modem().change_switches([](auto& switches) {
    switches.split = 24;
    switches.gap = 40ms;
  });
  phone.start();
  wait_app_serving(phone);
  phone.simulated_modem().change_state([](auto& state) { state.imei = "352099001761481"; });
  for (int round = 0; round < 3; ++round) {
    for (const unsigned id : {23U, 13U, 7U, 27U, 13U}) {
      ASSERT_TRUE(phone.app().write_all(frame(id, "")));
      const std::string head = phone.app().read_exactly(6);
      ASSERT_EQ(head.size(), 6U);
      const unsigned length = static_cast<unsigned char>(head[4]) + 256U * static_cast<unsigned char>(head[5]);
      phone.app().read_exactly(length);
      EXPECT_EQ(static_cast<unsigned char>(head[3]), id + 1) << "round " << round;
    }
  }
}

// --- a PC that stops reading

// Frames of the service among a stream of the modem: every frame is whole, every byte of the modem is there.
TEST(PcThatDoesNotRead, WhenItReadsAgain_NothingIsCutOrMixed) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  std::string stream;
  for (int block = 0; block < 250; ++block) stream += std::string(997, static_cast<char>('a' + block % 26)) + "\r\n.";
  std::thread modem([&] { EXPECT_TRUE(phone.modem_end().write_all(stream, 60s)); });
  // The last of them finds no room for its answer any more.
  std::size_t requests = 0;
  do {
    ASSERT_TRUE(phone.pc().write_all(VERSION_REQUEST));
    ASSERT_TRUE(phone.log().wait_count("receive command id: 45", ++requests));
  } while (phone.log().wait_count("send PC rsp data: : (data_len = 109)", requests, 300ms));
  const std::string answer = PRE_RESPONSE + VERSION_ANSWER;
  std::string got = phone.pc().read_exactly(stream.size() + requests * answer.size(), 60s);
  modem.join();
  for (const auto& whole : {PRE_RESPONSE, VERSION_ANSWER}) {
    std::size_t found = 0;
    for (std::size_t at = got.find(whole); at != std::string::npos; at = got.find(whole, at), ++found) {
      got.erase(at, whole.size());
    }
    EXPECT_EQ(found, requests);
  }
  EXPECT_TRUE(got == stream) << got.size() << " of " << stream.size();
  end_with(phone, SIGTERM);
}

void stop_reading(handset::phone& phone) {
  const std::string block(4000, 'm');
  while (phone.modem_end().write_all(block, 300ms)) {
  }
}

TEST(PcThatDoesNotRead, CablePulled_EndsTheService) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  stop_reading(phone);
  phone.uevent({"change@/devices/virtual/android_usb/android0", "USB_STATE=DISCONNECTED"});
  expect_clean_end(phone);
}

TEST(PcThatDoesNotRead, TtyGone_EndsTheService) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  stop_reading(phone);
  phone.unplug_pc();
  expect_clean_end(phone);
}

TEST(PcThatDoesNotRead, ModemGone_EndsNothing) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  stop_reading(phone);
  phone.unplug_modem();
  phone.exec({"/bin/sleep", "0.5"});
  EXPECT_TRUE(phone.service().running());
  end_with(phone, SIGTERM);
}

// The PC reader is held up in a write to a modem that does not read, and the cable's state is not looked at.
TEST(PcThatHangsUp, WhileItsReaderIsHeldUp_EndsTheServiceInAUsbStartToo) {
  auto options = raw_modem();
  options.mode = handset::run_mode::usb;
  handset::phone phone(options);
  start_serving(phone);
  const std::string block(4000, 'p');
  while (phone.pc().write_all(block, 300ms)) {
  }
  phone.unplug_pc();
  expect_clean_end(phone);
}

// --- an end that has to wait for nobody

constexpr std::chrono::seconds SOON{6};  // two seconds, and what a loaded machine adds

void end_soon(handset::phone& phone, int signal_number) {
  phone.send_signal(signal_number);
  EXPECT_EQ(phone.wait_exit(SOON), handset::exited(0)) << phone.log().text();
  EXPECT_EQ(phone.log().count("amt_handle_deinit()"), 1u);
}

constexpr char SLOW_SYNC[] = "#!/bin/sh\necho >/tmp/sync-runs\nexec sleep 20\n";

void make_sync_slow(handset::phone& phone) {
  phone.remove("/system/bin/sync");
  phone.write_file("/system/bin/sync", SLOW_SYNC);
  std::filesystem::permissions(phone.host_path("/system/bin/sync"), std::filesystem::perms(0755));
}

void wait_for_sync(handset::phone& phone) {
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  while (!phone.exists("/tmp/sync-runs")) ASSERT_LT(std::chrono::steady_clock::now(), deadline);
}

TEST(End, WhileSyncIsSlowAtTheStart_ComesSoon) {
  for (const int signal_number : {SIGTERM, SIGUSR2}) {
    auto options = raw_modem();
    options.files["/system/etc/wifi/nvram.txt"] = "macaddr=00:11:22:33:44:55\n";
    handset::phone phone(options);
    make_sync_slow(phone);
    phone.start();
    wait_for_sync(phone);
    end_soon(phone, signal_number);
  }
}

// The main thread itself is in the library.
TEST(End, WhileTheBoardLibraryIsStuckAtTheStart_ComesSoon) {
  auto options = raw_modem();
  options.mode = handset::run_mode::usb;
  options.files["/data/board/control"] = "wait IsChargeState = 30000\n";
  handset::phone phone(options);
  phone.start();
  ASSERT_TRUE(phone.wait_log("will call IsChargeState."));
  end_soon(phone, SIGTERM);
  EXPECT_EQ(phone.property("sys.vx.amt.failure.handshake"), "2");
}

TEST(End, WhileALibraryIsStuckInARequest_ComesSoon) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  phone.write_file("/data/hwt/control", "wait hwt_btCheck = 30000\n");
  ASSERT_TRUE(phone.pc().write_all("AT^DDEVCONNCHK=3\r"));
  ASSERT_TRUE(phone.wait_log("BT hardware check start"));
  end_soon(phone, SIGTERM);
}

TEST(End, WhileSyncIsSlowInARequest_ComesSoon) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  make_sync_slow(phone);
  ASSERT_TRUE(phone.pc().write_all("AT^DWIFIADDR=\"02:11:22:33:44:55\"\r"));
  wait_for_sync(phone);
  end_soon(phone, SIGTERM);
}

}  // namespace
