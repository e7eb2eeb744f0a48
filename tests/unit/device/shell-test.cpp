#include "amt/amt-device/shell.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/phone-root.h"

namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

class Shell : public testing::Test {
 protected:
  Shell() { phone_root::remove("/tmp/tries"); }
  static std::size_t tries() { return phone_root::read("/tmp/tries").size(); }
  static auto failed_try(int number) {
    return MatchesRegex("system\\(.*\\) FAIL\\[count = " + std::to_string(number) + "\\]: [0-9]+ - .*");
  }

  log_capture m_log;
};

TEST_F(Shell, CommandThatSucceeds_RunsOnce) {
  EXPECT_EQ(amt_device_do_command("printf x >>/tmp/tries"), 0);
  EXPECT_EQ(tries(), 1u);
  EXPECT_TRUE(m_log.has("system(printf x >>/tmp/tries) OK"));
  EXPECT_FALSE(m_log.contains("FAIL"));
}

TEST_F(Shell, CommandThatAlwaysFails_IsTriedFiveTimes) {
  EXPECT_EQ(amt_device_do_command("printf x >>/tmp/tries; exit 3"), -100);
  EXPECT_EQ(tries(), 5u);
  const auto trace = failure_line("amt/amt-device", "amt_device_do_command", -118);
  EXPECT_THAT(m_log.texts(), ElementsAre("amt_device_do_command()", trace, failed_try(1), trace, failed_try(2), trace,
                                         failed_try(3), trace, failed_try(4), trace, failed_try(5)));
  EXPECT_TRUE(m_log.contains("system(printf x >>/tmp/tries; exit 3) FAIL[count = 5]: "));
}

TEST_F(Shell, CommandThatFailsAtFirst_IsTriedUntilItSucceeds) {
  const char* command = "printf x >>/tmp/tries; test $(wc -c </tmp/tries) = 3";
  EXPECT_EQ(amt_device_do_command(command), 0);
  EXPECT_EQ(tries(), 3u);
  EXPECT_THAT(m_log.texts(), testing::Contains(failed_try(2)));
  EXPECT_THAT(m_log.texts(), testing::Not(testing::Contains(failed_try(3))));
  EXPECT_EQ(m_log.last(), std::string("system(") + command + ") OK");
}

TEST_F(Shell, CommandThatIsKilled_CountsAsFailed) {
  EXPECT_EQ(amt_device_do_command("printf x >>/tmp/tries; kill -9 $$"), -100);
  EXPECT_EQ(tries(), 5u);
}

TEST_F(Shell, CommandThatDoesNotExist_Fails) {
  EXPECT_EQ(amt_device_do_command("/no/such/command 2>/dev/null"), -100);
}

TEST_F(Shell, EmptyCommand_Succeeds) {
  EXPECT_EQ(amt_device_do_command(""), 0);
}

}  // namespace
