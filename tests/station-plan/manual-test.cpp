// docs/plans.md against the tables of keys and exit codes.
#include <gtest/gtest.h>

#include "station/plan/keys.h"
#include "station/plan/verdict.h"
#include "station/run/run.h"
#include "tests/unit/docs/text.h"

namespace {

std::string manual() {
  return project_text("docs/plans.md");
}

std::string or_dash(const char* text) {
  return *text == '\0' ? "" : std::string(" ") + text;
}

std::string row_of(const plan_key_st& key) {
  return "| `" + std::string(key.m_name) + "` | " + plan_type_text(key) + " |" + or_dash(key.m_unit) + " |" +
         or_dash(key.m_default) + " | " + key.m_meaning + (key.m_is_in_variant ? " (v)" : "") + " |\n";
}

TEST(PlanManual, EachKey_HasItsRow) {
  const std::string text = manual();
  for (const auto& key : plan_keys()) {
    EXPECT_NE(text.find(row_of(key)), std::string::npos) << plan_scope_name(key.m_scope) << ": " << row_of(key);
  }
}

TEST(PlanManual, EachRow_IsAKey) {
  const auto rows = matches(manual(), "\n\\| `([a-z_]+)` \\| [^|]*\\|[^|]*\\|[^|]*\\|[^|]*\\|");
  EXPECT_EQ(rows.size(), plan_keys().size());
}

TEST(PlanManual, EachExitCode_HasItsRow) {
  const std::string text = manual();
  for (const auto& row : RUN_EXITS) {
    const std::string wanted = "| " + std::to_string(row.m_code) + " | " + row.m_meaning + " |";
    EXPECT_NE(text.find(wanted), std::string::npos) << wanted;
  }
}

TEST(PlanManual, Verdicts_StandInTheirOrder) {
  EXPECT_NE(manual().find(verdict_names()), std::string::npos);
}

}  // namespace
