// What the reader makes of a plan's file: types, unknown keys, names, actions, variants.
#include "tests/station-plan/findings.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST(PlanReader, LeastPlan_HasNoFinding) {
  EXPECT_THAT(findings_of_steps(step("word = \"sw-version\"")), IsEmpty());
}

TEST(PlanReader, BrokenToml_IsOneFindingWithItsPlace) {
  const auto found = findings_of("[plan]\nname = \"p\nrevision = 1\n");
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_THAT(found[0], testing::StartsWith("p:2:"));
}

TEST(PlanReader, MistypedKey_IsRefusedWithTheNearestOne) {
  EXPECT_THAT(findings_of_steps(step("word = \"adc\"\nlow = 1\nhihg = 2")),
              ElementsAre("p:8:1: error: step.hihg: there is no such key; is high meant?"));
}

TEST(PlanReader, KeyThatIsNearNothing_IsRefused) {
  EXPECT_THAT(findings_of_steps(step("word = \"adc\"\nzzzzzz = 2")),
              ElementsAre("p:7:1: error: step.zzzzzz: there is no such key"));
}

TEST(PlanReader, UnknownTable_IsRefused) {
  EXPECT_THAT(findings_of_steps(step("word = \"adc\"") + "[steps]\n"),
              ElementsAre(HasSubstr("p:7:2: error: steps: there is no such table")));
}

TEST(PlanReader, WrongType_NamesTheRightOne) {
  EXPECT_THAT(findings_of_steps(step("word = \"adc\"\nlow = \"1\"\nretries = -1\nserial = 1\non_fail = \"stop\"")),
              ElementsAre("p:7:1: error: step.low: must be number",
                          "p:8:1: error: step.retries: must be whole number, 0 to 100",
                          "p:9:1: error: step.serial: must be true or false",
                          "p:10:1: error: step.on_fail: must be one of `go_on`, `end_group`, `end_plan`"));
}

TEST(PlanReader, NumberThatIsNotFinite_IsRefused) {
  EXPECT_THAT(findings_of_steps(step("word = \"adc\"\nlow = nan\nhigh = inf")), SizeIs(2));
}

TEST(PlanReader, MissingHead_IsAFinding) {
  EXPECT_THAT(findings_of(step("word = \"adc\"")), ElementsAre("p: error: plan: the table [plan] is missing"));
}

TEST(PlanReader, MissingNames_AreFindings) {
  EXPECT_THAT(findings_of("[plan]\n[[step]]\nword = \"adc\"\n"),
              ElementsAre("p:1:2: error: plan.name: is missing", "p:1:2: error: plan.revision: is missing",
                          "p:2:1: error: step.name: is missing"));
}

TEST(PlanReader, DuplicateName_IsRefusedAcrossGroupsAndTeardown) {
  EXPECT_THAT(findings_of(PLAN_HEAD + "[[group]]\nname = \"g\"\n[[group.step]]\nname = \"s\"\nword = \"adc\"\n" +
                          "[[teardown]]\nname = \"s\"\nword = \"adc\"\n"),
              ElementsAre("p:10:1: error: step.name: there is another step of the name 's'"));
}

TEST(PlanReader, StepWithTwoActions_IsRefused) {
  EXPECT_THAT(findings_of_steps(step("word = \"adc\"\nat = \"AT\"")),
              ElementsAre(HasSubstr("p:7:1: error: step.at: the step has word already")));
}

TEST(PlanReader, StepWithoutAction_IsRefused) {
  EXPECT_THAT(findings_of_steps(step("")), ElementsAre(HasSubstr("p:4:1: error: step: does nothing")));
}

TEST(PlanReader, KeyOfAnotherAction_IsRefused) {
  EXPECT_THAT(findings_of_steps(step("word = \"adc\"\nraw = true")),
              ElementsAre("p:7:1: error: step.raw: means nothing for a step with word"));
  EXPECT_THAT(findings_of_steps(step("pause_ms = 5\nlow = 1")),
              ElementsAre("p:7:1: error: step.low: means nothing for a step with pause_ms"));
}

TEST(PlanReader, OperatorWithoutPrompt_IsRefused) {
  EXPECT_THAT(findings_of_steps(step("operator = \"yes_no\"")),
              ElementsAre("p:4:1: error: step.prompt: an operator's step needs a prompt"));
}

TEST(PlanReader, StepsBesideGroups_AreRefused) {
  EXPECT_THAT(findings_of_steps(step("word = \"adc\"") +
                                "[[group]]\nname = \"g\"\n[[group.step]]\nname = \"t\"\nword = \"adc\"\n"),
              ElementsAre(HasSubstr("p:4:3: error: step: a plan has either steps or groups of steps")));
}

