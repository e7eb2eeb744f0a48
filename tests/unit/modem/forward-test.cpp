// Radio requests to the modem and back.
#include "amt/amt-handle/modem/forward.h"

#include "tests/unit/modem/modem-test.h"

namespace {

// Stop transmitting, with an integer whose bytes stand in the frame as 00 00 00 05.
constexpr char STOP_TX[] = "0F 00 BB 0D 09 00 EE 02 01 04 00 00 00 00 05";
constexpr char STOP_TX_TEXT[] = "AT^DTTEST=0D00000005\r";
constexpr std::string_view STOPPED = "\r\n^DTTEST: 0E00000000\r\n\r\nOK\r\n";
constexpr char STOPPED_FRAME[] = "0F 00 BB 0E 09 00 EE 01 01 04 00 00 00 00 00";

class Forward : public modem_test {
 protected:
  std::int32_t stop_tx() { return run(amt_modem_handle_req, STOP_TX); }
};

TEST_F(Forward, Request_GoesOutAsHexadecimalTextWithOneReturn) {
  modem_says({STOPPED});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_modem(), STOP_TX_TEXT);
  EXPECT_EQ(to_app(), STOPPED_FRAME);
}

TEST_F(Forward, LinkOtherThanPcAndApp_IsServedOnTheAppLink) {
  modem_says({STOPPED});
  EXPECT_EQ(run(amt_modem_handle_req, STOP_TX, 254), ERR_NONE);
  EXPECT_EQ(to_app(), STOPPED_FRAME);
}

TEST_F(Forward, SecondRequest_FindsNothingOfTheFirst) {
  modem_says({"\r\n^DTTEST: 0E00000001\r\n\r\nOK\r\n"});
  modem_says({"\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  to_app();
  EXPECT_EQ(run(amt_modem_handle_req, "06 00 BB 0D 00 00"), ERR_NONE);
  EXPECT_EQ(to_modem(), std::string(STOP_TX_TEXT) + "AT^DTTEST=0D\r");
  EXPECT_EQ(to_app(), "");
}

// The answer comes in one, two or as many reads as it has bytes. What comes after the "OK" stays for the next request.
TEST_F(Forward, AnswerSplitAnywhere_GivesTheSameResponse) {
  for (std::size_t at = 1; at + 3 < STOPPED.size(); ++at) {
    modem_says_split(STOPPED, at);
    EXPECT_EQ(stop_tx(), ERR_NONE) << at;
    EXPECT_EQ(to_app(), STOPPED_FRAME) << at;
  }
}

TEST_F(Forward, AnswerInSingleBytes_GivesTheSameResponse) {
  modem_says_bytewise(STOPPED);
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), STOPPED_FRAME);
}

