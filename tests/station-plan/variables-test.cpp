#include "station/plan/variables.h"

#include <gtest/gtest.h>

#include "station/plan/pattern.h"
#include "station/run/values.h"
#include "tests/station-plan/findings.h"
#include "tests/unit/temp-folder.h"

namespace {

std::optional<std::string> expand(const std::string& text, std::string* wrong) {
  return plan_expand(
      text,
      [](const std::string& name) -> std::optional<std::string> {
        if (name == "a") return "1";
        if (name == "bad") return "x\ry";
        return std::nullopt;
      },
      wrong);
}

TEST(PlanVariables, References_AreFilledIn) {
  std::string wrong;
  EXPECT_EQ(expand("<${a}${a}>", &wrong), "<11>");
  EXPECT_EQ(expand("AT$X $${a} ${a}$", &wrong), "AT$X ${a} 1$");
  EXPECT_EQ(wrong, "");
}

TEST(PlanVariables, MissingValue_IsNamed) {
  std::string wrong;
  EXPECT_EQ(expand("${none}", &wrong), std::nullopt);
  EXPECT_EQ(wrong, "the variable none has no value");
}

TEST(PlanVariables, ValueWithAControlCharacter_IsRefused) {
  std::string wrong;
  EXPECT_EQ(expand("${bad}", &wrong), std::nullopt);
  EXPECT_EQ(wrong, "the value of bad has a control character");
}

TEST(PlanVariables, Numbers_AreWholeTexts) {
  EXPECT_EQ(plan_read_number("-3.5e2"), -350.0);
  EXPECT_EQ(plan_read_number("+7"), 7.0);
  for (const char* text : {"", " 1", "1 ", "1x", "+-1", "nan", "inf", "0x10"})
    EXPECT_EQ(plan_read_number(text), std::nullopt) << text;
}

TEST(PlanVariables, Patterns_MatchTheWholeAndTakeAGroup) {
  EXPECT_TRUE(plan_pattern_matches("[0-9]+", "123"));
  EXPECT_FALSE(plan_pattern_matches("[0-9]+", "123x"));
  EXPECT_EQ(plan_pattern_take("n=([0-9]+)", "a n=12 b"), "12");
  EXPECT_EQ(plan_pattern_take("n=([0-9]+)", "a"), std::nullopt);
}

class ValuesOfARun : public testing::Test {
 protected:
  ValuesOfARun() {
    const std::string variant =
        "[variant]\nname = \"v\"\n[variables]\nfrom_variant = \"variant\"\nfrom_line = \"variant\"\n";
    m_plan = plan_load_text(PLAN_HEAD +
                                "[variables]\nfrom_line = \"default\"\nfrom_variant = \"default\"\n"
                                "from_order = { default = \"default\", column = \"c\", matches = \"[a-z]+\" }\n"
                                "from_operator = { default = \"default\", ask = \"which?\", matches = \"[a-z]+\" }\n"
                                "from_default = \"default\"\n[[step]]\nname = \"s\"\noperator = \"message\"\nprompt = "
                                "\"${from_line}${from_variant}${from_order}${from_operator}${from_default}\"\n",
                            "p", &variant, "v")
                 .m_plan;
    EXPECT_EQ(m_order.read(m_folder.write("o.csv", "serial,c\nA1,order\nA2,\nA3,ORDER\n")), "");
  }

  temp_folder m_folder;
  plan_st m_plan;
  run_work_order_st m_order;
  std::map<std::string, std::string> m_given = {{"from_line", "line"}};
  std::vector<std::string> m_answers = {"operator"};
  std::vector<std::string> m_questions;
  run_values_st m_values{&m_plan, &m_given, &m_order,
                         [this](const std::string& question) -> std::optional<std::string> {
                           m_questions.push_back(question);
                           if (m_answers.empty()) return std::nullopt;
                           std::string answer = m_answers.front();
                           m_answers.erase(m_answers.begin());
                           return answer;
                         }};
};

TEST_F(ValuesOfARun, EachSource_ComesBeforeTheNext) {
  m_values.set_serial("A1");
  EXPECT_EQ(m_values.find("from_line"), "line");
  EXPECT_EQ(m_values.find("from_variant"), "variant");
  EXPECT_EQ(m_values.find("from_order"), "order");
  EXPECT_EQ(m_values.find("from_operator"), "operator");
  EXPECT_EQ(m_values.find("from_operator"), "operator");
  EXPECT_EQ(m_values.find("from_default"), "default");
  EXPECT_EQ(m_questions.size(), 1u);
  EXPECT_EQ(m_values.known().at("from_order").m_source, "work order");
}

TEST_F(ValuesOfARun, EmptyCell_GivesWayToTheDefault) {
  m_values.set_serial("A2");
  EXPECT_EQ(m_values.find("from_order"), "default");
}

TEST_F(ValuesOfARun, CellThatDoesNotMatch_IsNoValue) {
  m_values.set_serial("A3");
  EXPECT_EQ(m_values.find("from_order"), std::nullopt);
}

TEST_F(ValuesOfARun, AnswerThatDoesNotMatch_IsAskedForAgain) {
  m_answers = {"UPPER", "lower"};
  EXPECT_EQ(m_values.find("from_operator"), "lower");
  EXPECT_EQ(m_questions.size(), 2u);
}

TEST_F(ValuesOfARun, SavedValue_TakesThePlaceOfAll) {
  m_values.save("from_line", "step", "s");
  EXPECT_EQ(m_values.find("from_line"), "step");
}

TEST_F(ValuesOfARun, WrongValuesOfTheCommandLine_AreRefused) {
  EXPECT_EQ(run_check_given(m_plan, m_given, m_order), "");
  EXPECT_EQ(run_check_given(m_plan, {{"none", "1"}}, m_order), "--var none: the plan has no variable of this name");
  EXPECT_EQ(run_check_given(m_plan, {{"from_order", "1"}}, m_order),
            "--var from_order: the value does not match [a-z]+");
  EXPECT_EQ(run_check_given(m_plan, {{"from_line", "a\rb"}}, m_order),
            "--var from_line: the value has a control character");
}

}  // namespace
