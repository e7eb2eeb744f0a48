// How long a query of the modem takes.
#include "amt/amt-handle/modem/at-query.h"

#include <chrono>

#include "tests/unit/modem/modem-test.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class AtQuery : public modem_test {
 protected:
  static result_code_en query() {
    amt_modem_prepare("AT^DMSN\r");
    return amt_modem_exchange([](result_code_en, std::string_view) {});
  }
};

// A pause at each of the reads would take two seconds.
TEST_F(AtQuery, TenAnswersOfTwoReads_AreNotPausedFor) {
  const auto begin = steady_clock::now();
  for (int round = 0; round < 10; ++round) {
    modem_says({"\r\n^DMSN: 1\r\n", "\r\nOK\r\n"});
    EXPECT_EQ(query(), ERR_NONE);
  }
  EXPECT_LT(steady_clock::now() - begin, milliseconds(1500));
}

TEST_F(AtQuery, TwentyReadsThatFail_AreNotPausedFor) {
  set_link(g_handle_context.m_fd_at, 0);
  const auto begin = steady_clock::now();
  for (int round = 0; round < 20; ++round) EXPECT_EQ(amt_modem_receive(), ERR_FAIL);
  EXPECT_LT(steady_clock::now() - begin, milliseconds(1500));
}

// A device that is always ready and gives nothing.
TEST_F(AtQuery, EmptyRead_IsPausedFor) {
  set_link(g_handle_context.m_fd_at, open("/dev/null", O_RDWR | O_CLOEXEC));
  const auto begin = steady_clock::now();
  EXPECT_EQ(amt_modem_receive(), ERR_NONE);
  EXPECT_GE(steady_clock::now() - begin, milliseconds(100));
}

}  // namespace
