// What the check finds in a plan that can be read but makes no sense.
#include "station/plan/example.h"
#include "tests/station-plan/findings.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A step, and what is found at it.
struct row_st {
  const char* m_step;
  const char* m_finding;
};

class StepOfAPlan : public testing::TestWithParam<row_st> {};

TEST_P(StepOfAPlan, WithoutMeaning_IsFound) {
  EXPECT_THAT(findings_of_steps(step(GetParam().m_step)), Contains(HasSubstr(GetParam().m_finding)));
}

const row_st ROWS[] = {
    // words and links
    {"word = \"adcc\"", "p:6:1: error: step.word: there is no word 'adcc'"},
    {"word = \"monitor\"", "step.word: monitor sends nothing"},
    {"word = \"vibrate\"\nargs = [\"on\"]",
     "p:6:1: error: step.word: vibrate on is not on the pc link; give link = \"app\""},
    {"word = \"adc\"\nlink = \"app\"", "p:7:1: error: step.link: the plan's phones have no app link"},
    {"word = \"amt1-flag\"\nas_frame = true", "p:7:1: error: step.as_frame: the pc link has no frame for amt1-flag"},
    {"word = \"bt-address\"\nargs = [\"put\"]", "p:7:1: error: step.args: bt-address: there is no operation 'put'"},
    {"word = \"imei\"\nargs = [\"set\", \"490154203237519\"]", "force = true sends it all the same"},
    {"word = \"version\"\nargs = [\"none\"]", "step.args: version: 'none' is no module"},
    {"frame = 300", "step.frame: frame: '300' is no command id"},
    {"frame = 45\natoms = [\"19\"]", "step.frame: frame: atom '19' is not of the form"},
    {"at = \"\"", "step.at: "},
    // values
    {"frame = 45\natoms = [\"19:int=16\"]\nequals = \"x\"", "value_atom has to name the atom"},
    {"frame = 45\nvalue_atom = [1, 2, 3]", "at most two atoms"},
    {"word = \"gps\"\nargs = [\"read\", \"3\"]\nlow = 3", "step.value: gps read 3 gives several values"},
    {"word = \"adc\"\npattern = \"[0-9]+\"", "step.pattern: needs a group"},
    {"word = \"adc\"\npattern = \"([0-9]+\"", "step.pattern: is no regular expression"},
    // limits
    {"word = \"adc\"\nlow = 3\nhigh = 2",
     "p:8:1: error: step.high: the limits are the wrong way round: low 3 is above high 2"},
    {"word = \"adc\"\nunit = \"counts\"", "p:7:1: error: step.unit: belongs to a number"},
    {"word = \"adc\"\nscale = 2", "step.scale: belongs to a number"},
    {"word = \"adc\"\nlow = 3\nunit = \"V\"", "step.unit: adc gives counts; another unit needs scale"},
    {"word = \"adc\"\nvalue = \"text\"\nlow = 3", "step.low: is for a number"},
    {"word = \"adc\"\nvalue = \"number\"\nmatches = \"3\"", "step.matches: is for text"},
    {"word = \"adc\"\nvalue = \"number\"\nequals = \"three\"", "step.equals: 'three' is no number"},
    {"word = \"adc\"\nvalue = \"number\"\none_of = [1, \"x\"]", "step.one_of: 'x' is no number"},
    {"word = \"adc\"\none_of = []", "step.one_of: is empty"},
    {"word = \"adc\"\nlow = 1\nequals = 3", "is judged by more than one of"},
    {"word = \"adc\"\nmarginal = 1", "step.marginal: is the distance from a limit"},
    {"word = \"adc\"\nlow = 1\nmarginal = -1", "step.marginal: must not be negative"},
    {"word = \"adc\"\nlow = 1\nhigh = 2\nmarginal = 0.6", "leaves no number between the limits"},
    {"word = \"sw-version\"\nanswered = true\nequals = \"V1\"", "step.answered: excludes limits"},
    {"word = \"adc\"\nanswered = false", "step.answered: is false, and nothing else judges the step"},
    // conditions
    {"word = \"adc\"\nskip_if = { step = \"later\", verdict = \"FAIL\" }",
     "skip_if.step: no step 'later' comes before"},
    {"word = \"adc\"\nskip_if = { step = \"s\", verdict = \"GOOD\" }", "skip_if.verdict: 'GOOD' is no verdict"},
    {"word = \"adc\"\nskip_if = { variable = \"x\" }", "skip_if: needs a variable with one of"},
    {"word = \"adc\"\nskip_if = { variable = \"x\", equals = 1 }", "skip_if.variable: there is no variable 'x'"},
    // variables
    {"word = \"pcba-sn\"\nargs = [\"set\", \"${x}\"]", "p:6:1: error: step: there is no variable 'x'"},
    {"word = \"pcba-sn\"\nargs = [\"set\", \"${x\"]", "has no end"},
    {"word = \"adc\"\nsave = \"4x\"", "step.save: '4x' is no name of a variable"},
    {"word = \"adc\"\nsave = \"x\"", "p:7:1: warning: step.save: the variable 'x' is not used"},
};

