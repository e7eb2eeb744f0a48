#include "station/wire/judge.h"

#include <gtest/gtest.h>

#include "tests/wire.h"

namespace {

constexpr station_rule_st VERSION_RULE{station_wait_en::FRAME, {46, 46}, 0};
constexpr station_rule_st AT_RULE{station_wait_en::AT_FINAL, {}, 0};

stream_item_st frame(const byte_string& bytes, stream_fault_en fault = stream_fault_en::NONE) {
  return {stream_kind_en::FRAME, fault, bytes};
}

std::optional<station_exit_en> take_text(station_judge_st* judge, std::string_view line) {
  const byte_string bytes = bytes_from_text(line);
  return judge->take({stream_kind_en::TEXT, stream_fault_en::NONE, bytes});
}

station_request_st frame_request(std::uint8_t id) {
  station_request_st request;
  request.m_is_frame = true;
  amt_frame_init(&request.m_frame.m_buf_a, id);
  return request;
}

TEST(JudgeRule, Frame_WaitsForTheNextId) {
  EXPECT_EQ(station_rule_for(frame_request(45), 0).m_wait, station_wait_en::FRAME);
  EXPECT_EQ(station_rule_for(frame_request(45), 0).m_ids, (std::array<std::uint8_t, 2>{46, 46}));
  EXPECT_EQ(station_rule_for(frame_request(174), 0).m_ids, (std::array<std::uint8_t, 2>{175, 175}));
  EXPECT_EQ(station_rule_for(frame_request(255), 0).m_ids, (std::array<std::uint8_t, 2>{0, 0}));
}

TEST(JudgeRule, GpsTest_IsAnsweredWithTheIdOfGpsControlOrRefusedWithItsOwn) {
  const station_rule_st rule = station_rule_for(frame_request(176), 0);
  const byte_string done = bytes_from_hex("AABBCCDD 17000000 02000000 0F00BBAF0900 EE0101040000000000 9B61FEEC");
  const byte_string refused = bytes_from_hex("AABBCCDD 17000000 02000000 0F00BBB10900 EE0101040001000000 65376929");
  const byte_string other = bytes_from_hex("AABBCCDD 17000000 02000000 0F00BBB00900 EE0101040000000000 833F7C44");
  EXPECT_EQ(station_judge_st(rule).take(frame(done)), STATION_OK);
  EXPECT_EQ(station_judge_st(rule).take(frame(refused)), STATION_ERROR_ANSWER);
  EXPECT_EQ(station_judge_st(rule).take(frame(other)), std::nullopt);
}

TEST(JudgeRule, Text_WaitsForAFinalResult) {
  EXPECT_EQ(station_rule_for({false, {}, "AT\r"}, 0).m_wait, station_wait_en::AT_FINAL);
}

TEST(JudgeRule, Expect_CountsWhateverTheRequestIs) {
  EXPECT_EQ(station_rule_for(frame_request(45), 3).m_wait, station_wait_en::COUNT);
  EXPECT_EQ(station_rule_for(frame_request(45), 3).m_count, 3U);
}

TEST(JudgeFinal, OnlyTheExactResults_AreFinal) {
  EXPECT_EQ(station_at_final("OK"), STATION_OK);
  EXPECT_EQ(station_at_final("ERROR"), STATION_ERROR_ANSWER);
  EXPECT_EQ(station_at_final("+CME ERROR: 100"), STATION_ERROR_ANSWER);
  EXPECT_EQ(station_at_final("+CMS ERROR: 302"), STATION_ERROR_ANSWER);
  for (const char* line : {"", "OK.", "ERRORS: 5", "NO ERROR", "+CME", "ok", "^X: OK"}) {
    EXPECT_EQ(station_at_final(line), std::nullopt) << line;
  }
}

TEST(JudgeFrame, PreResponseAndOtherFrames_DoNotEndTheWait) {
  station_judge_st judge(VERSION_RULE);
  EXPECT_EQ(judge.take({stream_kind_en::PRE_RESPONSE, stream_fault_en::NONE, PRE_RESPONSE}), std::nullopt);
  EXPECT_EQ(judge.take(frame(TEXT_ERROR)), std::nullopt);
  EXPECT_EQ(take_text(&judge, "OK\r\n"), std::nullopt);
  EXPECT_EQ(judge.give_up(), STATION_NO_ANSWER);
}

TEST(JudgeFrame, AnswerWithoutError_IsOk) {
  station_judge_st judge(VERSION_RULE);
  EXPECT_EQ(judge.take(frame(VERSION_OK)), STATION_OK);
  EXPECT_EQ(station_judge_st(VERSION_RULE).take(frame(NO_ATOMS)), STATION_OK);
}

TEST(JudgeFrame, AnswerWithAResultCode_IsAnError) {
  EXPECT_EQ(station_judge_st(VERSION_RULE).take(frame(VERSION_ERROR)), STATION_ERROR_ANSWER);
}

TEST(JudgeFrame, DamagedAnswer_IsDamaged) {
  EXPECT_EQ(station_judge_st(VERSION_RULE).take(frame(VERSION_OK, stream_fault_en::CHECKSUM)), STATION_DAMAGED);
}

TEST(JudgeFrame, OtherDamagedFrame_IsWaitedOverAndRemembered) {
  station_judge_st judge(VERSION_RULE);
  EXPECT_EQ(judge.take(frame(TEXT_ERROR, stream_fault_en::CHECKSUM)), std::nullopt);
  const byte_string start = bytes_from_hex("AABBCCDD00000000");
  EXPECT_EQ(judge.take(frame(start, stream_fault_en::LENGTH)), std::nullopt);
  EXPECT_EQ(judge.give_up(), STATION_DAMAGED);
  EXPECT_EQ(judge.take(frame(VERSION_OK)), STATION_OK);
}

TEST(JudgeText, FinalResult_EndsTheWaitAndLinesAreKept) {
  station_judge_st judge(AT_RULE);
  EXPECT_EQ(take_text(&judge, "\r\n^DSVER: 7\r\n"), std::nullopt);
  EXPECT_EQ(take_text(&judge, "\r\nOK\r\n"), STATION_OK);
  EXPECT_EQ(judge.answer().m_lines, (std::vector<std::string>{"^DSVER: 7", "OK"}));
}

TEST(JudgeText, ErrorFrameWithIdZero_IsAnError) {
  EXPECT_EQ(station_judge_st(AT_RULE).take(frame(TEXT_ERROR)), STATION_ERROR_ANSWER);
  EXPECT_EQ(station_judge_st(AT_RULE).take(frame(VERSION_ERROR)), std::nullopt);
}

TEST(JudgeCount, WorstOfTheCounted_Decides) {
  station_judge_st judge({station_wait_en::COUNT, {}, 3});
  EXPECT_EQ(judge.take({stream_kind_en::PRE_RESPONSE, stream_fault_en::NONE, PRE_RESPONSE}), std::nullopt);
  EXPECT_EQ(judge.take(frame(VERSION_ERROR)), std::nullopt);
  EXPECT_EQ(judge.take(frame(VERSION_OK, stream_fault_en::CHECKSUM)), std::nullopt);
  EXPECT_EQ(take_text(&judge, "ERROR\r\n"), STATION_DAMAGED);
}

TEST(JudgeCount, AllGood_IsOk) {
  station_judge_st judge({station_wait_en::COUNT, {}, 2});
  EXPECT_EQ(take_text(&judge, "x\r\n"), std::nullopt);
  EXPECT_EQ(judge.take(frame(VERSION_OK)), STATION_OK);
}

TEST(JudgeNothing, AnyAnswer_NeverDecides) {
  station_judge_st judge({});
  EXPECT_EQ(judge.take(frame(VERSION_OK)), std::nullopt);
  EXPECT_EQ(take_text(&judge, "OK\r\n"), std::nullopt);
}

TEST(JudgeLines, EndlessChatter_IsKeptInBounds) {
  station_judge_st judge(AT_RULE);
  for (int n = 0; n < 1000; ++n) take_text(&judge, "chatter\r\n");
  EXPECT_EQ(judge.answer().m_lines.size(), 64U);
}

}  // namespace
