#include <chrono>
#include <csignal>
#include <ctime>
#include <future>

#include "tests/unit/device-tests/device-test.h"
#include "tests/unit/wait-for.h"

namespace {

using std::chrono::steady_clock;

// On a development host the power goes by SIGTERM to the service itself.
class PowerOff : public device_test {
 protected:
  PowerOff() {
    sigemptyset(&m_term);
    sigaddset(&m_term, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &m_term, &m_before);
  }
  ~PowerOff() override { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

  bool is_power_off() const {
    const timespec now = {};
    return sigtimedwait(&m_term, nullptr, &now) == SIGTERM;
  }

  sigset_t m_term;
  sigset_t m_before;
};

TEST_F(PowerOff, PowerOff_Asked_AnswersTwoSecondsBeforeThePowerGoes) {
  std::string answer;
  g_outside_calls.m_on_kill = [&] { answer = to_pc(); };
  const auto start = steady_clock::now();
  auto result = std::async(std::launch::async, [this] { return pc(236); });
  ASSERT_TRUE(wait_for([this] { return m_log.contains("send PC rsp data: "); }));
  const auto sent = steady_clock::now();
  EXPECT_EQ(result.get(), 0);
  EXPECT_GE(steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_GE(steady_clock::now() - sent, std::chrono::seconds(1)) << "the wait comes after the answer";
  EXPECT_TRUE(is_power_off());
  EXPECT_EQ(answer, "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB ED 09 00 EE 01 01 04 00 00 00 00 00 56 1F C9 C9");
}

TEST_F(PowerOff, PowerOff_AnswerCannotBeSent_PowerGoesAllTheSame) {
  close_links();
  EXPECT_EQ(pc(236), ERR_FAIL);
  EXPECT_TRUE(is_power_off());
}

}  // namespace
