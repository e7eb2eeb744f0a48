#include "pub/util/signals.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

// Number of signal = index. 6 is SIGABRT, not SIGIOT; 29 is SIGPOLL, not SIGIO.
constexpr const char* NAMES[] = {
    "",          "SIGHUP",  "SIGINT",    "SIGQUIT", "SIGILL",   "SIGTRAP", "SIGABRT", "SIGBUS",
    "SIGFPE",    "SIGKILL", "SIGUSR1",   "SIGSEGV", "SIGUSR2",  "SIGPIPE", "SIGALRM", "SIGTERM",
    "SIGSTKFLT", "SIGCHLD", "SIGCONT",   "SIGSTOP", "SIGTSTP",  "SIGTTIN", "SIGTTOU", "SIGURG",
    "SIGXCPU",   "SIGXFSZ", "SIGVTALRM", "SIGPROF", "SIGWINCH", "SIGPOLL", "SIGPWR",  "SIGSYS",
};

TEST(SignalName, EveryNumberUpTo31_HasItsName) {
  static_assert(std::size(NAMES) == 32);
  for (int number = 0; number < 32; ++number) EXPECT_STREQ(pub_util_signal_name(number), NAMES[number]) << number;
}

TEST(SignalName, UnknownNumbers_AreEmptyText) {
  for (const int number : {32, 64, 255, 256, 257, 65535, -1, INT_MAX, INT_MIN}) {
    EXPECT_STREQ(pub_util_signal_name(number), "") << number;
  }
}

}  // namespace
