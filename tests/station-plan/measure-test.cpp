#include "station/run/measure.h"

#include <gtest/gtest.h>

namespace {

plan_step_st number_step() {
  plan_step_st step;
  step.m_is_number = true;
  step.m_unit = "V";
  step.m_scale = 1e-6;
  step.m_limits.m_low = 3.6;
  step.m_limits.m_high = 4.2;
  step.m_limits.m_marginal = 0.1;
  return step;
}

run_measured_st measure(const plan_step_st& step, const std::optional<std::string>& raw) {
  return run_measure(step, step.m_limits, raw);
}

struct row_st {
  const char* m_raw;
  verdict_en m_verdict;
  bool m_is_marginal;
};

TEST(Measure, NumberWithLimits_IsJudgedInItsUnit) {
  const row_st rows[] = {
      {"3599999", verdict_en::FAIL, false},  // just below
      {"3600000", verdict_en::PASS, true},   // the limit itself is good
      {"3699999", verdict_en::PASS, true},   // inside the band
      {"3700000", verdict_en::PASS, false},  // at its edge
      {"4100001", verdict_en::PASS, true},   //
      {"4200000", verdict_en::PASS, true},   //
      {"4200001", verdict_en::FAIL, false},  // just above
      {"-3700000", verdict_en::FAIL, false}, {"ERR", verdict_en::ERROR, false}, {"", verdict_en::ERROR, false},
  };
  for (const auto& row : rows) {
    const auto got = measure(number_step(), row.m_raw);
    EXPECT_EQ(got.m_verdict, row.m_verdict) << row.m_raw;
    EXPECT_EQ(got.m_is_marginal, row.m_is_marginal) << row.m_raw;
  }
}

TEST(Measure, Scale_LeavesNoFalseDigits) {
  const auto got = measure(number_step(), "3812000");
  EXPECT_EQ(got.m_value->m_text, "3.812");
  EXPECT_EQ(got.m_value->m_raw, "3812000");
}

TEST(Measure, Failure_ShowsValueAndLimit) {
  EXPECT_EQ(measure(number_step(), "3100000").m_message, "3.1 V is not 3.6 to 4.2 V");
}

TEST(Measure, NoValue_FailsOnlyWhereOneIsNeeded) {
  EXPECT_EQ(measure(number_step(), std::nullopt).m_verdict, verdict_en::FAIL);
  EXPECT_EQ(measure(plan_step_st{}, std::nullopt).m_verdict, verdict_en::PASS);
}

TEST(Measure, Text_IsComparedExactly) {
  plan_step_st step;
  step.m_limits.m_equals = "V1";
  EXPECT_EQ(measure(step, "V1").m_verdict, verdict_en::PASS);
  EXPECT_EQ(measure(step, "V1 ").m_verdict, verdict_en::FAIL);
  step.m_limits = {};
  step.m_limits.m_matches = "V[0-9]";
  EXPECT_EQ(measure(step, "V1").m_verdict, verdict_en::PASS);
  EXPECT_EQ(measure(step, "xV1").m_verdict, verdict_en::FAIL);
  step.m_limits = {};
  step.m_limits.m_one_of = {"a", "b"};
  EXPECT_EQ(measure(step, "b").m_verdict, verdict_en::PASS);
  EXPECT_EQ(measure(step, "c").m_verdict, verdict_en::FAIL);
}

TEST(Measure, EqualNumbers_MayBeWrittenDifferently) {
  plan_step_st step;
  step.m_is_number = true;
  step.m_limits.m_equals = "3.80";
  EXPECT_EQ(measure(step, "3.8").m_verdict, verdict_en::PASS);
  EXPECT_EQ(measure(step, "3.81").m_verdict, verdict_en::FAIL);
}

TEST(Measure, Pattern_TakesAPart) {
  plan_step_st step;
  step.m_is_number = true;
  step.m_pattern = ",([0-9]+)";
  step.m_limits.m_low = 30;
  EXPECT_EQ(measure(step, "4,42").m_verdict, verdict_en::PASS);
  EXPECT_EQ(measure(step, "4,29").m_verdict, verdict_en::FAIL);
  EXPECT_EQ(measure(step, "4").m_verdict, verdict_en::ERROR);
}

TEST(Verdict, Weight_FollowsTheStatedOrder) {
  EXPECT_EQ(verdict_names(), "ABORTED, ERROR, TIMEOUT, FAIL, NOT_RUN, SKIPPED, PASS");
  EXPECT_EQ(verdict_worst(verdict_en::FAIL, verdict_en::NOT_RUN), verdict_en::FAIL);
  EXPECT_EQ(verdict_worst(verdict_en::SKIPPED, verdict_en::PASS), verdict_en::SKIPPED);
}

}  // namespace
