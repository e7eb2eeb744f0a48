// SIM card, factory date.
#include "amt/amt-handle/modem/checks.h"

#include "tests/unit/modem/modem-test.h"

namespace {

constexpr char CHECK_SIM[] = "06 00 BB 63 00 00";
constexpr char READ_DATE[] = "06 00 BB 41 00 00";
constexpr char SIM_FAILURE[] = "0F 00 BB 64 09 00 EE 01 01 04 00 0A 00 00 00";
constexpr char DATE_FAILURE[] = "0F 00 BB 42 09 00 EE 01 01 04 00 0A 00 00 00";

class Checks : public modem_test {};

struct sim_row {
  const char* m_name;
  const char* m_value;
  const char* m_flag;
};

class SimType : public Checks, public testing::WithParamInterface<sim_row> {};

TEST_P(SimType, OfTheModem_IsAFlagWithoutAResult) {
  modem_says({"\r\n^DTOC: " + std::string(GetParam().m_value) + "\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_dtoc_checkSIM, CHECK_SIM), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DTOC\r");
  EXPECT_EQ(to_app(), "0C 00 BB 64 06 00 EE 29 04 01 00 " + std::string(GetParam().m_flag));
}

INSTANTIATE_TEST_SUITE_P(Each, SimType,
                         testing::Values(sim_row{"Zero", "0", "00"}, sim_row{"One", "1", "01"},
                                         sim_row{"Two", "2", "01"}, sim_row{"Three", "3", "00"},
                                         sim_row{"Twelve", "12", "00"}, sim_row{"Negative", "-1", "00"},
                                         sim_row{"NoNumber", "none", "00"}, sim_row{"Empty", "", "00"},
                                         sim_row{"NumberAndText", "2,1", "01"}),
                         [](const auto& row) { return row.param.m_name; });

TEST_F(Checks, Sim_LogsWhatItReads) {
  modem_says({"\r\n^DTOC: 1\r\n", "\r\nOK\r\n"});
  EXPECT_EQ(run(amt_dtoc_checkSIM, CHECK_SIM), ERR_NONE);
  EXPECT_TRUE(m_log.has("amt_dtoc_checkSIM :\r\n^DTOC: 1\r\n"));
  EXPECT_TRUE(m_log.has_in_a_row(
      {"amt_dtoc_checkSIM head_ptr=1\r\n\r\nOK\r\n", "amt_dtoc_checkSIM board_a=1", "amt_dtoc_checkSIM simtype=1"}));
}

struct failure_row {
  const char* m_name;
  std::string m_answer;
};

class SimFailure : public Checks, public testing::WithParamInterface<failure_row> {};

TEST_P(SimFailure, OfTheModem_IsAnsweredWithAnErrorResponse) {
  modem_says({GetParam().m_answer});
  EXPECT_EQ(run(amt_dtoc_checkSIM, CHECK_SIM), ERR_NONE);
  EXPECT_EQ(to_app(), SIM_FAILURE);
  EXPECT_TRUE(has_trace("amt_dtoc_checkSIM", ERR_FAIL));
}

INSTANTIATE_TEST_SUITE_P(
    Each, SimFailure,
    testing::Values(failure_row{"OkOnly", "\r\nOK\r\n"}, failure_row{"Error", "\r\nERROR\r\n"},
                    failure_row{"Cme", "\r\n+CME ERROR: 3\r\n"}, failure_row{"Cms", "\r\n+CMS ERROR: 3\r\n"},
                    failure_row{"TooLong", "\r\n^DTOC: " + std::string(39, '1') + "\r\n\r\nOK\r\n"}),
    [](const auto& row) { return row.param.m_name; });

TEST_F(Checks, SimLineMissing_IsLoggedAllTheSame) {
  modem_says({"\r\nOK\r\n"});
  run(amt_dtoc_checkSIM, CHECK_SIM);
  EXPECT_TRUE(
      m_log.has_in_a_row({"amt_dtoc_checkSIM head_ptr=", "amt_dtoc_checkSIM board_a=", "amt_dtoc_checkSIM simtype=0"}));
}

TEST_F(Checks, SimValueOf38Characters_IsTaken) {
  modem_says({"\r\n^DTOC: 1" + std::string(37, ' ') + "\r\n\r\nOK\r\n"});
  run(amt_dtoc_checkSIM, CHECK_SIM);
  EXPECT_EQ(to_app(), "0C 00 BB 64 06 00 EE 29 04 01 00 01");
}

TEST_F(Checks, Date_IsAnsweredAsText) {
  modem_says({"\r\n^DMFD: 20130121123059\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_handle_read_outdate, READ_DATE), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DMFD??\r");
  EXPECT_EQ(to_app(),
            "22 00 BB 42 1C 00 EE 1B 02 0E 00 32 30 31 33 30 31 32 31 31 32 33 30 35 39 EE 01 01 04 00 00 00 00 00");
}

TEST_F(Checks, EmptyDate_IsAnsweredAsSuch) {
  modem_says({"\r\n^DMFD:\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_modem_handle_read_outdate, READ_DATE), ERR_NONE);
  EXPECT_EQ(to_app(), "14 00 BB 42 0E 00 EE 1B 02 00 00 EE 01 01 04 00 00 00 00 00");
}

class DateFailure : public Checks, public testing::WithParamInterface<failure_row> {};

TEST_P(DateFailure, OfTheModem_IsAnsweredWithAnErrorResponse) {
  modem_says({GetParam().m_answer});
  EXPECT_EQ(run(amt_modem_handle_read_outdate, READ_DATE), ERR_NONE);
  EXPECT_EQ(to_app(), DATE_FAILURE);
  EXPECT_TRUE(has_trace("amt_modem_handle_read_outdate", ERR_FAIL));
}

INSTANTIATE_TEST_SUITE_P(Each, DateFailure,
                         testing::Values(failure_row{"OkOnly", "\r\nOK\r\n"}, failure_row{"Error", "\r\nERROR\r\n"},
                                         failure_row{"FifteenCharacters", "\r\n^DMFD: 201301211230590\r\n\r\nOK\r\n"},
                                         failure_row{"NeverWritten", "\r\n^DMFD: \xFF\xFF\r\n\r\nOK\r\n"}),
                         [](const auto& row) { return row.param.m_name; });

TEST_F(Checks, BadArguments_AreRefused) {
  expect_refusals(amt_dtoc_checkSIM, "amt_dtoc_checkSIM");
  expect_refusals(amt_modem_handle_read_outdate, "amt_modem_handle_read_outdate");
}

TEST_F(Checks, NoModem_IsRefused) {
  expect_refusal_without_modem(amt_dtoc_checkSIM);
  expect_refusal_without_modem(amt_modem_handle_read_outdate);
}

}  // namespace
