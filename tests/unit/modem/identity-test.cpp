// The identities that the modem keeps.
#include "amt/amt-handle/modem/identity.h"

#include "tests/unit/modem/modem-test.h"

namespace {

constexpr char READ_IMEI[] = "06 00 BB 07 00 00";
constexpr char READ_BOARD[] = "06 00 BB 55 00 00";
constexpr char READ_SERIAL[] = "06 00 BB EA 00 00";
constexpr char IMEI_FAILURE[] = "0F 00 BB 08 09 00 EE 01 01 04 00 0A 00 00 00";
constexpr char BOARD_FAILURE[] = "0F 00 BB 56 09 00 EE 01 01 04 00 0A 00 00 00";
constexpr char SERIAL_FAILURE[] = "0F 00 BB EB 09 00 EE 01 01 04 00 0A 00 00 00";
constexpr char IMEI_FRAME[] =
    "23 00 BB 08 1D 00 EE 15 02 0F 00 38 36 30 30 30 31 30 32 30 33 30 34 30 35 30 EE 01 01 04 00 00 00 00 00";
constexpr std::string_view IMEI_ANSWER = "\r\n^DGSN: 860001020304050\r\n\r\nOK\r\n";

class Identity : public modem_test {};

TEST_F(Identity, ReadImei_AnswersItAsAString) {
  modem_says({IMEI_ANSWER});
  EXPECT_EQ(run(amt_modem_handle_read_imei, READ_IMEI), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DGSN?\r");
  EXPECT_EQ(to_app(), IMEI_FRAME);
}

TEST_F(Identity, AnswerSplitAnywhere_GivesTheSameResponse) {
  for (std::size_t at = 1; at < IMEI_ANSWER.size(); ++at) {
    modem_says_split(IMEI_ANSWER, at);
    EXPECT_EQ(run(amt_modem_handle_read_imei, READ_IMEI), ERR_NONE) << at;
    EXPECT_EQ(to_app(), IMEI_FRAME) << at;
  }
}

TEST_F(Identity, AnswerInSingleBytes_GivesTheSameResponse) {
  modem_says_bytewise(IMEI_ANSWER);
  EXPECT_EQ(run(amt_modem_handle_read_imei, READ_IMEI), ERR_NONE);
  EXPECT_EQ(to_app(), IMEI_FRAME);
  EXPECT_FALSE(g_handle_context.m_at_exchange.m_is_owed);  // else the next command would wait for the answer's rest
}

TEST_F(Identity, ReadBoard_AnswersItAsAString) {
  modem_says({"\r\n^DMSN:  SN-1\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_handle_read_board, READ_BOARD), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DMSN\r");
  EXPECT_EQ(to_app(), "18 00 BB 56 12 00 EE 26 02 04 00 53 4E 2D 31 EE 01 01 04 00 00 00 00 00");
}

TEST_F(Identity, ReadSerial_AnswersTheBoardNumberAsBytesAndLogsEachRead) {
  modem_says({"\r\n^DMSN:SN-1\r\n", "\r\nOK\r\n"});
  EXPECT_EQ(run(amt_read_serial_number, READ_SERIAL), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DMSN\r");
  EXPECT_EQ(to_app(), "18 00 BB EB 12 00 EE A3 03 04 00 53 4E 2D 31 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("amt_read_serial_number :\r\n^DMSN:SN-1\r\n"));
  EXPECT_TRUE(m_log.has("amt_read_serial_number :\r\n^DMSN:SN-1\r\n\r\nOK\r\n"));
  EXPECT_TRUE(m_log.has("get serial-number success. serial-number:[len:4 content:SN-1]"));
}

TEST_F(Identity, EmptyValue_IsAnsweredAsSuch) {
  modem_says({"\r\n^DMSN:\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_handle_read_board, READ_BOARD), ERR_NONE);
  EXPECT_EQ(to_app(), "14 00 BB 56 0E 00 EE 26 02 00 00 EE 01 01 04 00 00 00 00 00");
  modem_says({"\r\n^DMSN:\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_read_serial_number, READ_SERIAL), ERR_NONE);
  EXPECT_EQ(to_app(), "14 00 BB EB 0E 00 EE A3 03 00 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(Identity, ValueOf38Characters_IsAnswered) {
  modem_says({"\r\n^DMSN:" + std::string(38, '7') + "\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_handle_read_board, READ_BOARD), ERR_NONE);
  std::string wanted = "3A 00 BB 56 34 00 EE 26 02 26 00";
  for (int i = 0; i < 38; ++i) wanted += " 37";
  EXPECT_EQ(to_app(), wanted + " EE 01 01 04 00 00 00 00 00");
}

struct identity_failure_row {
  const char* m_name;
  std::string m_answer;
};

class IdentityFailure : public Identity, public testing::WithParamInterface<identity_failure_row> {};

TEST_P(IdentityFailure, OfEachRead_IsAnsweredWithAnErrorResponse) {
  modem_says({GetParam().m_answer});
  EXPECT_EQ(run(amt_modem_handle_read_board, READ_BOARD), ERR_NONE);
  EXPECT_EQ(to_app(), BOARD_FAILURE);
  EXPECT_TRUE(has_trace("amt_modem_handle_read_board", ERR_FAIL));
  modem_says({GetParam().m_answer});
  EXPECT_EQ(run(amt_read_serial_number, READ_SERIAL), ERR_NONE);
  EXPECT_EQ(to_app(), SERIAL_FAILURE);
  EXPECT_TRUE(has_trace("amt_read_serial_number", ERR_FAIL));
  modem_says({GetParam().m_answer});
  EXPECT_EQ(run(amt_modem_handle_read_imei, READ_IMEI), ERR_NONE);
  EXPECT_EQ(to_app(), IMEI_FAILURE);
  EXPECT_TRUE(has_trace("amt_modem_handle_read_imei", ERR_FAIL));
}

INSTANTIATE_TEST_SUITE_P(
    Each, IdentityFailure,
    testing::Values(
        identity_failure_row{"OkOnly", "\r\nOK\r\n"}, identity_failure_row{"OtherLine", "\r\n^X: 1\r\n\r\nOK\r\n"},
        identity_failure_row{"LineBehindTheOk", "\r\nOK\r\n\r\n^DMSN:1\r\n\r\n^DGSN: 1\r\n"},
        identity_failure_row{"Error", "\r\nERROR\r\n"}, identity_failure_row{"Cme", "\r\n+CME ERROR: 3\r\n"},
        identity_failure_row{"Cms", "\r\n+CMS ERROR: 3\r\n"},
        identity_failure_row{"ValueOf39Characters", "\r\n^DGSN: " + std::string(39, '7') +
                                                        "\r\n\r\n^DMSN:" + std::string(39, '7') + "\r\n\r\nOK\r\n"}),
    [](const auto& row) { return row.param.m_name; });

TEST_F(Identity, AnswerLongerThanTheRecord_FailsThoughItEndsWell) {
  const std::string noise(2000, 'x');
  modem_says({noise, noise, noise, IMEI_ANSWER});
  EXPECT_EQ(run(amt_modem_handle_read_imei, READ_IMEI), ERR_NONE);
  EXPECT_EQ(to_app(), IMEI_FAILURE);
}

// An application that has gone gets no answer, and the next one none to a request that was not its own.
TEST_F(Identity, ApplicationLeavesWhileTheModemIsSilent_EndsTheRequestUnanswered) {
  std::thread application([this] {
    usleep(50'000);
    m_app.hang_up();
  });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(run(amt_modem_handle_read_imei, READ_IMEI), ERR_FAIL);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
  application.join();
  EXPECT_TRUE(has_failure("read_at", ERR_FAIL, "the application has left, the modem is silent"));
  EXPECT_TRUE(m_log.has("invalid fd"));
  EXPECT_TRUE(g_handle_context.m_has_app_left);
}

// The modem's work is done all the same, when it answers at once.
TEST_F(Identity, ApplicationThatHasLeft_GetsNoAnswerThoughTheModemGivesOne) {
  std::thread modem([this] {
    usleep(50'000);
    m_app.hang_up();
    usleep(50'000);
    m_at.send(IMEI_ANSWER);
  });
  EXPECT_EQ(run(amt_modem_handle_read_imei, READ_IMEI), ERR_FAIL);
  modem.join();
  EXPECT_FALSE(m_log.contains("the modem is silent"));
  EXPECT_TRUE(m_log.has("invalid fd"));
  EXPECT_FALSE(g_handle_context.m_at_exchange.m_is_owed);
}

// Ten seconds, as long as it takes; a modem that is silent again is not logged again.
TEST_F(Identity, SilentModem_IsLoggedOnceAfterTenSeconds) {
  std::thread modem([this] {
    usleep(10'200'000);
    m_at.send("\r\n^DGSN: 8600");
    usleep(100'000);
    m_at.send("01020304050\r\n\r\nOK\r\n");
  });
  EXPECT_EQ(run(amt_modem_handle_read_imei, READ_IMEI), ERR_NONE);
  modem.join();
  EXPECT_TRUE(m_log.has_in_a_row({"WARNING !", "no answer from modem to \"AT^DGSN?\" for 10 seconds, waiting on"}));
  EXPECT_EQ(to_app(), IMEI_FRAME);
}

TEST_F(Identity, ImeiPrefixWithoutItsBlank_IsNone) {
  modem_says({"\r\n^DGSN:860001020304050\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_handle_read_imei, READ_IMEI), ERR_NONE);
  EXPECT_EQ(to_app(), IMEI_FAILURE);
}

TEST_F(Identity, LinkThatFails_IsAnsweredWithAnErrorResponse) {
  set_link(g_handle_context.m_fd_at, 0);
  EXPECT_EQ(run(amt_modem_handle_read_imei, READ_IMEI), ERR_NONE);
  EXPECT_EQ(to_app(), IMEI_FAILURE);
}

TEST_F(Identity, LinkThatFailsWhileReading_IsAnsweredWithAnErrorResponse) {
  modem_says({"\r\n^DGSN: 86"});
  m_at.hang_up_now();
  g_no_modem = 0;
  EXPECT_EQ(run(amt_modem_handle_read_imei, READ_IMEI), ERR_NONE);
  EXPECT_EQ(to_app(), IMEI_FAILURE);
}

TEST_F(Identity, BadArguments_AreRefused) {
  expect_refusals(amt_modem_handle_read_imei, "amt_modem_handle_read_imei");
  expect_refusals(amt_modem_handle_read_board, "amt_modem_handle_read_board");
  expect_refusals(amt_read_serial_number, "amt_read_serial_number");
}

TEST_F(Identity, NoModem_IsRefused) {
  expect_refusal_without_modem(amt_modem_handle_read_imei);
  expect_refusal_without_modem(amt_modem_handle_read_board);
  expect_refusal_without_modem(amt_read_serial_number);
}

}  // namespace
