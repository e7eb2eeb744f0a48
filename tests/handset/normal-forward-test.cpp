// Radio requests: what the application sends, what the modem gets, and what comes back; first with the simulated
// modem's radio, then with answers that a test makes up.
#include <array>

#include "tests/handset/app-phone.h"

using namespace handset_test;

namespace {

const std::string DONE = "EE 01 01 0400 00000000";

// One request in a session of them. Frames and text in hexadecimal digits; an answer without its atom 1 has none.
struct exchange_st {
  unsigned m_id;
  const char* m_atoms;
  const char* m_text;  // after AT^DTTEST=
  unsigned m_answer_id;
  const char* m_answer_atoms;  // after a result of 0
};

void play(handset::phone& phone, const exchange_st& exchange) {
  SCOPED_TRACE(exchange.m_id);
  const auto& received = phone.simulated_modem().received(handset::modem_link::at);
  const auto mark = received.size();
  expect_answer(phone, frame(exchange.m_id, exchange.m_atoms),
                frame(exchange.m_answer_id, DONE + exchange.m_answer_atoms));
  EXPECT_EQ(received.text().substr(mark), std::string("AT^DTTEST=") + exchange.m_text + "\r");
}

constexpr exchange_st TRANSMITTER_AND_RECEIVER[] = {
    // Start at frequency 100 with power 5; the power and the ADC show that it transmits.
    {11, "EE 0A 01 0400 64000000  EE 0B 01 0400 05000000", "0B6400000005000000", 12, ""},
    {25, "", "19", 26, "EE 0D 01 0400 05000000"},
    {15, "EE 0B 01 0400 07000000", "0F07000000", 16, ""},
    {17, "EE 0A 01 0400 65000000", "1165000000", 18, ""},
    {59, "", "3B", 60, "EE 18 01 0400 07010000"},
    {13, "", "0D", 14, ""},
    {25, "", "19", 26, "EE 0D 01 0400 00000000"},
    // Receive at frequency 16, then at 254.
    {19, "EE 0A 01 0400 10000000", "1310000000", 20, ""},
    {23, "", "17", 24, "EE 0C 01 0400 08000000  EE 04 03 0800 1011121314151617"},
    {27, "EE 0A 01 0400 FE000000", "1BFE000000", 28, ""},
    {23, "", "17", 24, "EE 0C 01 0400 08000000  EE 04 03 0800 FEFF000102030405"},
    {21, "", "15", 22, ""},
};

constexpr exchange_st TABLES[] = {
    // Table 9 is written and read in memory, goes to flash, is replaced in memory and comes back.
    {49, "EE 03 01 0400 09000000  EE 04 03 0300 AABBCC", "3109000000AABBCC", 50, ""},
    {47, "EE 03 01 0400 09000000", "2F09000000", 48, "EE 04 03 0300 AABBCC"},
    {109, "EE 03 01 0400 09000000", "6D09000000", 110, "EE 2C 04 0100 00"},
    {101, "EE 03 01 0400 09000000", "6509000000", 102, ""},
    {109, "EE 03 01 0400 09000000", "6D09000000", 110, "EE 2C 04 0100 01"},
    {61, "EE 03 01 0400 09000000", "3D09000000", 62, "EE 04 03 0300 AABBCC"},
    {115, "EE 03 01 0400 09000000  EE 04 03 0100 00", "730900000000", 116, ""},
    {113, "EE 03 01 0400 09000000", "7109000000", 114, "EE 04 03 0100 00"},
    {107, "EE 03 01 0400 09000000", "6B09000000", 108, ""},
    {113, "EE 03 01 0400 09000000", "7109000000", 114, "EE 04 03 0300 AABBCC"},
    // Flash is written by itself; all tables go over when no number is given.
    {63, "EE 03 01 0400 02000000  EE 04 03 0200 1122", "3F020000001122", 64, ""},
    {153, "", "99", 154, ""},
    {47, "EE 03 01 0400 02000000", "2F02000000", 48, "EE 04 03 0200 1122"},
    {49, "EE 03 01 0400 03000000  EE 04 03 0100 33", "310300000033", 50, ""},
    {155, "", "9B", 156, ""},
    {61, "EE 03 01 0400 03000000", "3D03000000", 62, "EE 04 03 0100 33"},
    {111, "EE 03 01 0400 03000000", "6F03000000", 112, ""},
};

constexpr exchange_st IDENTITY_AND_TRANSPARENT[] = {
    {5, "EE 15 02 0F00 333532303939303031373631343831", "05333532303939303031373631343831", 6, ""},
    {87, "EE 26 02 0200 4237", "574237", 88, ""},
    {77, "", "4D", 78, "EE 22 03 0500 49512D4237"},
    {105, "EE 2B 03 0400 00FF0D0A", "6900FF0D0A", 106, "EE 2B 03 0400 00FF0D0A"},
    // Its values keep their lengths on the way to the modem.
    {151, "EE 3E 03 0300 010203", "970300010203", 152, "EE 3E 03 0300 010203"},
    // An indication's id is no request's: it answers itself.
    {221, "EE 3E 03 0200 5566", "DD5566", 221, "EE 3E 03 0200 5566"},
};

TEST(Forward, TransmitterAndReceiver_AreDriven) {
  handset::phone phone(platform());
  start_app_serving(phone);
  for (const auto& exchange : TRANSMITTER_AND_RECEIVER) play(phone, exchange);
  EXPECT_EQ(phone.simulated_modem().state().radio.tx_frequency, 101u);
  end_with(phone, SIGTERM);
}

TEST(Forward, Tables_AreWrittenAndReadBack) {
  handset::phone phone(platform());
  start_app_serving(phone);
  for (const auto& exchange : TABLES) play(phone, exchange);
}

TEST(Forward, IdentityAndTransparentControl_ReachTheModem) {
  handset::phone phone(platform());
  start_app_serving(phone);
  for (const auto& exchange : IDENTITY_AND_TRANSPARENT) play(phone, exchange);
  EXPECT_EQ(phone.simulated_modem().state().imei, "352099001761481");
}

// The forwarded ids that only have a result. With those in the sessions above, and 219, which another handler takes
// over, these are all.
constexpr unsigned RESULT_ONLY[] = {3,   1,   39,  41,  42,  43,  51,  53,  67,  69,  71,  73,  75,
                                    79,  81,  83,  93,  95,  97,  103, 117, 119, 121, 123, 125, 127,
                                    129, 131, 133, 135, 149, 201, 204, 205, 207, 209, 211};

TEST(Forward, EveryOtherId_CarriesItsValuesAndIsAnsweredWithTheResult) {
  handset::phone phone(platform());
  start_app_serving(phone);
  const auto& received = phone.simulated_modem().received(handset::modem_link::at);
  for (const unsigned id : RESULT_ONLY) {
    SCOPED_TRACE(id);
    const auto mark = received.size();
    // An integer, a string, bytes and a flag.
    expect_answer(phone, frame(id, "EE 02 01 0400 44332211  EE 03 02 0200 6F6B  EE 04 03 0200 00FF  EE 05 04 0100 07"),
                  result_frame(id + 1, "00000000"));
    const std::string digits = to_hex(std::string(1, static_cast<char>(id)));
    EXPECT_EQ(received.text().substr(mark), "AT^DTTEST=" + digits + "443322116F6B00FF07\r");
  }
  expect_answer(phone, frame(213, ""), result_frame(214, "00000000"));
  EXPECT_EQ(phone.simulated_modem().state().radio.settings.at(3), from_hex("443322116F6B00FF07"));
  end_with(phone, SIGTERM);
}

TEST(Forward, ModemReportsAResult_IsHandedOn) {
  handset::phone phone(platform());
  start_app_serving(phone);
  phone.simulated_modem().change_switches([](auto& switches) { switches.radio_result = 0x01020304; });
  expect_answer(phone, frame(13, ""), result_frame(14, "04030201"));
  // A flag follows, from the zeros that stand for what the modem did not send.
  expect_answer(phone, frame(109, "EE 03 01 0400 09000000"), frame(110, "EE 01 01 0400 04030201  EE 2C 04 0100 00"));
}

TEST(Forward, EmptyTable_ComesToAnErrorAnswer) {
  handset::phone phone(platform());
  start_app_serving(phone);
  expect_answer(phone, frame(23, ""), result_frame(24, "01000000"));  // the receiver is off: there is no data
  expect_answer(phone, frame(13, ""), result_frame(14, "00000000"));
}

TEST(Forward, ModemRefuses_ComesToAnErrorAnswer) {
  handset::phone phone(platform());
  start_app_serving(phone);
  for (const char* refusal : {"ERROR", "+CME ERROR: 100", "+CMS ERROR: 5"}) {
    SCOPED_TRACE(refusal);
    phone.simulated_modem().change_switches([&](auto& switches) {
      switches.refuse = true;
      switches.refusal = refusal;
    });
    expect_answer(phone, frame(13, ""), result_frame(14, "01000000"));
  }
}

TEST(Forward, BadFrame_IsAnErrorAndReachesNoModem) {
  handset::phone phone(platform());
  start_app_serving(phone);
  const auto& received = phone.simulated_modem().received(handset::modem_link::at);
  expect_answer(phone, from_hex("0600 BC 0D 0000"), result_frame(14, "01000000"));
  expect_log(phone, "command head mismatch: BC != BB");
  expect_answer(phone, frame(13, "EE 07 04 0200 0101"), result_frame(14, "01000000"));
  expect_log(phone, "atom length mismatch: 02 != 01");
  expect_answer(phone, frame(13, "EE 07 09 0100 01"), result_frame(14, "01000000"));
  expect_log(phone, "unknown atom value type: 09");
  expect_answer(phone, from_hex("0700 BB 0D 0100 ED"), result_frame(14, "01000000"));
  expect_log(phone, "atom head mismatch: ED != EE");
  EXPECT_EQ(received.text(), LINK_STATUS_OFF);
}

TEST(Forward, AnswerSplitAtEveryByte_IsOneAnswer) {
  handset::phone phone(platform());
  start_app_serving(phone);
  phone.simulated_modem().change_switches([](auto& switches) {
    switches.split = 1;
    switches.gap = 2ms;
  });
  const exchange_st version{77, "", "4D", 78, "EE 22 03 0300 49512D"};
  play(phone, version);
  expect_answer(phone, frame(7, ""), frame(8, "EE 15 02 0000" + DONE));
}

// A modem that the test plays.
class ForwardRaw : public testing::Test {
 protected:
  ForwardRaw() : m_phone(platform_with_raw_modem()) { start_app_with_raw_modem(m_phone); }
  void request(const std::string& bytes, std::string_view command) {
    ASSERT_TRUE(m_phone.app().write_all(bytes));
    ASSERT_EQ(m_phone.at_end().read_exactly(command.size()), command);
  }
  void answer(std::string_view text) { ASSERT_TRUE(m_phone.at_end().write_all(text)); }
  void expect(const std::string& bytes) { EXPECT_EQ(to_hex(m_phone.app().read_exactly(bytes.size())), to_hex(bytes)); }