TEST_F(Forward, OkWithoutALine_SendsNothing) {
  modem_says({"\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), "");
}

TEST_F(Forward, OkAnywhere_EndsTheRequest) {
  modem_says({"+NOTE: OKAY"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), "");
}

TEST_F(Forward, TwoLinesInTwoReads_AreTwoResponses) {
  modem_says({"\r\n^DTTEST: 0E00000001\r\n", "\r\n^DTTEST: 0E00000002\r\n", "\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), "0F 00 BB 0E 09 00 EE 01 01 04 00 01 00 00 00 0F 00 BB 0E 09 00 EE 01 01 04 00 02 00 00 00");
}

// One line is taken in each round; the second waits for the next read.
TEST_F(Forward, TwoLinesInOneRead_AreTakenOneForEachRead) {
  modem_says({"\r\n^DTTEST: 0E00000001\r\n\r\n^DTTEST: 0E00000002\r\n", "\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), "0F 00 BB 0E 09 00 EE 01 01 04 00 01 00 00 00 0F 00 BB 0E 09 00 EE 01 01 04 00 02 00 00 00");
}

TEST_F(Forward, TwoLinesAndOkInOneRead_AreOneResponse) {
  modem_says({"\r\n^DTTEST: 0E00000001\r\n\r\n^DTTEST: 0E00000002\r\n\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), "0F 00 BB 0E 09 00 EE 01 01 04 00 01 00 00 00");
}

// After the second line the decoder reads zeros, not the rest of the first.
TEST_F(Forward, ShortLineAfterALongOne_SeesNothingOfIt) {
  modem_says({"\r\n^DTTEST: 0E00000000" + std::string(80, 'F') + "\r\n", "\r\n^DTTEST: 1A00000000\r\n", "\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(),
            std::string(STOPPED_FRAME) + " 18 00 BB 1A 12 00 EE 01 01 04 00 00 00 00 00 EE 0D 01 04 00 00 00 00 00");
}

TEST_F(Forward, LineAfterTheOk_BelongsToNobody) {
  modem_says({"\r\nOK\r\n", "\r\n^DTTEST: 0E00000001\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), "");
}

TEST_F(Forward, NoiseAroundTheLine_IsLeftOut) {
  modem_says({"\r\n+CREG: 1\r\n\r\n^DTTEST: 0e00000000\r\n\r\n+CSQ: 9\r\n\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), STOPPED_FRAME);
}

struct error_row {
  const char* m_name;
  std::string_view m_answer;
  const char* m_response;
};

class ForwardError : public Forward, public testing::WithParamInterface<error_row> {};

TEST_P(ForwardError, OfTheModem_FailsAfterWhatCameBefore) {
  modem_says({GetParam().m_answer});
  EXPECT_EQ(stop_tx(), ERR_FAIL);
  EXPECT_TRUE(has_trace("amt_modem_handle_req", ERR_FAIL));
  EXPECT_EQ(to_app(), GetParam().m_response);
}

INSTANTIATE_TEST_SUITE_P(
    Each, ForwardError,
    testing::Values(error_row{"Cme", "\r\n+CME ERROR: 100\r\n", ""}, error_row{"Cms", "\r\n+CMS ERROR: 1\r\n", ""},
                    error_row{"Plain", "\r\nERROR\r\n", ""},
                    error_row{"BehindALine", "\r\n^DTTEST: 0E00000000\r\n\r\nERROR\r\n", STOPPED_FRAME}),
    [](const auto& row) { return row.param.m_name; });

struct filled_row {
  const char* m_name;
  std::string_view m_answer;
  const char* m_response;
};

class ForwardFilled : public Forward, public testing::WithParamInterface<filled_row> {};

// n characters give n bytes: the second half is decoded from what follows the line.
TEST_P(ForwardFilled, ResponseShorterThanItsAtoms_IsFilledFromBehindTheLine) {
  modem_says({GetParam().m_answer});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), GetParam().m_response);
}

INSTANTIATE_TEST_SUITE_P(Each, ForwardFilled,
                         testing::Values(
                             // After the five bytes come "\r\n", "\r\n", "OK", "\r\n": no digits.
                             filled_row{"ResultOnly", "\r\n^DTTEST: 1A00000000\r\n\r\nOK\r\n",
                                        "18 00 BB 1A 12 00 EE 01 01 04 00 00 00 00 00 EE 0D 01 04 00 00 00 00 00"},
                             // "\r\n", "AB", "CD", "\r\n" are the bytes of the integer.
                             filled_row{"DigitsBehindTheLine", "\r\n^DTTEST: 1A00000000\r\nABCD\r\nOK\r\n",
                                        "18 00 BB 1A 12 00 EE 01 01 04 00 00 00 00 00 EE 0D 01 04 00 00 CD AB 00"},
                             // "\r\n", "9Z", "9\r", "\n9": a digit alone in its place still counts there.
                             filled_row{"HalfDigits", "\r\n^DTTEST: 1A00000000\r\n9Z9\r\n9OK\r\n",
                                        "18 00 BB 1A 12 00 EE 01 01 04 00 00 00 00 00 EE 0D 01 04 00 09 90 90 00"},
                             filled_row{"OddCharacter", "\r\n^DTTEST: 6400000000F\r\n\r\nOK\r\n",
                                        "15 00 BB 64 0F 00 EE 01 01 04 00 00 00 00 00 EE 29 04 01 00 F0"},
                             filled_row{"FlagOnly", "\r\n^DTTEST: 6400000000\r\n\r\nOK\r\n",
                                        "15 00 BB 64 0F 00 EE 01 01 04 00 00 00 00 00 EE 29 04 01 00 00"}),
                         [](const auto& row) { return row.param.m_name; });

TEST_F(Forward, EmptyLine_FailsAfterTheFinalResult) {
  modem_says({"\r\n^DTTEST: \r\n\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_ARGUMENT);
  EXPECT_EQ(to_app(), "");
}

// A length of 0 in front of a byte string means no response.
TEST_F(Forward, FailedConversion_GivesItsCodeAfterTheFinalResult) {
  modem_says({"\r\n^DTTEST: 30000000000000000000\r\n\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_ARGUMENT);
  EXPECT_EQ(to_app(), "");
}

// Whatever went wrong before, the final result belongs to this request: the next one gets its own answer.
TEST_F(Forward, FailedConversion_ReadsOnToTheFinalResult) {
  modem_says({"\r\n^DTTEST: 30000000000000000000\r\n", "\r\nOK\r\n"});
  modem_says({STOPPED});
  EXPECT_EQ(stop_tx(), ERR_ARGUMENT);
  EXPECT_EQ(to_app(), "");
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), STOPPED_FRAME);
  EXPECT_FALSE(m_log.contains("drop from AT link"));
}

TEST_F(Forward, FailedSend_ReadsOnToTheFinalResult) {
  set_link(g_handle_context.m_pty_app.m_ptm_fd, 0);
  modem_says({"\r\n^DTTEST: 0E00000000\r\n", "\r\n", "OK\r\n"});
  modem_says({"\r\n+CME ERROR: 1\r\n"});
  EXPECT_EQ(stop_tx(), ERR_FAIL);
  EXPECT_TRUE(m_log.has("invalid fd"));
  m_log.clear();
  EXPECT_EQ(stop_tx(), ERR_FAIL);
  EXPECT_TRUE(m_log.has("receive <== \r\n+CME ERROR: 1\r\n"));
}

TEST_F(Forward, FirstOfTwoLinesFails_StaysTheResult) {
  modem_says({"\r\n^DTTEST: 30000000000000000000\r\n", "\r\n^DTTEST: 0E00000000\r\n\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_ARGUMENT);
  EXPECT_EQ(to_app(), STOPPED_FRAME);
}

TEST_F(Forward, FailedConversionThenAnErrorOfTheModem_IsTheModemsFailure) {
  modem_says({"\r\n^DTTEST: 30000000000000000000\r\n", "\r\n+CME ERROR: 9\r\n"});
  EXPECT_EQ(stop_tx(), ERR_FAIL);
}

// What came before the command answers something else.
TEST_F(Forward, WhatWaitsOnTheLink_IsDroppedBeforeTheCommand) {
  m_at.send("\r\n+CREG: 1\r\n");
  m_at.send("\r\nOK\r\n");
  modem_says({"\r\n^DTTEST: 0E00000001\r\n\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), "0F 00 BB 0E 09 00 EE 01 01 04 00 01 00 00 00");
  EXPECT_TRUE(m_log.has_in_a_row({"drop from AT link: : (data_len = 12) -- 0D0A2B435245473A20310D0A",
                                  "drop from AT link: : (data_len = 6) -- 0D0A4F4B0D0A", "WARNING !",
                                  "dropped 18 bytes that waited on the AT link"}));
}

TEST_F(Forward, BadRequestFrame_WritesNothingToTheModem) {
  EXPECT_EQ(run(amt_modem_handle_req, "06 00 BA 0D 00 00"), ERR_FAIL);
  EXPECT_EQ(to_modem(), "");
}

// A request whose AT data has `length` bytes.
void set_request_of(std::size_t length) {
  auto& request = g_handle_context.m_request;
  amt_message_clear(request);
  amt_frame_init(&request.m_buf_a, 13);
  const std::string value(length - 1, '\x5A');
  amt_frame_add_string(&request.m_buf_a, 2, value.c_str());
  request.m_buf_len = amt_frame_total_length(&request.m_buf_a);
}

TEST_F(Forward, LongestCommand_IsSent) {
  set_request_of(2041);
  modem_says({"\r\nOK\r\n"});
  EXPECT_EQ(amt_modem_handle_req(AMT_LINK_APP, &g_handle_context.m_request, &g_handle_context.m_response), ERR_NONE);
  std::string wanted = "AT^DTTEST=0D";
  for (int i = 0; i < 2040; ++i) wanted += "5A";
  EXPECT_EQ(to_modem(), wanted + "\r");
}

TEST_F(Forward, CommandOneByteLonger_IsRefused) {
  set_request_of(2042);
  EXPECT_EQ(amt_modem_handle_req(AMT_LINK_APP, &g_handle_context.m_request, &g_handle_context.m_response), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_modem_handle_req", ERR_FAIL, "(10 + 2042 * 2 + 2) < 4096"));
  EXPECT_EQ(to_modem(), "");
}

// There is no room left: the rest is read and dropped up to the final result, which is still seen when it comes across
// the record's end, and what was kept of the answer counts for nothing.
TEST_F(Forward, AnswerLongerThanTheRecord_FailsAtItsFinalResult) {
  const std::string noise(1000, 'x');
  modem_says({noise, noise, noise, noise, std::string(93, 'x') + "\r\nO", "K\r\n"});
  modem_says({noise, noise, noise, noise, noise.substr(0, 96), STOPPED});
  modem_says({"\r\n^DTTEST: 0E00000001\r\n\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_ARGUMENT);
  EXPECT_TRUE(has_failure("read_at", ERR_ARGUMENT, "the modem's answer is longer than 4096"));
  EXPECT_EQ(stop_tx(), ERR_ARGUMENT);
  EXPECT_EQ(to_app(), "");
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), "0F 00 BB 0E 09 00 EE 01 01 04 00 01 00 00 00");
}

TEST_F(Forward, EndlessAnswer_FailsWithTheModemsError) {
  const std::string noise(1000, 'x');
  modem_says({noise, noise, noise, noise, noise, noise, "\r\n+CME ER", "ROR: 1\r\n"});
  EXPECT_EQ(stop_tx(), ERR_FAIL);
}

// 4096 bytes exactly, of which the last make the final result.
TEST_F(Forward, RecordFullWithTheFinalResult_Succeeds) {
  const std::string noise(4090, 'x');
  modem_says({noise, "\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
}

// The line ends with the record: after it the decoder reads zeros, not the memory after the record.
TEST_F(Forward, LineAtTheRecordsEnd_IsFilledWithZeros) {
  const std::string line = "\r\n^DTTEST: 1A00000000\r\n";
  const std::string noise(4096 - line.size(), 'x');
  modem_says({noise, line, "\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  EXPECT_EQ(to_app(), "18 00 BB 1A 12 00 EE 01 01 04 00 00 00 00 00 EE 0D 01 04 00 00 00 00 00");
}

// As long a line as the record holds: a byte string of 2030 bytes.
TEST_F(Forward, LongestLine_GivesItsFrame) {
  std::string text = "3000000000EE070000";
  for (int i = 0; i < 2030; ++i) text += "A5";
  const std::string answer = "\r\n^DTTEST: " + text + "\r\n";
  ASSERT_LE(answer.size(), AMT_FRAME_SIZE);
  modem_says({answer, "\r\nOK\r\n"});
  EXPECT_EQ(stop_tx(), ERR_NONE);
  const std::string frame = m_app.received();
  EXPECT_EQ(frame.size(), 6u + 9u + 5u + 2030u);
  EXPECT_EQ(frame.substr(20), std::string(2030, '\xA5'));
}

TEST_F(Forward, ClosedModemLink_Fails) {
  set_link(g_handle_context.m_fd_at, 0);
  EXPECT_EQ(stop_tx(), ERR_FAIL);
  EXPECT_EQ(to_app(), "");
}

// The modem's tty was reset: it is opened anew, silenced, and the command sent once more.
TEST_F(Forward, ResetModemLink_IsRepairedWithinTheRequest) {
  pty_link lost;
  pty_link fresh;
  set_device(g_amt_cfg.m_tty_at_mux_a, fresh.name());
  set_link(g_handle_context.m_fd_at, lost.service_end());
  lost.hang_up();
  std::thread modem([&fresh] {
    EXPECT_EQ(fresh.receive_once(10), "AT^DLKS=0\r");
    fresh.send("\r\nOK\r\n");
    EXPECT_EQ(fresh.receive_once(64), STOP_TX_TEXT);
    fresh.send(STOPPED);
  });
  EXPECT_EQ(stop_tx(), ERR_NONE);
  modem.join();
  EXPECT_EQ(to_app(), STOPPED_FRAME);
}

TEST_F(Forward, BadArguments_AreRefused) {
  expect_refusals(amt_modem_handle_req, "amt_modem_handle_req");
  EXPECT_EQ(run(amt_modem_handle_req, STOP_TX, 0), ERR_ARGUMENT);
  EXPECT_EQ(to_modem(), "");
}

TEST_F(Forward, NoModem_IsRefused) {
  expect_refusal_without_modem(amt_modem_handle_req);
}

}  // namespace
