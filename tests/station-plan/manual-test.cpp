// docs/plans.md against the tables of keys and exit codes.
#include "tests/station-plan/manual.h"

#include <gtest/gtest.h>

#include "station/plan/keys.h"
#include "station/plan/verdict.h"

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

TEST(PlanManual, ExitCodes_AreThoseOfTheTable) {
  const std::string text = manual();
  expect_exit_table(text, "| exit code of `run` | meaning |\n|---|---|\n", station_command_en::RUN);
  expect_exit_table(text, "| exit code of `check` | meaning |\n|---|---|\n", station_command_en::CHECK);
}

TEST(PlanManual, OptionsOfRun_AreThoseOfTheHelp) {
  const std::string rows = between(manual(), "| option of `run` | meaning |\n|---|---|\n", "\n\n");
  const auto documented = matches("\n" + rows, "\n\\| `(--[a-z-]+)");
  EXPECT_EQ(std::set<std::string>(documented.begin(), documented.end()), options_in_help({"run"}));
}

TEST(PlanManual, Verdicts_StandInTheirOrder) {
  EXPECT_NE(manual().find(verdict_names()), std::string::npos);
}

}  // namespace