  handset::phone m_phone;
};

TEST_F(ForwardRaw, SeveralAnswersInOneRead_AreEachHandedOn) {
  request(frame(13, ""), "AT^DTTEST=0D\r");
  // One line is taken off at each read: the second one waits for the read of the rest.
  answer("\r\n^DTTEST: 0E00000000\r\n\r\n^DTTEST: 1000000000\r\n");
  expect(result_frame(14, "00000000"));
  answer("\r\n");
  expect(result_frame(16, "00000000"));
  answer(OK);
  request(frame(15, ""), "AT^DTTEST=0F\r");
}

TEST_F(ForwardRaw, IndicationBeforeTheAnswer_IsHandedOnToo) {
  request(frame(151, "EE 3E 03 0100 07"), "AT^DTTEST=97010007\r");
  answer("\r\n^DTTEST: DD0000000001000A\r\n");
  expect(frame(221, DONE + "EE 3E 03 0100 0A"));
  answer("\r\n^DTTEST: 98000000000100FF\r\n\r\nOK\r\n");
  expect(frame(152, DONE + "EE 3E 03 0100 FF"));
}

TEST_F(ForwardRaw, LowerCaseAnswer_IsUnderstood) {
  request(frame(25, ""), "AT^DTTEST=19\r");
  answer("\r\n^DTTEST: 1a00000000abcdef01\r\n\r\nOK\r\n");
  expect(frame(26, DONE + "EE 0D 01 0400 01EFCDAB"));
}

TEST_F(ForwardRaw, OkAlone_IsNoAnswerAndTheNextRequestIsServed) {
  request(frame(13, ""), "AT^DTTEST=0D\r");
  answer(OK);
  request(frame(15, ""), "AT^DTTEST=0F\r");
  answer("\r\n^DTTEST: 1000000000\r\n\r\nOK\r\n");
  expect(result_frame(16, "00000000"));
}

TEST_F(ForwardRaw, ErrorAfterAnAnswer_GivesBoth) {
  request(frame(13, ""), "AT^DTTEST=0D\r");
  answer("\r\n^DTTEST: 0E00000000\r\n");
  expect(result_frame(14, "00000000"));
  answer("\r\n+CME ERROR: 100\r\n");
  expect(result_frame(14, "01000000"));
}

TEST_F(ForwardRaw, NoFinalResultIn4096Bytes_IsAnErrorAnswerAtTheFinalResultAndALine) {
  request(frame(13, ""), "AT^DTTEST=0D\r");
  answer(std::string(4096, 'x'));
  answer("\r\nOK\r\n");
  expect(result_frame(14, "01000000"));
  expect_log(m_phone, "LINE-1045, FUNC-read_at(), error_code=-101");
  end_with(m_phone, SIGTERM);
}

TEST_F(ForwardRaw, LongCommand_IsSentWhole) {
  // As long as the terminal is sure to hand over in one piece.
  const std::string values(std::size_t{2} * 1700, 'A');
  request(frame(49, "EE 04 03 A406" + values), "AT^DTTEST=31" + values + "\r");
  answer("\r\n^DTTEST: 3200000000\r\n\r\nOK\r\n");
  expect(result_frame(50, "00000000"));
}

TEST_F(ForwardRaw, ModemSilent_BlocksUntilSigTerm) {
  request(frame(13, ""), "AT^DTTEST=0D\r");
  ASSERT_TRUE(m_phone.log().wait_count("read_at()", 1));
  const auto start = std::chrono::steady_clock::now();
  end_with(m_phone, SIGTERM);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

}  // namespace