TEST(PlanReader, GroupWithoutSteps_IsRefused) {
  EXPECT_THAT(findings_of(PLAN_HEAD + "[[group]]\nname = \"g\"\n"),
              ElementsAre("p:4:1: error: group.step: the group has no steps"));
}

TEST(PlanReader, TeardownWithOnFail_IsRefused) {
  EXPECT_THAT(
      findings_of_steps(step("word = \"adc\"") + "[[teardown]]\nname = \"t\"\nword = \"adc\"\non_fail = \"go_on\"\n"),
      ElementsAre("p:10:1: error: step.on_fail: means nothing in the teardown"));
}

TEST(PlanReader, AllFindings_ComeAtOnceInTheOrderOfTheFile) {
  const auto found = findings_of_steps(step("word = \"nosuch\"\nlow = 3\nhigh = 2\nuint = \"V\"") +
                                       step("at = \"AT\"\nmatches = \"(\""));
  EXPECT_THAT(found, ElementsAre(HasSubstr("p:6:1: error: step.word"), HasSubstr("p:8:1: error: step.high"),
                                 HasSubstr("p:9:1: error: step.uint"), HasSubstr("p:11:1: error: step.name"),
                                 HasSubstr("p:13:1: error: step.matches")));
}

TEST(PlanReader, TooManySteps_AreRefused) {
  std::string many = PLAN_HEAD;
  for (int n = 0; n < 10001; ++n) many += "[[step]]\nname = \"s" + std::to_string(n) + "\"\npause_ms = 1\n";
  EXPECT_THAT(findings_of(many), ElementsAre(HasSubstr("a plan has at most 10000 steps")));
}

TEST(PlanReader, MissingFile_IsAFinding) {
  const auto loaded = plan_load("/there/is/no/such/plan", "");
  ASSERT_THAT(loaded.m_findings, SizeIs(1));
  EXPECT_TRUE(loaded.has_errors());
  EXPECT_EQ(plan_finding_text(loaded.m_findings[0]), "/there/is/no/such/plan: error: there is no such file");
}

TEST(PlanReader, Folder_IsAFinding) {
  EXPECT_TRUE(plan_load("/tmp", "").has_errors());
}

const std::string VARIANT_HEAD = "[variant]\nname = \"v1\"\n";

TEST(PlanVariant, Limits_TakeThePlaceOfThePlans) {
  const std::string variant = VARIANT_HEAD + "[step.s]\nlow = 5\nretries = 3\n[variables]\ncolor = \"red\"\n";
  const auto loaded =
      plan_load_text(PLAN_HEAD + "[variables]\ncolor = \"blue\"\n" + step("word = \"adc\"\nlow = 1\nhigh = 9\n") +
                         "[[step]]\nname = \"t\"\noperator = \"message\"\nprompt = \"${color}\"\n",
                     "p", &variant, "v");
  ASSERT_THAT(loaded.m_findings, IsEmpty());
  const plan_step_st& changed = loaded.m_plan.m_groups[0].m_steps[0];
  EXPECT_EQ(changed.m_limits.m_low, 5.0);
  EXPECT_EQ(changed.m_limits.m_high, 9.0);
  EXPECT_EQ(changed.m_retries, 3u);
  EXPECT_EQ(loaded.m_plan.m_variables[0].m_variant, "red");
  EXPECT_EQ(loaded.m_plan.m_variant_name, "v1");
}

TEST(PlanVariant, WrongLimit_IsFoundInTheVariantsFile) {
  const std::string variant = VARIANT_HEAD + "[step.s]\nhigh = 0\n";
  EXPECT_THAT(findings_of(PLAN_HEAD + step("word = \"adc\"\nlow = 1\nhigh = 9"), &variant),
              ElementsAre(HasSubstr("v:4:1: error: step.high: the limits are the wrong way round")));
}

TEST(PlanVariant, UnknownStepAndVariable_AreRefused) {
  const std::string variant = VARIANT_HEAD + "[step.other]\nlow = 1\n[variables]\nnone = 1\n";
  EXPECT_THAT(findings_of(PLAN_HEAD + step("word = \"adc\""), &variant),
              ElementsAre("v:3:7: error: step.other: the plan has no step of this name",
                          "v:6:1: error: variables.none: the plan has no variable of this name"));
}

TEST(PlanVariant, KeyThatIsThePlans_IsRefused) {
  const std::string variant = VARIANT_HEAD + "[step.s]\nword = \"imei\"\n";
  EXPECT_THAT(findings_of(PLAN_HEAD + step("word = \"adc\""), &variant),
              testing::Contains("v:4:1: error: step.word: a variant cannot change this"));
}

}  // namespace
