#include "station/wire/value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "station/wire/meaning.h"
#include "station/wire/render.h"

namespace {

using testing::ElementsAre;

constexpr auto NUMBER = station_kind_en::NUMBER;
constexpr auto TEXT = station_kind_en::TEXT;

constexpr station_part_st VOLTAGE[] = {{"voltage", NUMBER, {"uV", "V", 1e-6, 3}}};
constexpr station_part_st TEMPERATURE[] = {{"temperature", NUMBER, {"0.1 degC", "degC", 0.1, 1}}};
constexpr station_part_st FLAG[] = {{"flag", NUMBER, {}, false, "0 no card, 1 card"}};
constexpr station_part_st SIGNAL[] = {{"satellite", NUMBER}, {"carrier to noise", NUMBER, {"dB-Hz"}}};
constexpr station_part_st RESULT[] = {{"result", NUMBER}, {"description", TEXT, {}, true}};
constexpr station_part_st IDENTITY[] = {{"IMEI"}};

TEST(Value, Number_IsShownInAUnitForPeopleBesideTheRawOne) {
  EXPECT_EQ(station_show_value(VOLTAGE, "3812000"), "3.812 V (3812000 uV)");
  EXPECT_EQ(station_show_value(TEMPERATURE, "285"), "28.5 degC (285 x 0.1 degC)");
  EXPECT_EQ(station_show_value(TEMPERATURE, "-5"), "-0.5 degC (-5 x 0.1 degC)");
}

TEST(Value, Code_IsShownWithItsMeaning) {
  EXPECT_EQ(station_show_value(FLAG, "1"), "1 (card)");
  EXPECT_EQ(station_show_value(FLAG, "0"), "0 (no card)");
  EXPECT_EQ(station_show_value(FLAG, "7"), "7");
}

TEST(Value, SeveralParts_AreShownWithTheirNames) {
  EXPECT_EQ(station_show_value(SIGNAL, "3,42"), "satellite 3, carrier to noise 42 dB-Hz");
}

TEST(Value, TextOfTheWrongForm_IsShownAsItIs) {
  EXPECT_EQ(station_show_value(VOLTAGE, "3812000x"), "3812000x");
  EXPECT_EQ(station_show_value({}, "any"), "any");
}

TEST(Value, Parts_AreSplitAtTheirCommas) {
  EXPECT_THAT(*station_split_value(RESULT, "1,RF, all"), ElementsAre("1", "RF, all"));
  EXPECT_THAT(*station_split_value(RESULT, "1,"), ElementsAre("1", ""));
  EXPECT_TRUE(station_split_value({}, "")->empty());
}

TEST(Value, WrongForms_AreNone) {
  for (const char* text : {"", "1", "x,y", ",y", "1.5,y"}) EXPECT_FALSE(station_split_value(RESULT, text)) << text;
  for (const char* text : {"", " 1", "1 ", "0x1", "+1", "99999999999999999999"}) {
    EXPECT_FALSE(station_split_value(VOLTAGE, text)) << text;
  }
  EXPECT_FALSE(station_split_value(IDENTITY, ""));
}

TEST(ValueJson, Number_IsANumberWithItsUnit) {
  station_outcome_st outcome;
  outcome.m_value = "3812000";
  outcome.m_parts = VOLTAGE;
  EXPECT_EQ(station_render_json_result("battery", outcome),
            R"({"kind":"result","schema":2,"word":"battery","exit":0,"value":3812000,"unit":"uV"})");
}

TEST(ValueJson, SeveralParts_AreNamed) {
  station_outcome_st outcome;
  outcome.m_value = "3,42";
  outcome.m_parts = SIGNAL;
  EXPECT_EQ(station_render_json_result("gps", outcome),
            R"({"kind":"result","schema":2,"word":"gps","exit":0,"value":"3,42","parts":[)"
            R"({"value":3,"unit":"","name":"satellite"},{"value":42,"unit":"dB-Hz","name":"carrier to noise"}]})");
}

TEST(ValueJson, Failure_HasMessageHintAndResult) {
  station_outcome_st outcome;
  outcome.m_exit = STATION_ERROR_ANSWER;
  outcome.m_message = "refused";
  outcome.m_hint = "look";
  outcome.m_result = 10;
  EXPECT_EQ(station_render_json_result("imei", outcome),
            R"({"kind":"result","schema":2,"word":"imei","exit":7,"message":"refused","hint":"look","result":10})");
}

TEST(Meaning, CmeError_IsInWords) {
  station_answer_st answer;
  answer.m_lines = {"RING", "+CME ERROR: 10"};
  EXPECT_EQ(station_refusal(answer), "+CME ERROR: 10: SIM not inserted");
  answer.m_lines = {"+CME ERROR: 9999"};
  EXPECT_EQ(station_refusal(answer), "+CME ERROR: 9999");
  answer.m_lines = {"+CME ERROR: SIM busy"};
  EXPECT_EQ(station_refusal(answer), "+CME ERROR: SIM busy");
  answer.m_lines = {"ERROR"};
  EXPECT_EQ(station_refusal(answer), "ERROR: the request failed");
}

TEST(Meaning, ResultOfAFrame_IsInWords) {
  station_answer_st answer;
  answer.m_frame.emplace();
  amt_frame_init(&*answer.m_frame, 8);
  amt_frame_add_int(&*answer.m_frame, 1, 10);
  EXPECT_EQ(station_refusal(answer), "result 10: what was asked for is not to be had, or could not be kept");
  amt_frame_init(&*answer.m_frame, 8);
  amt_frame_add_int(&*answer.m_frame, 1, 0xFFFFFF9C);
  EXPECT_EQ(station_refusal(answer), "result -100: a result of the modem's own");
}

TEST(Meaning, EveryNumberBelowAHundredFifty_HasItsTextOrNone) {
  for (const int number : {0, 3, 4, 10, 11, 13, 16, 30, 50, 100, 148}) {
    EXPECT_NE(station_cme_meaning(number), nullptr) << number;
  }
  for (const int number : {-1, 8, 9, 19, 64, 99, 101, 1000}) EXPECT_EQ(station_cme_meaning(number), nullptr) << number;
}

}  // namespace
