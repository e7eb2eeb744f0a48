// What changes no file and ends nothing: the support query and the channel switch.
#include "amt/amt-handle/modem/mode.h"

#include "tests/unit/modem/modem-test.h"

namespace {

constexpr char QUERY_SUPPORT[] = "06 00 BB C5 00 00";
constexpr char SUPPORT_FAILURE[] = "0F 00 BB C6 09 00 EE 01 01 04 00 0A 00 00 00";

class Support : public modem_test {};

TEST_F(Support, FourFields_AnswerTheLast) {
  modem_says({"\r\n^DMCC: 2,2,1,258\r\n", "\r\nOK\r\n"});
  EXPECT_EQ(run(amt_query_amt_support, QUERY_SUPPORT), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DMCC?\r");
  EXPECT_EQ(to_app(), "18 00 BB C6 12 00 EE CA 01 04 00 02 01 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("amt_query_amt_support :\r\n^DMCC: 2,2,1,258\r\n"));
  EXPECT_TRUE(m_log.has_in_a_row({"amt_query_amt_support head_ptr=2,2,1,258\r\n\r\nOK\r\n",
                                  "amt_query_amt_support parameter=2,2,1,258", "getted nstandby0_rat:258."}));
}

// One more is too long.
TEST_F(Support, ValueOf38Characters_IsTaken) {
  modem_says({"\r\n^DMCC: 2,2,1,258," + std::string(28, '7') + "\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_query_amt_support, QUERY_SUPPORT), ERR_NONE);
  EXPECT_EQ(to_app(), "18 00 BB C6 12 00 EE CA 01 04 00 02 01 00 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(Support, MoreFields_AreLeftOut) {
  modem_says({"\r\n^DMCC: 1,1,1,3,9\r\n\r\nOK\r\n"});
  EXPECT_EQ(run(amt_query_amt_support, QUERY_SUPPORT), ERR_NONE);
  EXPECT_EQ(to_app(), "18 00 BB C6 12 00 EE CA 01 04 00 03 00 00 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(Support, EmptyFieldsBeforeTheFourth_KeepTheirPlace) {
  for (const char* value : {"1,,1,7", ",1,1,7", "1,1,,7", ",,,7,8"}) {
    modem_says({"\r\n^DMCC: " + std::string(value) + "\r\n\r\nOK\r\n"});
    EXPECT_EQ(run(amt_query_amt_support, QUERY_SUPPORT), ERR_NONE);
    EXPECT_EQ(to_app(), "18 00 BB C6 12 00 EE CA 01 04 00 07 00 00 00 EE 01 01 04 00 00 00 00 00") << value;
    EXPECT_EQ(to_modem(), "AT^DMCC?\r");
  }
}

struct support_row {
  const char* m_name;
  std::string m_answer;
  const char* m_line;  // in the log, if any
};

class SupportFailure : public Support, public testing::WithParamInterface<support_row> {};

TEST_P(SupportFailure, OfTheModem_IsAnsweredWithAnErrorResponse) {
  modem_says({GetParam().m_answer});
  EXPECT_EQ(run(amt_query_amt_support, QUERY_SUPPORT), ERR_NONE);
  EXPECT_EQ(to_app(), SUPPORT_FAILURE);
  EXPECT_TRUE(has_trace("amt_query_amt_support", ERR_FAIL));
  EXPECT_TRUE(GetParam().m_line == nullptr || m_log.has(GetParam().m_line));
}

INSTANTIATE_TEST_SUITE_P(
    Each, SupportFailure,
    testing::Values(support_row{"NoField", "\r\n^DMCC:\r\n\r\nOK\r\n", "sim_num is null!!!"},
                    support_row{"OneField", "\r\n^DMCC: 1\r\n\r\nOK\r\n", "standby_num is null!!!"},
                    support_row{"TwoFields", "\r\n^DMCC: 1,1\r\n\r\nOK\r\n", "rf_set_num is null!!!"},
                    support_row{"ThreeFields", "\r\n^DMCC: 1,1,1\r\n\r\nOK\r\n", "standby0_rat is null!!!"},
                    support_row{"EmptyValue", "\r\n^DMCC: \r\n\r\nOK\r\n", "sim_num is null!!!"},
                    support_row{"OneFieldAndAComma", "\r\n^DMCC: 1,\r\n\r\nOK\r\n", "rf_set_num is null!!!"},
                    support_row{"EmptyThirdAsTheLast", "\r\n^DMCC: 1,,\r\n\r\nOK\r\n", "standby0_rat is null!!!"},
                    support_row{"NothingInTheFourth", "\r\n^DMCC: 1,1,1,\r\n\r\nOK\r\n", "standby0_rat is null!!!"},
                    support_row{"EmptyFourthBeforeMore", "\r\n^DMCC: 1,1,1,,7\r\n\r\nOK\r\n",
                                "standby0_rat is null!!!"},
                    support_row{"OnlyCommas", "\r\n^DMCC: ,,,\r\n\r\nOK\r\n", "standby0_rat is null!!!"},
                    support_row{"OkOnly", "\r\nOK\r\n", nullptr}, support_row{"Error", "\r\nERROR\r\n", nullptr},
                    support_row{"TooLong", "\r\n^DMCC: 1,1,1," + std::string(33, '1') + "\r\n\r\nOK\r\n", nullptr}),
    [](const auto& row) { return row.param.m_name; });

TEST_F(Support, BadArgumentsAndNoModem_AreRefused) {
  expect_refusals(amt_query_amt_support, "amt_query_amt_support");
  expect_refusal_without_modem(amt_query_amt_support);
}

class ChannelSwitch : public modem_test {};

TEST_F(ChannelSwitch, OneDigit_GoesOutWithItsReturn) {
  modem_says({"\r\nOK\r\n"});
  EXPECT_EQ(run(amt_at_to_modem, "0F 00 BB E8 09 00 EE 9F 01 04 00 05 00 00 00"), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DMPCHN=5\r");
  EXPECT_EQ(to_app(), "0F 00 BB E9 09 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(ChannelSwitch, TwoDigits_LoseTheReturn) {
  modem_says({"OK"});
  EXPECT_EQ(run(amt_at_to_modem, "0F 00 BB E8 09 00 EE 9F 01 04 00 0C 00 00 00"), ERR_NONE);
  EXPECT_EQ(to_modem(), "AT^DMPCHN=12");
  EXPECT_EQ(to_app(), "0F 00 BB E9 09 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(ChannelSwitch, LongNumber_IsCutAtTwelveBytes) {
  modem_says({"OK"});
  run(amt_at_to_modem, "0F 00 BB E8 09 00 EE 9F 01 04 00 40 E2 01 00");
  EXPECT_EQ(to_modem(), "AT^DMPCHN=12");
}

TEST_F(ChannelSwitch, NoAtom_IsChannelZero) {
  modem_says({"OK"});
  run(amt_at_to_modem, "06 00 BB E8 00 00");
  EXPECT_EQ(to_modem(), "AT^DMPCHN=0\r");
}

TEST_F(ChannelSwitch, FirstRead_Decides) {
  modem_says({"\r\nO", "K\r\n"});
  EXPECT_EQ(run(amt_at_to_modem, "06 00 BB E8 00 00"), ERR_FAIL);
  EXPECT_TRUE(has_failure("amt_channel_switch", ERR_FAIL, "\r\nO"));
  EXPECT_EQ(to_app(), "");
}

// The rest of the answer is waited for before the next command, also when it is late.
TEST_F(ChannelSwitch, SecondHalfOfTheOk_IsNotTheNextAnswer) {
  std::thread late;
  for (const std::string_view half : {"\r\n", "\r\nO"}) {
    modem_says({half});
    modem_says({"ERROR\r\n", "OK"});
    EXPECT_EQ(run(amt_at_to_modem, "06 00 BB E8 00 00"), ERR_FAIL);
    late = std::thread([this, half] {
      usleep(100'000);
      m_at.send(std::string_view("\r\nOK\r\n").substr(half.size()));
    });
    EXPECT_EQ(run(amt_at_to_modem, "06 00 BB E8 00 00"), ERR_FAIL);
    late.join();
    EXPECT_TRUE(has_failure("amt_channel_switch", ERR_FAIL, "ERROR\r\n"));
    m_log.clear();
    modem_says({"\r\nOK\r\n"});
    EXPECT_EQ(run(amt_at_to_modem, "06 00 BB E8 00 00"), ERR_NONE);
  }
}

TEST_F(ChannelSwitch, OkBehindOneHundredBytes_IsNotSeen) {
  modem_says({std::string(99, 'x') + "OK"});
  EXPECT_EQ(run(amt_at_to_modem, "06 00 BB E8 00 00"), ERR_FAIL);
}

TEST_F(ChannelSwitch, ToThePc_IsWrapped) {
  modem_says({"OK"});
  EXPECT_EQ(run(amt_channel_switch, "06 00 BB E8 00 00", AMT_LINK_PC), ERR_NONE);
  EXPECT_EQ(to_pc().substr(0, 36 + 44),
            "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB E9 09 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(ChannelSwitch, FailedLink_GivesItsCode) {
  set_link(g_handle_context.m_fd_at, 0);
  EXPECT_EQ(run(amt_at_to_modem, "06 00 BB E8 00 00"), ERR_FAIL);
  EXPECT_EQ(to_app(), "");
}

TEST_F(ChannelSwitch, NoModem_IsRefused) {
  expect_refusal_without_modem(amt_channel_switch);
}

TEST_F(ChannelSwitch, OtherId_IsTakenWithoutAnAnswer) {
  EXPECT_EQ(run(amt_at_to_modem, "06 00 BB E7 00 00"), ERR_NONE);
  EXPECT_EQ(to_modem() + to_app(), "");
}

TEST_F(ChannelSwitch, BadArguments_AreRefused) {
  expect_refusals(amt_at_to_modem, "amt_at_to_modem");
}

}  // namespace
