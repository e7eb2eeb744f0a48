#include "amt/amt-handle/pc/at-parameter.h"

#include <tuple>

#include "tests/unit/at-test.h"
#include "tests/unit/failure-line.h"

namespace {

constexpr char PREFIX[] = "AT^DMSN=";

class AtParameter : public at_test {
 protected:
  // The parameter of a received text, and the result.
  std::int32_t take(std::string_view text) {
    set_message(g_handle_context.m_request, text);
    return handle_amt_take_at_para(amt_message_text(g_handle_context.m_request), PREFIX, m_text);
  }
  amt_parameter_text m_text = {};
};

TEST_F(AtParameter, BlanksInFront_AreSkipped) {
  EXPECT_EQ(take("AT^DMSN=   SN1\r"), 0);
  EXPECT_STREQ(m_text, "SN1");
}

TEST_F(AtParameter, TabInFront_IsKept) {
  EXPECT_EQ(take("AT^DMSN=\tSN1\r"), 0);
  EXPECT_STREQ(m_text, "\tSN1");
}

TEST_F(AtParameter, QuotesCommasAndTrailingBlanks_AreKept) {
  EXPECT_EQ(take("AT^DMSN=\"A,B\" \r"), 0);
  EXPECT_STREQ(m_text, "\"A,B\" ");
}

TEST_F(AtParameter, TwentyCharacters_AreTakenWhole) {
  EXPECT_EQ(take("AT^DMSN=12345678901234567890\r"), 0);
  EXPECT_STREQ(m_text, "12345678901234567890");
}

TEST_F(AtParameter, TwentyOneCharacters_AreCutToTwenty) {
  EXPECT_EQ(take("AT^DMSN=12345678901234567890X\r"), 0);
  EXPECT_STREQ(m_text, "12345678901234567890");
}

TEST_F(AtParameter, FourThousandCharacters_AreCutToTwenty) {
  EXPECT_EQ(take("AT^DMSN=" + std::string(4000, 'x') + "\r"), 0);
  EXPECT_STREQ(m_text, "xxxxxxxxxxxxxxxxxxxx");
}

TEST_F(AtParameter, NoCarriageReturn_EndsWithTheData) {
  EXPECT_EQ(take("AT^DMSN=SN1"), 0);
  EXPECT_STREQ(m_text, "SN1");
}

TEST_F(AtParameter, CarriageReturnInFrontOfThePrefix_GivesNothing) {
  EXPECT_EQ(take("AT\rAT^DMSN=SN1\r"), 0);
  EXPECT_STREQ(m_text, "");
}

TEST_F(AtParameter, NothingBehindThePrefix_GivesNothing) {
  EXPECT_EQ(take("AT^DMSN="), 0);
  EXPECT_STREQ(m_text, "");
}

TEST_F(AtParameter, BlanksUpToTheCarriageReturn_GiveNothing) {
  EXPECT_EQ(take("AT^DMSN=    \r"), 0);
  EXPECT_STREQ(m_text, "");
}

TEST_F(AtParameter, PrefixTwice_FirstCounts) {
  EXPECT_EQ(take("AT^DMSN=A;AT^DMSN=B\r"), 0);
  EXPECT_STREQ(m_text, "A;AT^DMSN=B");
}

TEST_F(AtParameter, FullRecord_StaysInIt) {
  EXPECT_EQ(take(std::string(4088, 'x') + "AT^DMSN="), 0);
  EXPECT_STREQ(m_text, "");
}

TEST_F(AtParameter, Found_IsLogged) {
  std::ignore = take("AT^DMSN=SN1\r");
  EXPECT_TRUE(m_log.has_in_a_row({"handle_amt_get_at_para()", "getted parameter:SN1. prefix:AT^DMSN=; rtn:0."}));
}

TEST_F(AtParameter, PrefixMissing_FailsAndLogsTheText) {
  EXPECT_EQ(take("AT+CGMR\r"), -100);
  EXPECT_STREQ(m_text, "");
  const auto lines = m_log.texts();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_THAT(lines[1], failure_line("amt/amt-handle", "handle_amt_get_at_para", -100));
  EXPECT_EQ(lines[2], "at cmd[AT+CGMR\r] do not include (AT^DMSN=).");
  EXPECT_EQ(lines[3], "getted parameter:. prefix:AT^DMSN=; rtn:-100.");
}

TEST_F(AtParameter, OutCount_IsTheCutLength) {
  std::uint32_t length = 99;
  char out[AMT_PARAMETER_LIMIT] = {};
  set_message(g_handle_context.m_request, "AT^DMSN=" + std::string(30, 'x'));
  EXPECT_EQ(handle_amt_get_at_para(amt_message_text(g_handle_context.m_request), PREFIX, out, &length), 0);
  EXPECT_EQ(length, 20u);
}

TEST_F(AtParameter, ZeroByteWithoutCarriageReturn_DataCountsToItsEnd) {
  using namespace std::string_literals;
  std::uint32_t length = 99;
  char out[AMT_PARAMETER_LIMIT] = {};
  set_message(g_handle_context.m_request, "AT^DMSN=SN1\0XY"s);
  EXPECT_EQ(handle_amt_get_at_para(amt_message_text(g_handle_context.m_request), PREFIX, out, &length), 0);
  EXPECT_EQ(std::string(out, length), "SN1\0XY"s);
}

struct missing_row {
  const char* m_name;
  const char* m_text;
  bool m_has_prefix;
  bool m_has_out;
  bool m_has_length;
  const char* m_flags;
};

class AtParameterMissing : public at_test, public testing::WithParamInterface<missing_row> {};

TEST_P(AtParameterMissing, Argument_IsRefusedWithItsFlag) {
  const auto& row = GetParam();
  set_message(g_handle_context.m_request, row.m_text);
  std::uint32_t length = 0;
  char out[AMT_PARAMETER_LIMIT] = {};
  EXPECT_EQ(handle_amt_get_at_para(amt_message_text(g_handle_context.m_request), row.m_has_prefix ? PREFIX : nullptr,
                                   row.m_has_out ? out : nullptr, row.m_has_length ? &length : nullptr),
            -101);
  const auto lines = m_log.texts();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_THAT(lines[1], failure_line("amt/amt-handle", "handle_amt_get_at_para", -101));
  EXPECT_EQ(lines[2], row.m_flags);
}

INSTANTIATE_TEST_SUITE_P(Each, AtParameterMissing,
                         testing::Values(missing_row{"Text", "", true, true, true, "0,1, 0, 0, 0"},
                                         missing_row{"Prefix", "AT\r", false, true, true, "0,0, 1, 0, 0"},
                                         missing_row{"Out", "AT\r", true, false, true, "0,0, 0, 1, 0"},
                                         missing_row{"Length", "AT\r", true, true, false, "0,0, 0, 0, 1"}),
                         [](const auto& row) { return row.param.m_name; });

}  // namespace
