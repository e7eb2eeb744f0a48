#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/reboot.h>

#include <cerrno>
#include <string>
#include <vector>

#include "platform/power.h"

namespace {

std::vector<std::string> g_calls;

}  // namespace

extern "C" {
void __wrap_sync() noexcept;
int __wrap_reboot(int command) noexcept;

void __wrap_sync() noexcept {
  g_calls.emplace_back("sync");
}

int __wrap_reboot(int command) noexcept {
  g_calls.emplace_back(command == RB_POWER_OFF ? "power off" : "something else");
  errno = EPERM;
  return -1;
}
}  // extern "C"

namespace {

TEST(PowerOff, OnAPhone_SavesTheFilesFirst) {
  EXPECT_EQ(platform_power_off(), -1);
  EXPECT_EQ(errno, EPERM);
  EXPECT_THAT(g_calls, testing::ElementsAre("sync", "power off"));
}

}  // namespace
