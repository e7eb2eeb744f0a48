#include "platform/log.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/unit/log-capture.h"

namespace {

struct priority_row_st {
  const char* m_tags;  // null: not set
  int m_priority;
};

class LogInit : public testing::TestWithParam<priority_row_st> {};

TEST_P(LogInit, Environment_ChoosesThePriority) {
  const log_capture log;  // gives the priority back
  if (GetParam().m_tags == nullptr) {
    unsetenv("ANDROID_LOG_TAGS");
  } else {
    setenv("ANDROID_LOG_TAGS", GetParam().m_tags, 1);
  }
  platform_log_init();
  unsetenv("ANDROID_LOG_TAGS");
  EXPECT_EQ(__android_log_get_minimum_priority(), GetParam().m_priority);
}

INSTANTIATE_TEST_SUITE_P(
    DebugUnlessTold, LogInit,
    testing::Values(priority_row_st{nullptr, ANDROID_LOG_DEBUG}, priority_row_st{"", ANDROID_LOG_DEBUG},
                    priority_row_st{"*:", ANDROID_LOG_DEBUG}, priority_row_st{"*:x", ANDROID_LOG_DEBUG},
                    priority_row_st{"*:?", ANDROID_LOG_DEBUG}, priority_row_st{"tag:w", ANDROID_LOG_DEBUG}));
INSTANTIATE_TEST_SUITE_P(
    Letters, LogInit,
    testing::Values(priority_row_st{"*:v", ANDROID_LOG_VERBOSE}, priority_row_st{"*:d", ANDROID_LOG_DEBUG},
                    priority_row_st{"*:I", ANDROID_LOG_INFO}, priority_row_st{"*:W", ANDROID_LOG_WARN},
                    priority_row_st{"*:e", ANDROID_LOG_ERROR}, priority_row_st{"*:F", ANDROID_LOG_FATAL},
                    priority_row_st{"*:s", ANDROID_LOG_SILENT}));

}  // namespace
