// The power-off that the PC asks for, as a command and as request 236. On a development host the power goes by SIGTERM
// to the service itself.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <future>
#include <string>

#include "amt/amt-handle/pc/software-version.h"
#include "tests/unit/links.h"
#include "tests/unit/wait-for.h"

namespace {

using std::chrono::steady_clock;

constexpr char REQUEST[] = "06 00 BB EC 00 00";
constexpr char ANSWER[] =
    "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB ED 09 00 EE 01 01 04 00 00 00 00 00 56 1F C9 C9";

class PowerOff : public context_test {
 protected:
  PowerOff() {
    sigemptyset(&m_end);
    sigaddset(&m_end, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &m_end, &m_old_mask);
  }
  ~PowerOff() override { pthread_sigmask(SIG_SETMASK, &m_old_mask, nullptr); }
  // Whether the end of the service has been asked for; the request is taken away.
  bool take_end() {
    const timespec at_once = {};
    return sigtimedwait(&m_end, nullptr, &at_once) == SIGTERM;
  }

  sigset_t m_end;
  sigset_t m_old_mask;
};

TEST_F(PowerOff, Command_IsAnsweredTwoSecondsAheadOfTheEnd) {
  set_message(g_handle_context.m_request, "AT^DAMTOFF\r");
  const auto begin = steady_clock::now();
  EXPECT_EQ(handle_amt_power_off_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response), 0);
  EXPECT_GE(steady_clock::now() - begin, std::chrono::seconds(2));
  EXPECT_EQ(m_pc.received(), "\r\nOK\r\n");
  EXPECT_TRUE(take_end());
  EXPECT_TRUE(m_log.has("handle_amt_power_off_at()"));
}

TEST_F(PowerOff, CommandWithoutReturn_IsNotTheCommand) {
  set_message(g_handle_context.m_request, "AT^DAMTOFF");
  EXPECT_EQ(handle_amt_power_off_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response), -104);
  EXPECT_EQ(m_pc.received(), "");
  EXPECT_FALSE(take_end());
}

TEST_F(PowerOff, ReplyThatCannotBeSent_EndsTheServiceAllTheSame) {
  set_link(g_handle_context.m_fd_pc, 0);
  set_message(g_handle_context.m_request, "AT^DAMTOFF\r");
  EXPECT_EQ(handle_amt_power_off_at(amt_message_text(g_handle_context.m_request), &g_handle_context.m_response), -100);
  EXPECT_TRUE(take_end());
}

TEST_F(PowerOff, Request_IsAnsweredTwoSecondsAheadOfTheEnd) {
  const auto begin = steady_clock::now();
  auto result = std::async(std::launch::async, [this] { return run(amt_handle_power_off, REQUEST, AMT_LINK_PC); });
  std::string answer;
  ASSERT_TRUE(wait_for([&] { return !(answer = m_pc.received_hex()).empty(); }));
  const auto answered = steady_clock::now();
  EXPECT_EQ(answer, ANSWER);
  EXPECT_FALSE(take_end());
  EXPECT_EQ(result.get(), 0);
  EXPECT_GE(steady_clock::now() - begin, std::chrono::seconds(2));
  EXPECT_GE(steady_clock::now() - answered, std::chrono::seconds(1)) << "the wait comes after the answer";
  EXPECT_TRUE(take_end());
}

TEST_F(PowerOff, AnswerThatCannotBeSent_EndsTheServiceAllTheSame) {
  set_link(g_handle_context.m_fd_pc, 0);
  EXPECT_EQ(run(amt_handle_power_off, REQUEST, AMT_LINK_PC), ERR_FAIL);
  EXPECT_TRUE(take_end());
}

TEST_F(PowerOff, BadArguments_AreRefusedAndEndNothing) {
  expect_refusals(amt_handle_power_off, "amt_handle_power_off");
  EXPECT_FALSE(take_end());
}

}  // namespace
