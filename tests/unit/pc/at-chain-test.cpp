// Which command is answered when a text holds several, and the command that needs the board's library.
#include "amt/amt-device/misc-library.h"
#include "tests/unit/pc/phone-test.h"

namespace {

constexpr char LIBRARY[] = "/system/lib64/hw/amt.vx5210.misc.so";

class AtChain : public phone_test {
 protected:
  AtChain() {
    amt_device_init_library_paths();
    write("/amt/BT/BT_Address.txt", "BT\n");
    write("/amt/WIFI/WIFI_nvram.txt", "WIFI\n");
    write("/amt/sn-2.txt", "SN");
  }
  static void install_library(const char* which) {
    fs::create_directories(fs::path(LIBRARY).parent_path());
    fs::remove(LIBRARY);
    fs::copy_file(which, LIBRARY);
  }
};

// The text holds the commands in the reverse order of the chain. The last one in the text, which is the first in the
// chain, is answered; without it, the next one is.
TEST_F(AtChain, TextOfAllCommands_IsAnsweredInTheChainsOrder) {
  install_library(IDLE_LIBRARY);
  const std::vector<std::pair<std::string, std::string>> chain = {
      {"AT^DBTADDR?\r", "\r\n^DBTADDR: \"BT\"\r\n\r\nOK\r\n"},
      {"AT^DBTADDR=?\r", OK},
      {"AT^DWIFIADDR?\r", "\r\n^DWIFIADDR: \"WIFI\"\r\n\r\nOK\r\n"},
      {"AT^DSVER\r", "\r\n^DSVER:  \r\n\r\nOK\r\n"},
      {"AT^DGPSCTRL=9\r", ERROR},
      {"AT^DPCBACTRL=1\r", "\r\n^DPCBACTRL: SN\r\n\r\nOK\r\n"},
      {"AT^DAMT1=2\r", "\r\n^DAMT1: 1\r\n\r\nOK\r\n"},
      {"AT^DENTERIDLE\r", OK},
      {"AT^DBOOTDLFIN\r", "\r\n^DBOOTDLFIN: 1\r\n\r\nOK\r\n"},
  };
  for (std::size_t first = 0; first < chain.size(); ++first) {
    std::string text;
    for (std::size_t at = chain.size(); at > first; --at) text += chain[at - 1].first;
    EXPECT_EQ(send(text), chain[first].second) << text;
    EXPECT_EQ(m_modem.received(), "");
  }
}

TEST_F(AtChain, FullRecordWithoutACommand_GoesToTheModem) {
  EXPECT_TRUE(is_passed_on("AT^D" + std::string(4090, 'x') + "\r"));
}

TEST_F(AtChain, CommandAtTheEndOfAFullRecord_IsFound) {
  EXPECT_THAT(send(std::string(4083, 'x') + "AT^DBTADDR?\r"), testing::HasSubstr("^DBTADDR: \"BT\""));
}

TEST_F(AtChain, CommandBehindAZeroByte_IsNotSeen) {
  EXPECT_TRUE(is_passed_on(std::string("AT\0AT^DBTADDR?\r", 15)));
}

TEST_F(AtChain, LowerCase_IsNotTheCommand) {
  EXPECT_TRUE(is_passed_on("at^dbtaddr?\r"));
}

TEST_F(AtChain, Idle_AsksTheBoardAndIsOk) {
  install_library(IDLE_LIBRARY);
  EXPECT_EQ(send("AT^DENTERIDLE\r"), OK);
  EXPECT_TRUE(m_log.has_in_a_row({"handle_amt_enter_idle_at()", "amt_make_ue_enter_idle()", "will call enter_idle.",
                                  "stop call enter_idle. return value:0.", "enter_idle return OK."}));
}

TEST_F(AtChain, IdleAmongOtherText_IsRecognised) {
  install_library(IDLE_LIBRARY);
  EXPECT_EQ(send("xxAT^DENTERIDLE=1"), OK);
}

TEST_F(AtChain, IdleThatTheBoardRefuses_IsAnsweredError) {
  install_library(REFUSING_LIBRARY);
  EXPECT_EQ(send("AT^DENTERIDLE\r"), ERROR);
  EXPECT_TRUE(m_log.has("stop call enter_idle. return value:-5."));
  EXPECT_FALSE(m_log.has("enter_idle return OK."));
}

TEST_F(AtChain, IdleWithoutTheLibrary_IsAnsweredError) {
  EXPECT_EQ(send("AT^DENTERIDLE\r"), ERROR);
  EXPECT_TRUE(m_log.contains("call dlopen fail: - "));
  EXPECT_THAT(m_log.texts(), testing::Contains(failure_line("amt/amt-device", "amt_make_ue_enter_idle", -118)));
}

}  // namespace
