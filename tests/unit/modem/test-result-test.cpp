// The results of the test stations, at the modem and in the files.
#include "amt/amt-handle/modem/test-result.h"

#include "tests/unit/modem/modem-test.h"
#include "tests/unit/phone-root.h"

namespace {

constexpr char WRITE_3_1_OK[] =
    "1F 00 BB 5B 19 00 EE 27 01 04 00 03 00 00 00 EE 24 01 04 00 01 00 00 00 EE 25 02 02 00 6F 6B";
constexpr char WRITE_3_1[] = "18 00 BB 5B 12 00 EE 27 01 04 00 03 00 00 00 EE 24 01 04 00 01 00 00 00";
constexpr char WRITTEN[] = "0F 00 BB 5C 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char WRITE_FAILURE[] = "0F 00 BB 5C 09 00 EE 01 01 04 00 0A 00 00 00";
constexpr char READ_7[] = "0F 00 BB 59 09 00 EE 27 01 04 00 07 00 00 00";
constexpr char READ_FAILURE[] = "0F 00 BB 5A 09 00 EE 01 01 04 00 0A 00 00 00";
constexpr char RESULT_FILE[] = "/amt/amt_result.txt";
constexpr char PRODUCT_FILE[] = "/amt/product.txt";

class results_test : public modem_test {
 protected:
  results_test() {
    phone_root::remove("/amt");
    phone_root::write(RESULT_FILE, "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n");
  }
};

class StationWrite : public results_test {};

TEST_F(StationWrite, WithADescription_IsRecordedAndSent) {
  modem_says_bytewise("\r\nOK\r\n");
  EXPECT_EQ(run(amt_modem_write_test_result, WRITE_3_1_OK), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DATOMW=3,1,ok\r");
  EXPECT_EQ(to_app(), WRITTEN);
  EXPECT_EQ(phone_root::read(RESULT_FILE), "0\n0\n0\n1\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n");
}

TEST_F(StationWrite, WithoutADescription_SendsTwoFields) {
  modem_says({"\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_write_test_result, WRITE_3_1), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DATOMW=3,1\r");
}

TEST_F(StationWrite, Logs_WhatItDoes) {
  modem_says({"\r\n", "OK\r\n"});
  EXPECT_EQ(run(amt_modem_write_test_result, WRITE_3_1), ERR_NONE);
  EXPECT_TRUE(m_log.has("write amt_result success amt station_num: 3, station_result: 1.\n"));
  EXPECT_TRUE(m_log.has("amt_modem_write_test_result m_buf_a[AT^DATOMW=3,1\r] m_buf_len[14]"));
  EXPECT_TRUE(m_log.has("amt_modem_write_test_result  ret_val[0] m_buf_a[\r\n]"));
  EXPECT_TRUE(m_log.has_in_a_row(
      {"amt_modem_write_test_result  ret_val[0] m_buf_a[\r\nOK\r\n]", "amt_modem_write_test_result\tret_val[0]"}));
}

struct description_row {
  const char* m_name;
  std::size_t m_length;
  std::size_t m_sent;
};

class StationDescription : public StationWrite, public testing::WithParamInterface<description_row> {};

TEST_P(StationDescription, OfAnyLength_IsSentUpTo127Characters) {
  auto& request = g_handle_context.m_request;
  amt_message_clear(request);
  amt_frame_init(&request.m_buf_a, 91);
  amt_frame_add_string(&request.m_buf_a, 37, std::string(GetParam().m_length, 'd').c_str());
  request.m_buf_len = amt_frame_total_length(&request.m_buf_a);
  modem_says({"\r\nOK\r\n"});
  EXPECT_EQ(amt_modem_write_test_result(AMT_LINK_APP, &request, &g_handle_context.m_response), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DATOMW=0,0," + std::string(GetParam().m_sent, 'd') + "\r");
}

INSTANTIATE_TEST_SUITE_P(Each, StationDescription,
                         testing::Values(description_row{"Longest", 127, 127}, description_row{"OneMore", 128, 127},
                                         description_row{"TwoMore", 129, 127}, description_row{"ManyMore", 2000, 127}),
                         [](const auto& row) { return row.param.m_name; });

// A carriage return would make two commands of one, and the phone would keep what the station did not report.
TEST_F(StationWrite, ControlCharacterInTheDescription_IsRefused) {
  for (const char character : {'\r', '\n', '\x1A', '\x1B', '\x01', '\x1F', '\x7F'}) {
    auto& request = g_handle_context.m_request;
    amt_message_clear(request);
    amt_frame_init(&request.m_buf_a, 91);
    amt_frame_add_int(&request.m_buf_a, 39, 3);
    amt_frame_add_int(&request.m_buf_a, 36, 1);
    amt_frame_add_string(&request.m_buf_a, 37, (std::string("ok") + character + "AT^DAMTOFF").c_str());
    request.m_buf_len = amt_frame_total_length(&request.m_buf_a);
    EXPECT_EQ(amt_modem_write_test_result(AMT_LINK_APP, &request, &g_handle_context.m_response), ERR_ARGUMENT);
  }
  EXPECT_TRUE(has_failure("amt_modem_write_test_result", ERR_ARGUMENT, "control character in test description"));
  EXPECT_EQ(to_modem() + to_app(), "");
  EXPECT_EQ(phone_root::read(RESULT_FILE), "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n");
}

TEST_F(StationWrite, LettersOfAnyLanguageInTheDescription_AreSent) {
  auto& request = g_handle_context.m_request;
  amt_message_clear(request);
  amt_frame_init(&request.m_buf_a, 91);
  amt_frame_add_string(&request.m_buf_a, 37, "g\xC3\xBCt ~");
  request.m_buf_len = amt_frame_total_length(&request.m_buf_a);
  modem_says({"\r\nOK\r\n"});
  EXPECT_EQ(amt_modem_write_test_result(AMT_LINK_APP, &request, &g_handle_context.m_response), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DATOMW=0,0,g\xC3\xBCt ~\r");
}

TEST_F(StationWrite, NegativeNumbers_AreSentAsSuch) {
  modem_says({"\r\nOK\r\n"});
  run(amt_modem_write_test_result, "18 00 BB 5B 12 00 EE 27 01 04 00 FF FF FF FF EE 24 01 04 00 FE FF FF FF");
  EXPECT_EQ(to_modem(), "AT^DATOMW=-1,-2\r");
}

// Station 20 has no place in the file, which stops nothing.
TEST_F(StationWrite, RecordThatFails_IsLoggedOnly) {
  modem_says({"\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_write_test_result, "18 00 BB 5B 12 00 EE 27 01 04 00 14 00 00 00 EE 24 01 04 00 01 00 00 00"),
            ERR_NONE);
  EXPECT_TRUE(m_log.contains("write fail amt station_num: 20, station_result: 1\n"));
  EXPECT_EQ(to_modem(), "AT^DATOMW=20,1\r");
  EXPECT_EQ(to_app(), WRITTEN);
}

TEST_F(StationWrite, ErrorOfTheModem_IsAnsweredWithAnErrorResponse) {
  for (const char* error : {"\r\nERROR\r\n", "\r\n+CME ERROR: 1\r\n", "\r\n+CMS ERROR: 1\r\n"}) {
    modem_says({error});
    EXPECT_EQ(run(amt_modem_write_test_result, WRITE_3_1), ERR_NONE);
    EXPECT_EQ(to_app(), WRITE_FAILURE);
    EXPECT_TRUE(m_log.has("amt_modem_write_test_result\tret_val[-100]"));
    EXPECT_TRUE(has_trace("amt_modem_write_test_result", ERR_FAIL));
    m_log.clear();
  }
}

TEST_F(StationWrite, LinkThatFails_IsAnsweredWithAnErrorResponseButRecorded) {
  set_link(g_handle_context.m_fd_at, 0);
  EXPECT_EQ(run(amt_modem_write_test_result, WRITE_3_1), ERR_NONE);
  EXPECT_EQ(to_app(), WRITE_FAILURE);
  EXPECT_EQ(phone_root::read(RESULT_FILE).substr(0, 8), "0\n0\n0\n1\n");
}

TEST_F(StationWrite, BadArgumentsAndNoModem_AreRefusedAndNotRecorded) {
  expect_refusals(amt_modem_write_test_result, "amt_modem_write_test_result");
  expect_refusal_without_modem(amt_modem_write_test_result);
  EXPECT_EQ(run(amt_modem_write_test_result, WRITE_3_1), ERR_NO_MODEM);
  EXPECT_EQ(phone_root::read(RESULT_FILE).substr(0, 8), "0\n0\n0\n0\n");
}

class StationRead : public results_test {};

TEST_F(StationRead, WholeLine_IsAnsweredAndRecorded) {
  modem_says_bytewise("\r\n^DATOMR: 12,1,RF pass\r\n\r\nOK\r\n");
  EXPECT_EQ(run(amt_modem_read_test_result, READ_7), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DATOMR=1,7\r");
  EXPECT_EQ(to_app(),
            "2D 00 BB 5A 27 00 EE 27 01 04 00 0C 00 00 00 EE 24 01 04 00 01 00 00 00 "
            "EE 25 02 07 00 52 46 20 70 61 73 73 EE 01 01 04 00 00 00 00 00");
  EXPECT_EQ(phone_root::read(RESULT_FILE), "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n1\n0\n0\n0\n0\n0\n0\n0\n");
}

TEST_F(StationRead, StationOnly_HasResultZeroAndNoDescription) {
  modem_says({"\r\n^DATOMR: 5\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_read_test_result, READ_7), ERR_NONE);
  EXPECT_EQ(to_app(),
            "26 00 BB 5A 20 00 EE 27 01 04 00 05 00 00 00 EE 24 01 04 00 00 00 00 00 "
            "EE 25 02 00 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(StationRead, OkOnly_AnswersAndRecordsTheStationAskedFor) {
  phone_root::write(RESULT_FILE, "2\n2\n2\n2\n2\n2\n2\n2\n2\n2\n2\n2\n2\n2\n2\n2\n2\n2\n2\n2\n");
  modem_says({"\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_read_test_result, READ_7), ERR_NONE);
  EXPECT_EQ(to_app(),
            "26 00 BB 5A 20 00 EE 27 01 04 00 07 00 00 00 EE 24 01 04 00 00 00 00 00 "
            "EE 25 02 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_EQ(phone_root::read(RESULT_FILE).substr(12, 6), "2\n0\n2\n");
}

TEST_F(StationRead, LineAfterTheOk_IsNotWaitedFor) {
  modem_says({"\r\nOK\r\n", "\r\n^DATOMR: 5,1\r\n"});
  run(amt_modem_read_test_result, READ_7);
  EXPECT_TRUE(m_log.has("amt_modem_read_test_result ret_val[0] station_num[7] station_result[0]"));
}

TEST_F(StationRead, LongDescription_IsCutTo127Characters) {
  modem_says({"\r\n^DATOMR: 5,1," + std::string(300, 'd') + "\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_read_test_result, READ_7), ERR_NONE);
  EXPECT_EQ(m_app.received().size(), 6u + 9u + 9u + 5u + 127u + 9u);
}

TEST_F(StationRead, Logs_WhatItReads) {
  modem_says({"\r\n^DATOMR: 5,2,bad\r\n", "\r\nOK\r\n"});
  run(amt_modem_read_test_result, READ_7);
  EXPECT_TRUE(m_log.has("amt_modem_read_test_result m_buf_a[AT^DATOMR=1,7\r] m_buf_len[14]"));
  EXPECT_TRUE(m_log.has_in_a_row(
      {"amt_modem_read_test_result  ret_val[0] m_buf_a[\r\n^DATOMR: 5,2,bad\r\n]",
       "amt_modem_read_test_result head_ptr[5,2,bad\r\n]", "amt_modem_read_test_result station_num[5]",
       "amt_modem_read_test_result station_result[2]", "amt_modem_read_test_result test_description_a[bad]"}));
  EXPECT_EQ(m_log.count("amt_modem_read_test_result station_num[5]"), 2u);
  EXPECT_TRUE(m_log.has("amt_modem_read_test_result ret_val[0] station_num[5] station_result[2]"));
  EXPECT_TRUE(m_log.has("write amt_result success amt station_num: 5, station_result: 2.\n"));
}

TEST_F(StationRead, CommaWithNothingBehindIt_IsAnEmptyDescription) {
  modem_says({"\r\n^DATOMR: 5,2,\r\n\r\nOK\r\n"});
  run(amt_modem_read_test_result, READ_7);
  EXPECT_EQ(m_log.count("amt_modem_read_test_result test_description_a[]"), 1u);
}

TEST_F(StationRead, NoSecondComma_IsNoDescription) {
  modem_says({"\r\n^DATOMR: 5,2\r\n\r\nOK\r\n"});
  run(amt_modem_read_test_result, READ_7);
  EXPECT_FALSE(m_log.contains("test_description_a"));
}

TEST_F(StationRead, RecordThatFails_IsLoggedOnly) {
  modem_says({"\r\n^DATOMR: 20,1\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_read_test_result, READ_7), ERR_NONE);
  EXPECT_TRUE(m_log.contains("write fail amt station_num: 20, station_result: 1. rtn:-3.\n"));
}

TEST_F(StationRead, ErrorOfTheModem_IsAnsweredWithAnErrorResponse) {
  modem_says({"\r\n^DATOMR: 5,1\r\n", "\r\nERROR\r\n"});
  EXPECT_EQ(run(amt_modem_read_test_result, READ_7), ERR_NONE);
  EXPECT_EQ(to_app(), READ_FAILURE);
  EXPECT_TRUE(m_log.has("amt_modem_read_test_result ret_val[-100] station_num[5] station_result[1]"));
  EXPECT_TRUE(has_trace("amt_modem_read_test_result", ERR_FAIL));
  EXPECT_EQ(phone_root::read(RESULT_FILE).substr(0, 14), "0\n0\n0\n0\n0\n0\n0\n");
}

// Unlike every other exchange: an error counts before an OK.
TEST_F(StationRead, ErrorAndOkInOneRead_IsAFailure) {
  modem_says({"\r\nERROR\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_read_test_result, READ_7), ERR_NONE);
  EXPECT_EQ(to_app(), READ_FAILURE);
}

TEST_F(StationRead, LinkThatFails_IsAnsweredWithAnErrorResponse) {
  set_link(g_handle_context.m_fd_at, 0);
  EXPECT_EQ(run(amt_modem_read_test_result, READ_7), ERR_NONE);
  EXPECT_EQ(to_app(), READ_FAILURE);
  EXPECT_TRUE(m_log.has("amt_modem_read_test_result ret_val[-100] station_num[7] station_result[0]"));
}

TEST_F(StationRead, LineAndErrorInOneRead_TakesNothing) {
  modem_says({"\r\n^DATOMR: 5,1\r\n\r\nERROR\r\n"});
  EXPECT_EQ(run(amt_modem_read_test_result, READ_7), ERR_NONE);
  EXPECT_EQ(to_app(), READ_FAILURE);
  EXPECT_TRUE(m_log.has("amt_modem_read_test_result ret_val[-100] station_num[7] station_result[0]"));
}

// The line is still in the record when the next read fails.
TEST_F(StationRead, LinkThatFailsAfterTheLine_TakesTheLineOnce) {
  packet_link link;
  set_link(g_handle_context.m_fd_at, link.service_end());
  std::thread modem([&link] {
    EXPECT_EQ(link.receive_once(64), "AT^DATOMR=1,7\r");
    link.send("\r\n^DATOMR: 5,1\r\n");
    link.hang_up();
  });
  EXPECT_EQ(run(amt_modem_read_test_result, READ_7), ERR_NONE);
  modem.join();
  EXPECT_EQ(to_app(), READ_FAILURE);
  EXPECT_EQ(m_log.count("amt_modem_read_test_result station_num[5]"), 1u);
}

TEST_F(StationRead, BadArgumentsAndNoModem_AreRefused) {
  expect_refusals(amt_modem_read_test_result, "amt_modem_read_test_result");
  expect_refusal_without_modem(amt_modem_read_test_result);
}

const std::string OTHER_ITEMS =
    "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n"
    "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n";

class Items : public results_test {
 protected:
  Items() { phone_root::write(PRODUCT_FILE, "0\n1\n2\n3\n" + OTHER_ITEMS); }
};

TEST_F(Items, Write_GivesTheStationLessOne) {
  EXPECT_EQ(run(amt_item_write_test_result, "18 00 BB E6 12 00 EE 27 01 04 00 01 00 00 00 EE 24 01 04 00 02 00 00 00"),
            ERR_NONE);
  EXPECT_EQ(to_app(), "0F 00 BB E7 09 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_EQ(phone_root::read(PRODUCT_FILE), "2\n1\n2\n3\n" + OTHER_ITEMS);
  EXPECT_TRUE(m_log.has("amt_item_write_test_result station_num[1] station_result[2]"));
  EXPECT_TRUE(m_log.has("amt_item_write_test_result write_item ret_val[0]"));
}

TEST_F(Items, WriteStationZero_OverwritesItemZero) {
  EXPECT_EQ(run(amt_item_write_test_result, "0F 00 BB E6 09 00 EE 24 01 04 00 01 00 00 00"), ERR_NONE);
  EXPECT_EQ(phone_root::read(PRODUCT_FILE), "1\n1\n2\n3\n" + OTHER_ITEMS);
}

// -2^31 less one is 2^31 - 1: the last index of all.
TEST_F(Items, WriteStationWithoutAPredecessor_IsRefused) {
  EXPECT_EQ(run(amt_item_write_test_result, "0F 00 BB E6 09 00 EE 27 01 04 00 00 00 00 80"), ERR_NONE);
  EXPECT_EQ(to_app(), "0F 00 BB E7 09 00 EE 01 01 04 00 0A 00 00 00");
}

TEST_F(Items, WriteBehindTheLast_IsAnsweredWithAnErrorResponse) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(run(amt_item_write_test_result, "18 00 BB E6 12 00 EE 27 01 04 00 25 00 00 00 EE 24 01 04 00 01 00 00 00"),
            ERR_NONE);
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::MatchesRegex("\\[.*:L[0-9]+\\] write fail station_num: 37, station_result: 1\n"));
  EXPECT_EQ(to_app(), "0F 00 BB E7 09 00 EE 01 01 04 00 0A 00 00 00");
  EXPECT_TRUE(
      has_failure("amt_item_write_test_result", ERR_INCOMPLETE, "amt_item_write_test_result write_item ret_val[-119]"));
}

TEST_F(Items, Read_GivesTheStationItself) {
  EXPECT_EQ(run(amt_item_read_test_result, "0F 00 BB E4 09 00 EE 27 01 04 00 02 00 00 00"), ERR_NONE);
  EXPECT_EQ(to_app(),
            "21 00 BB E5 1B 00 EE 27 01 04 00 02 00 00 00 EE 24 01 04 00 02 00 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("amt_item_read_test_result station_num[2] station_result[2]"));
  EXPECT_TRUE(m_log.has("amt_item_read_test_result read_item ret_val[0]"));
}

TEST_F(Items, ReadOfThreeOrMore_IsAnsweredWithAnErrorResponse) {
  EXPECT_EQ(run(amt_item_read_test_result, "0F 00 BB E4 09 00 EE 27 01 04 00 03 00 00 00"), ERR_NONE);
  EXPECT_EQ(to_app(), "0F 00 BB E5 09 00 EE 01 01 04 00 0A 00 00 00");
  EXPECT_TRUE(
      has_failure("amt_item_read_test_result", ERR_NOT_HANDLED, "amt_item_read_test_result read_item ret_val[-104]"));
}

TEST_F(Items, ReadThatFails_IsAnsweredWithAnErrorResponse) {
  for (const char* station : {"24 00 00 00", "FF FF FF FF"}) {
    EXPECT_EQ(run(amt_item_read_test_result, "0F 00 BB E4 09 00 EE 27 01 04 00 " + std::string(station)), ERR_NONE);
    EXPECT_EQ(to_app(), "0F 00 BB E5 09 00 EE 01 01 04 00 0A 00 00 00");
  }
}

TEST_F(Items, NoModem_IsNoObstacle) {
  g_no_modem = 1;
  EXPECT_EQ(run(amt_item_read_test_result, "0F 00 BB E4 09 00 EE 27 01 04 00 02 00 00 00"), ERR_NONE);
  EXPECT_EQ(to_modem(), "");
}

TEST_F(Items, BadArguments_AreRefused) {
  expect_refusals(amt_item_read_test_result, "amt_item_read_test_result");
  expect_refusals(amt_item_write_test_result, "amt_item_write_test_result");
}

}  // namespace
