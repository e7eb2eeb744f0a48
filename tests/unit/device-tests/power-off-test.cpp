#include <csignal>
#include <ctime>

#include "tests/unit/device-tests/device-test.h"

namespace {

// On a development host the power goes by SIGTERM to the service itself.
class power_off_test : public device_test {
 protected:
  power_off_test() {
    sigemptyset(&m_term);
    sigaddset(&m_term, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &m_term, &m_before);
  }
  ~power_off_test() override { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

  bool is_power_off() const {
    const timespec now = {};
    return sigtimedwait(&m_term, nullptr, &now) == SIGTERM;
  }

  sigset_t m_term;
  sigset_t m_before;
};

TEST_F(power_off_test, PowerOff_Asked_AnswersTwoSecondsBeforeThePowerGoes) {
  const std::time_t start = std::time(nullptr);
  EXPECT_EQ(pc(236), 0);
  EXPECT_GE(std::time(nullptr) - start, 1);
  EXPECT_TRUE(is_power_off());
  EXPECT_EQ(to_pc(), "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB ED 09 00 EE 01 01 04 00 00 00 00 00 56 1F C9 C9");
}

TEST_F(power_off_test, PowerOff_AnswerCannotBeSent_PowerGoesAllTheSame) {
  close_links();
  EXPECT_EQ(pc(236), ERR_FAIL);
  EXPECT_TRUE(is_power_off());
}

}  // namespace