INSTANTIATE_TEST_SUITE_P(Rows, StepOfAPlan, testing::ValuesIn(ROWS));

TEST(PlanCheck, UnitThatPeopleUse_BringsItsScale) {
  const auto loaded = plan_load_text(
      PLAN_HEAD + "links = [\"app\"]\n" + step("word = \"battery\"\nlink = \"app\"\nlow = 3.6\nunit = \"V\""), "p",
      nullptr, "");
  EXPECT_THAT(loaded.m_findings, IsEmpty());
  EXPECT_EQ(loaded.m_plan.m_groups[0].m_steps[0].m_scale, 1e-6);
}

TEST(PlanCheck, NoUnit_IsTheWordsOwn) {
  const auto loaded = plan_load_text(PLAN_HEAD + step("word = \"adc\"\nlow = 3"), "p", nullptr, "");
  EXPECT_EQ(loaded.m_plan.m_groups[0].m_steps[0].m_unit, "counts");
}

TEST(PlanCheck, StepBehindPowerOff_CannotBeReached) {
  EXPECT_THAT(findings_of_steps(step("word = \"power-off\"") + "[[step]]\nname = \"t\"\nword = \"adc\"\n"),
              ElementsAre("p:7:1: error: step: cannot be reached: the phone answers nothing after 's'"));
}

TEST(PlanCheck, StepBehindPowerOffAndOperator_CanBeReached) {
  EXPECT_THAT(findings_of_steps(step("word = \"power-off\"") +
                                "[[step]]\nname = \"o\"\noperator = \"message\"\nprompt = \"Switch it on\"\n" +
                                "[[step]]\nname = \"t\"\nword = \"adc\"\n"),
              IsEmpty());
}

TEST(PlanCheck, ConditionThatIsAlwaysTrue_IsFound) {
  EXPECT_THAT(
      findings_of_steps(step("word = \"adc\"\non_fail = \"end_plan\"") +
                        "[[step]]\nname = \"t\"\nword = \"adc\"\nskip_if = { step = \"s\", verdict = \"PASS\" }\n"),
      ElementsAre(HasSubstr("p:11:1: error: skip_if: is always true")));
}

TEST(PlanCheck, ConditionThatIsNeverTrue_IsAWarning) {
  EXPECT_THAT(
      findings_of_steps(step("word = \"adc\"\non_fail = \"end_plan\"") +
                        "[[step]]\nname = \"t\"\nword = \"adc\"\nskip_if = { step = \"s\", verdict = \"FAIL\" }\n"),
      ElementsAre(HasSubstr("p:11:1: warning: skip_if: is never true")));
}

TEST(PlanCheck, TwoSerialNumbers_AreRefused) {
  EXPECT_THAT(findings_of_steps(step("word = \"board-sn\"\nserial = true") +
                                "[[step]]\nname = \"t\"\noperator = \"serial\"\nprompt = \"Scan\"\n"),
              ElementsAre(HasSubstr("step.serial: the step 's' gives the serial number already")));
}

TEST(PlanCheck, UnusedVariable_IsAWarningOnly) {
  const auto loaded = plan_load_text(PLAN_HEAD + "[variables]\nx = 1\n" + step("word = \"adc\""), "p", nullptr, "");
  ASSERT_EQ(loaded.m_findings.size(), 1u);
  EXPECT_EQ(plan_finding_text(loaded.m_findings[0]), "p:5:1: warning: variables.x: is not used");
  EXPECT_FALSE(loaded.has_errors());
}

TEST(PlanCheck, ValueOfALaterStep_IsNotThereYet) {
  EXPECT_THAT(findings_of_steps(step("word = \"pcba-sn\"\nargs = [\"set\", \"${sn}\"]") +
                                "[[step]]\nname = \"t\"\nword = \"board-sn\"\nsave = \"sn\"\n"),
              ElementsAre(HasSubstr("the variable 'sn' gets its value in a later step")));
}

TEST(PlanCheck, DefaultThatDoesNotMatch_IsFound) {
  EXPECT_THAT(findings_of(PLAN_HEAD + "[variables]\nx = { default = \"a\", matches = \"[0-9]\" }\n" +
                          step("operator = \"message\"\nprompt = \"${x}\"")),
              ElementsAre("p:5:1: error: variables.x: 'a' does not match [0-9]"));
}

TEST(PlanCheck, WordWithoutValue_CannotBeJudged) {
  EXPECT_THAT(findings_of_steps(step("word = \"check\"\nargs = [\"wifi\"]\nlow = 1")),
              Contains(HasSubstr("step.word: check wifi gives no value")));
}

TEST(PlanCheck, Example_HasNoFinding) {
  EXPECT_THAT(findings_of(plan_example()), IsEmpty());
}

}  // namespace
