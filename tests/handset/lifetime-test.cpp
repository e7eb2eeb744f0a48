// The end of the service, whichever way it comes.
#include "tests/handset/serial-phone.h"

using namespace handset_test;

namespace {

TEST(Lifetime, SigTerm_WhileServing_TearsDownOnceAndExits0) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  end_with(phone, SIGTERM);
  EXPECT_EQ(phone.log().count("receive signal: 15 - SIGTERM"), 1u);
  EXPECT_EQ(phone.log().count("pub_util_kill_thread()"), 3u);  // the three workers
  EXPECT_EQ(phone.log().count("delete timer.timerId:0."), 2u);
  EXPECT_EQ(phone.log().count("deleteTimer success, timerId[-1]"), 2u);
}

TEST(Lifetime, SigUsr2_WhileServing_TearsDownOnceAndExits0) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  end_with(phone, SIGUSR2);
  EXPECT_EQ(phone.log().count("receive signal: 12 - SIGUSR2"), 1u);
}

TEST(Lifetime, SigTerm_DuringStartUp_EndsAtTheNextWait) {
  handset::phone phone(raw_modem());
  phone.start();
  ASSERT_TRUE(phone.wait_log("open device \"/dev/ttyPC\" successfully"));
  end_with(phone, SIGTERM);
  EXPECT_EQ(phone.log().count("FATAL ERROR!!!"), 0u);
}

TEST(Lifetime, Signals_Twenty_StillOneTearDown) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  for (int round = 0; round < 20; ++round) phone.send_signal(round % 2 == 0 ? SIGTERM : SIGUSR2);
  expect_clean_end(phone);
}

TEST(Lifetime, SigUsr1_FromOutside_DoesNotEndTheProcess) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  phone.send_signal(SIGUSR1);
  ASSERT_TRUE(phone.wait_log("will be end"));
  EXPECT_TRUE(phone.service().running());
  end_with(phone, SIGTERM);
}

TEST(Lifetime, SigTerm_UnderTraffic_ExitsAtOnce) {
  for (int round = 0; round < 3; ++round) {
    handset::phone phone(raw_modem());
    start_serving(phone);
    for (int block = 0; block < 50; ++block) {
      ASSERT_TRUE(phone.pc().write_all("AT+TRAFFIC\r"));
      ASSERT_TRUE(phone.modem_end().write_all("\r\nOK\r\n"));
    }
    end_with(phone, SIGTERM);
  }
}

TEST(Lifetime, SigTerm_WhilePcDoesNotRead_ExitsAtOnce) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  // Fill the PC's tty until the modem reader is stuck in its write: then nothing more is taken from the modem.
  const std::string block(4000, 'm');
  while (phone.modem_end().write_all(block, 500ms)) {
  }
  end_with(phone, SIGTERM);
}

TEST(Lifetime, SigTerm_WhileModemDoesNotRead_ExitsAtOnce) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  const std::string block(4000, 'p');
  while (phone.pc().write_all(block, 500ms)) {
  }
  end_with(phone, SIGTERM);
}

TEST(Lifetime, PcTtyGone_EndsWithStatus0) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  phone.unplug_pc();
  expect_clean_end(phone);
  EXPECT_EQ(phone.log().count("LINE-4419, FUNC-amt_handle_read_pc_loop(), error_code=-1, errno=5"), 1u);
}

TEST(Lifetime, BothTtysGoneAtOnce_OneTearDownAndStatus0) {
  for (int round = 0; round < 3; ++round) {
    handset::phone phone(raw_modem());
    start_serving(phone);
    phone.unplug_modem();
    phone.unplug_pc();
    expect_clean_end(phone);
  }
}

TEST(Lifetime, SecondStart_AfterKill_IsNotTakenForADuplicate) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  phone.send_signal(SIGKILL);
  ASSERT_EQ(phone.wait_exit(), handset::killed(SIGKILL));
  start_serving(phone);
  ASSERT_TRUE(phone.pc().write_all("AT+AGAIN\r"));
  EXPECT_EQ(phone.modem_end().read_exactly(9), "AT+AGAIN\r");
  end_with(phone, SIGTERM);
}

TEST(Lifetime, Idle_NoThreadWakesButTheUsbMonitor) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  const auto lines = phone.log().size();
  // Three rounds of the monitor's 100 ms, seen from outside by asking a process of the phone to wait as long.
  phone.exec({"/bin/sleep", "0.4"});
  EXPECT_EQ(phone.log().size(), lines);
  end_with(phone, SIGTERM);
}

}  // namespace
