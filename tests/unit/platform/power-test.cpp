#include "platform/power.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <ctime>

#include "tests/unit/signal-scope.h"

namespace {

TEST(PowerOff, OnADevelopmentHost_SendsTheTermSignalToItself) {
  const signal_scope scope;
  EXPECT_EQ(platform_power_off(), 0);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  siginfo_t info = {};
  const timespec limit = {20, 0};
  EXPECT_EQ(sigtimedwait(&set, &info, &limit), SIGTERM);
  EXPECT_EQ(info.si_pid, getpid());
}

}  // namespace
