// The modem's answers, read without a modem.
#include "amt/amt-handle/modem/answer.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/unit/links.h"

namespace {

TEST(AnswerEnd, FinalResults_AreRecognisedOnlyAsLines) {
  EXPECT_TRUE(amt_answer_is_ok("\r\nOK\r\n"));
  EXPECT_TRUE(amt_answer_is_ok("x\r\n\r\nOK\r\n\r\n"));
  EXPECT_FALSE(amt_answer_is_ok("OK"));
  EXPECT_FALSE(amt_answer_is_ok("\r\nOK\r"));
  EXPECT_FALSE(amt_answer_is_ok("\r\nOKAY\r\n"));
  EXPECT_FALSE(amt_answer_is_ok(""));
}

TEST(AnswerEnd, EachError_IsRecognised) {
  EXPECT_TRUE(amt_answer_is_error("\r\nERROR\r\n"));
  EXPECT_TRUE(amt_answer_is_error("\r\n+CME ERROR: 100\r\n"));
  EXPECT_TRUE(amt_answer_is_error("\r\n+CMS ERROR"));
  EXPECT_FALSE(amt_answer_is_error("\r\nERRORS: 5\r\n"));
  EXPECT_FALSE(amt_answer_is_error("ERROR\r\n"));
  EXPECT_FALSE(amt_answer_is_error("\r\nCME ERROR"));
  EXPECT_FALSE(amt_answer_is_error(""));
}

TEST(AnswerLine, Prefix_IsFoundAndBlanksAreSkipped) {
  EXPECT_EQ(amt_answer_after("noise\r\n^DMSN:   12\r\n", "\r\n^DMSN:"), "12\r\n");
  EXPECT_EQ(amt_answer_after("\r\n^DMSN:", "\r\n^DMSN:"), "");
  EXPECT_EQ(amt_answer_after("\r\n^DMSN:  ", "\r\n^DMSN:"), "");
  EXPECT_EQ(amt_answer_after("\r\n^DMSN:\t1", "\r\n^DMSN:"), "\t1");
  EXPECT_EQ(amt_answer_after("^DMSN: 1", "\r\n^DMSN:"), std::nullopt);
  EXPECT_EQ(amt_answer_after("", "\r\n^DMSN:"), std::nullopt);
}

struct value_row {
  const char* m_name;
  std::string_view m_behind;
  std::optional<std::string_view> m_value;
  std::optional<std::string_view> m_value_of_version;  // at least two characters stay
};

class AnswerValue : public testing::TestWithParam<value_row> {};

TEST_P(AnswerValue, OfAnyLine_EndsBeforeTheFinalResult) {
  EXPECT_EQ(amt_answer_value(GetParam().m_behind), GetParam().m_value);
  EXPECT_EQ(amt_answer_value(GetParam().m_behind, 2), GetParam().m_value_of_version);
}

INSTANTIATE_TEST_SUITE_P(
    Each, AnswerValue,
    testing::Values(value_row{"OneLineEnd", "123\r\n\r\nOK\r\n", "123", "123"},
                    value_row{"NoLineEnd", "123\r\nOK\r\n", "123", "123"},
                    value_row{"SeveralLineEnds", "123\r\n\r\n\r\n\r\nOK\r\n", "123", "123"},
                    value_row{"OtherTextBetween", "123\r\n+X: 1\r\n\r\nOK\r\n", "123\r\n+X: 1", "123\r\n+X: 1"},
                    value_row{"LoneCarriageReturnStays", "123\r\r\n\r\nOK\r\n", "123\r", "123\r"},
                    value_row{"TextBehindTheResult", "1\r\n\r\nOK\r\n\r\n^X: 2\r\n\r\nOK\r\n", "1", "1\r\n"},
                    value_row{"TwoCharacters", "12\r\n\r\nOK\r\n", "12", "12"},
                    value_row{"Empty", "\r\n\r\nOK\r\n", "", "\r\n"}, value_row{"Nothing", "\r\nOK\r\n", "", ""},
                    value_row{"TwoEmptyLines", "\r\n\r\n\r\nOK\r\n", "", "\r\n"},
                    value_row{"NoResult", "123\r\n", std::nullopt, std::nullopt},
                    value_row{"NoText", "", std::nullopt, std::nullopt}),
    [](const auto& row) { return row.param.m_name; });

struct version_row {
  const char* m_name;
  std::string_view m_value;
  std::optional<std::string_view> m_bytes;
};

class AnswerVersion : public testing::TestWithParam<version_row> {};

TEST_P(AnswerVersion, OfAnyLine_IsDecoded) {
  std::array<std::uint8_t, 8> bytes{};
  const auto count = amt_answer_version(GetParam().m_value, bytes);
  ASSERT_EQ(count.has_value(), GetParam().m_bytes.has_value());
  if (!count) return;
  EXPECT_EQ(to_hex(std::string(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(*count))),
            *GetParam().m_bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Each, AnswerVersion,
    testing::Values(version_row{"OpeningReturnAndPaddingGo", "17,0D56312E300A0A", "56 31 2E 30"},
                    version_row{"LowerCase", "17,0d56312e300a0a", "56 31 2E 30"},
                    version_row{"BlanksBehindTheComma", "17,   0D5631", "56 31"},
                    version_row{"NoOpeningReturn", "17,5631", "56 31"},
                    version_row{"OnlyOneOpeningReturnGoes", "17,0D0D56", "0D 56"},
                    version_row{"NoPadding", "17,0D56", "56"}, version_row{"PaddingAcrossTwoBytes", "17,5650A1", "56"},
                    version_row{"LowerCasePaddingFirst", "17,560A570a58", "56 0A 57"},
                    version_row{"OtherCharactersAreSkipped", "17,5 6x\r\n3-1", "56 31"},
                    version_row{"UnpairedDigitIsDropped", "17,563", "56"},
                    version_row{"PaddingInFrontOfTheComma", "0a,5631", ""},
                    version_row{"SecondCommaIsSkipped", "17,56,31", "56 31"},
                    version_row{"NothingBehindTheComma", "17,", ""}, version_row{"CommaOnly", ",", ""},
                    version_row{"MoreThanFits", "17,000102030405060708090B", "00 01 02 03 04 05 06 07"},
                    version_row{"NoComma", "170D56", std::nullopt}, version_row{"NoText", "", std::nullopt}),
    [](const auto& row) { return row.param.m_name; });

struct station_row {
  const char* m_name;
  std::string_view m_line;
  std::int32_t m_station;
  std::int32_t m_result;
  std::string_view m_description;
};

class AnswerStation : public testing::TestWithParam<station_row> {};

TEST_P(AnswerStation, FieldsOfTheLine_ReplaceWhatWasKnown) {
  amt_station_result_st result{77, 0, ""};
  amt_answer_station_result(GetParam().m_line, result);
  EXPECT_EQ(result.m_station, GetParam().m_station);
  EXPECT_EQ(result.m_result, GetParam().m_result);
  EXPECT_EQ(result.m_description, GetParam().m_description);
}

INSTANTIATE_TEST_SUITE_P(
    Each, AnswerStation,
    testing::Values(station_row{"Whole", "12,1,RF pass", 12, 1, "RF pass"}, station_row{"StationOnly", "5", 5, 0, ""},
                    station_row{"StationAndResult", "5,2", 5, 2, ""},
                    station_row{"StationAndDescription", "5,,text", 5, 0, "text"},
                    station_row{"ResultOnly", ",2", 77, 2, ""}, station_row{"ResultAndDescription", "2", 2, 0, ""},
                    station_row{"DescriptionWithCommas", "5,1,a,b,", 5, 1, "a,b,"},
                    station_row{"EmptyDescription", "5,1,", 5, 1, ""},
                    station_row{"ThirdDigitIsTheResult", "123,4", 12, 3, "4"},
                    station_row{"TwoDigitsOfResult", "5,12,text", 5, 1, ""}, station_row{"NoDigits", "none", 77, 0, ""},
                    station_row{"Nothing", "", 77, 0, ""}),
    [](const auto& row) { return row.param.m_name; });

// What stands behind a text in memory is no part of it.
TEST(AnswerStationBounds, EmptyTextInFrontOfADigit_HoldsNone) {
  amt_station_result_st result{77, 0, ""};
  amt_answer_station_result(std::string_view("5,1", 0), result);
  EXPECT_EQ(result.m_station, 77);
  amt_answer_station_result(std::string_view("5,1", 1), result);
  EXPECT_EQ(result.m_station, 5);
  amt_answer_station_result(std::string_view("5,1", 2), result);
  EXPECT_EQ(result.m_result, 0);
}

TEST(WholeError, UpToItsLineEnd_IsOne) {
  EXPECT_TRUE(amt_answer_is_whole_error("\r\nERROR\r\n"));
  EXPECT_TRUE(amt_answer_is_whole_error("\r\n^X\r\n\r\n+CME ERROR: 100\r\n"));
  EXPECT_TRUE(amt_answer_is_whole_error("\r\n+CMS ERROR: 3\r\nrest"));
  EXPECT_FALSE(amt_answer_is_whole_error("\r\n+CME ERROR: 100"));
  EXPECT_FALSE(amt_answer_is_whole_error("\r\n+CME ERROR: 100\r"));
  EXPECT_FALSE(amt_answer_is_whole_error("\r\nERROR\r"));
  EXPECT_FALSE(amt_answer_is_whole_error("\r\nOK\r\n"));
}

}  // namespace
