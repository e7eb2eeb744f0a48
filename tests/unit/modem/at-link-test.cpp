#include "amt/amt-handle/modem/at-link.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <tuple>

#include "pub/result.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/links.h"

namespace {

using testing::ElementsAre;

class AtLink : public context_test {
 protected:
  AtLink() { set_link(g_handle_context.m_fd_at, m_at.service_end()); }
  // The link is a terminal whose other side is gone, and m_at's device is what a reopening finds. (One that finds
  // nothing takes 30 seconds, and a modem that sends nothing 25: no test here goes that way.)
  void reset_link() {
    m_keeper = fcntl(m_at.service_end(), F_DUPFD_CLOEXEC, 3);
    pty_link dead;
    set_link(g_handle_context.m_fd_at, dead.service_end());
    dead.hang_up();
    set_device(g_amt_cfg.m_tty_at_mux_a, m_at.name());
  }
  // The modem's answer to the silencing, in one piece or two.
  void confirms(const std::string& answer, const std::string& rest = "") {
    TearDown();
    m_modem_side = std::thread([this, answer, rest] {
      EXPECT_EQ(m_at.receive_once(10), "AT^DLKS=0\r");
      m_at.send(answer);
      if (rest.empty()) return;
      while (!m_log.contains("(0/5)tries.")) usleep(1000);
      m_at.send(rest);
    });
  }
  void TearDown() override {
    if (m_modem_side.joinable()) m_modem_side.join();
  }
  ~AtLink() override {
    g_handle_context.m_is_at_lost = false;
    if (m_keeper > 0) close(m_keeper);
  }
  std::int32_t write_text(const std::string& text) {
    return write_at(text.data(), static_cast<std::uint32_t>(text.size()));
  }

  std::thread m_modem_side;
  pty_link m_at;
  int m_keeper = 0;  // holds the terminal, and that it is raw, while nobody else does
  std::uint32_t m_length = 99;
  char m_buffer[64] = {};
};

TEST_F(AtLink, Write_WholeText_IsSent) {
  EXPECT_EQ(write_text("AT^DMSN\r"), 0);
  EXPECT_EQ(m_at.received(), "AT^DMSN\r");
  EXPECT_EQ(m_log.texts(), (std::vector<std::string>{"write_at()", "write_at write_len[8]", "write_at ret_val[0]",
                                                     "send ==> AT^DMSN\r"}));
}

TEST_F(AtLink, Write_Prints_WhatItDoes) {
  testing::internal::CaptureStdout();
  write_text("AT\r");
  std::fflush(stdout);
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_EQ(printed.rfind("[write_at:L", 0), 0u) << printed;
  EXPECT_NE(printed.find("]write_at: AT\r\n[write_at]write_at return:3\n"), std::string::npos) << printed;
}

// A radio request fills up to a whole record: only the log's lines are short, the print is not.
TEST_F(AtLink, WriteAndRead_TextOf2000_ArePrintedWhole) {
  const std::string text(2000, 'a');
  char buffer[2000];
  socket_link link;
  set_link(g_handle_context.m_fd_at, link.service_end());
  testing::internal::CaptureStdout();
  write_text(text);
  link.send(text);
  std::ignore = read_at(buffer, sizeof buffer, &m_length);
  std::fflush(stdout);
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_NE(printed.find("]write_at: " + text + "\n[write_at]write_at return:2000\n"), std::string::npos);
  EXPECT_NE(printed.find("[read_at]read_at return:" + text + "\n"), std::string::npos);
}

TEST_F(AtLink, Write_NothingOrNull_IsRefused) {
  EXPECT_EQ(write_at(nullptr, 3), -101);
  EXPECT_TRUE(m_log.has("1, 0"));
  EXPECT_EQ(write_at("AT\r", 0), -101);
  EXPECT_TRUE(m_log.has("0, 1"));
  EXPECT_EQ(write_at(nullptr, 0), -101);
  EXPECT_TRUE(m_log.has("1, 1"));
  EXPECT_TRUE(m_log.contains("FILE-amt/amt-handle, LINE-931, FUNC-write_at(), error_code=-101, errno="));
  EXPECT_EQ(m_at.received(), "");
}

// The driver takes what it can; that counts as sent.
TEST_F(AtLink, Write_TenBytesOfWhichFourAreTaken_CountsAsSent) {
  set_link(g_handle_context.m_fd_at, open_sink_with_room(4));
  EXPECT_EQ(write_text("0123456789"), 0);
  EXPECT_TRUE(m_log.has_in_a_row({"write_at write_len[4]", "write_at ret_val[0]", "send ==> 0123456789"}));
}

TEST_F(AtLink, Write_TextOf2000_IsShownTo1023) {
  const std::string text(2000, 'a');
  socket_link link;
  set_link(g_handle_context.m_fd_at, link.service_end());
  EXPECT_EQ(write_text(text), 0);
  EXPECT_EQ(link.received(), text);
  const std::string shown = m_log.last();
  EXPECT_EQ(shown.rfind("send ==> aaa", 0), 0u);
  EXPECT_LE(std::count(shown.begin(), shown.end(), 'a'), 1023);
}

TEST_F(AtLink, Write_OtherErrorThanEio_FailsAtOnce) {
  set_link(g_handle_context.m_fd_at, open_full_device());
  EXPECT_EQ(write_text("AT\r"), -100);
  EXPECT_THAT(m_log.texts(), ElementsAre("write_at()", "write_at write_len[-1]", "write_at ret_val[-100]",
                                         "sys call: write() failed! errno = 28",
                                         failure_line("amt/amt-handle", "write_at", -100, "28")));
}

TEST_F(AtLink, Write_ClosedLink_FailsAtOnce) {
  set_link(g_handle_context.m_fd_at, 0);
  EXPECT_EQ(write_text("AT\r"), -100);
}

TEST_F(AtLink, Write_LostLinkThatIsBack_IsOpenedSilencedAndUsed) {
  reset_link();
  set_link(g_handle_context.m_fd_at, 0);
  g_handle_context.m_is_at_lost = true;
  confirms("\r\nOK\r\n");
  EXPECT_EQ(write_text("AT^DMSN\r"), 0);
  EXPECT_EQ(m_at.received(), "AT^DMSN\r");
  EXPECT_TRUE(m_log.has("(0/1)try to open device \"" + m_at.name() + "\""));
  EXPECT_FALSE(g_handle_context.m_is_at_lost);
}

TEST_F(AtLink, Write_LostLinkThatIsStillAway_IsLookedForOnceAndFails) {
  set_link(g_handle_context.m_fd_at, 0);
  g_handle_context.m_is_at_lost = true;
  set_device(g_amt_cfg.m_tty_at_mux_a, "/dev/no-such-device");
  EXPECT_EQ(write_text("AT\r"), -100);
  EXPECT_FALSE(m_log.contains("(1/"));
  EXPECT_TRUE(g_handle_context.m_is_at_lost);
}

TEST_F(AtLink, Write_ResetLinkWithoutModem_IsNotRepaired) {
  reset_link();
  g_no_modem = 1;
  EXPECT_EQ(write_text("AT\r"), -100);
  EXPECT_TRUE(m_log.has("write_at ret_val[-100]"));
  EXPECT_EQ(m_at.received(), "");
}

TEST_F(AtLink, Write_ResetLink_IsReopenedSilencedAndTheTextSentAgain) {
  reset_link();
  confirms("\r\nOK\r\n");
  EXPECT_EQ(write_text("AT^DMSN\r"), 0);
  EXPECT_EQ(m_at.received(), "AT^DMSN\r");
  EXPECT_TRUE(
      m_log.has_in_a_row({"write_at write_len[-1]", "write_at ret_val[-118]", "sys call: write() failed! errno = 5"}));
  EXPECT_FALSE(m_log.contains("error_code="));
  EXPECT_TRUE(m_log.has("(0/30)try to open device \"" + m_at.name() + "\""));
  EXPECT_EQ(m_log.last(), "send ==> AT^DMSN\r");
}

TEST_F(AtLink, Write_ModemRefusesTheSilencing_TextIsSentAgainAllTheSame) {
  reset_link();
  confirms("\r\nERROR\r\n");
  EXPECT_EQ(write_text("AT^DMSN\r"), 0);
  EXPECT_EQ(m_at.received(), "AT^DMSN\r");
}

// What was found takes neither the silencing, which does not count, nor the text, which does.
TEST_F(AtLink, Write_FailsAgainAfterTheRepair_Fails) {
  reset_link();
  set_device(g_amt_cfg.m_tty_at_mux_a, "/dev/full");
  EXPECT_EQ(write_text("AT^DMSN\r"), -100);
  const auto texts = m_log.texts();
  ASSERT_GE(texts.size(), 2u);
  EXPECT_EQ(texts[texts.size() - 2], "sys call: write() failed! errno = 28");
  EXPECT_THAT(texts.back(), failure_line("amt/amt-handle", "write_at", -100, "28"));
}

TEST_F(AtLink, Write_ModemTalksPastTheSilencing_IsATimeOut) {
  reset_link();
  confirms(std::string(5 * 18, 'n'));
  EXPECT_EQ(write_text("AT^DMSN\r"), -113);
  EXPECT_EQ(m_at.received(), "");
  EXPECT_FALSE(m_log.contains("send ==> "));
}

TEST_F(AtLink, Read_WhatIsThere_IsGivenOnce) {
  m_at.send("\r\nOK\r\n");
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), 0);
  EXPECT_EQ(m_length, 6u);
  EXPECT_STREQ(m_buffer, "\r\nOK\r\n");
  EXPECT_EQ(m_log.texts(), (std::vector<std::string>{"read_at()", "read_at read_len_ptr[6] buf_ptr[\r\nOK\r\n]",
                                                     "read_at ret_val[0]", "receive <== \r\nOK\r\n"}));
}

TEST_F(AtLink, Read_Prints_WhatItReads) {
  m_at.send("\r\nOK\r\n");
  testing::internal::CaptureStdout();
  std::ignore = read_at(m_buffer, sizeof m_buffer, &m_length);
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "[read_at]read_at\n[read_at]read_at return:\r\nOK\r\n\n");
}

TEST_F(AtLink, Read_MoreThanFits_IsLeftForTheNext) {
  m_at.send("abcdef");
  EXPECT_EQ(read_at(m_buffer, 4, &m_length), 0);
  EXPECT_EQ(std::string(m_buffer, m_length), "abcd");
  EXPECT_EQ(read_at(m_buffer, 4, &m_length), 0);
  EXPECT_EQ(std::string(m_buffer, m_length), "ef");
}

// Final result codes are the caller's business.
TEST_F(AtLink, Read_AnErrorOfTheModem_IsAnAnswerLikeAnyOther) {
  m_at.send("\r\nERROR\r\n");
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), 0);
  EXPECT_EQ(m_length, 9u);
}

TEST_F(AtLink, Read_EndOfFile_IsNoBytesAndNoFailure) {
  set_link(g_handle_context.m_fd_at, open("/dev/null", O_RDWR | O_CLOEXEC));
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), 0);
  EXPECT_EQ(m_length, 0u);
  EXPECT_TRUE(m_log.has("read_at read_len_ptr[0] buf_ptr[]"));
}

TEST_F(AtLink, Read_BadArguments_AreRefused) {
  EXPECT_EQ(read_at(nullptr, 4, &m_length), -101);
  EXPECT_TRUE(m_log.has("1, 0, 0"));
  EXPECT_EQ(read_at(m_buffer, 0, &m_length), -101);
  EXPECT_TRUE(m_log.has("0, 1, 0"));
  EXPECT_EQ(read_at(m_buffer, 4, nullptr), -101);
  EXPECT_TRUE(m_log.has("0, 0, 1"));
  EXPECT_TRUE(m_log.contains("FILE-amt/amt-handle, LINE-1045, FUNC-read_at(), error_code=-101, errno="));
}

TEST_F(AtLink, Read_ClosedLink_Fails) {
  set_link(g_handle_context.m_fd_at, 0);
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), -100);
  EXPECT_EQ(m_length, 0u);
  EXPECT_THAT(m_log.texts(),
              ElementsAre("read_at()", "read_at read_len_ptr[-1] buf_ptr[]", "read_at ret_val[-100]",
                          "sys call: read() failed! errno = 9", failure_line("amt/amt-handle", "read_at", -100, "9")));
}

// The device that the reopening finds is always ready and has nothing.
TEST_F(AtLink, Read_DeviceFoundHasNoModem_IsATimeOut) {
  reset_link();
  set_device(g_amt_cfg.m_tty_at_mux_a, "/dev/null");
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), -113);
  EXPECT_TRUE(m_log.has("read_at ret_val[-118]"));
  EXPECT_THAT(m_log.last(), failure_line("amt/amt-handle", "disable_unsolicited_code", -113));
}

TEST_F(AtLink, Read_ResetLinkWithoutModem_IsNotRepaired) {
  reset_link();
  g_no_modem = 1;
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), -100);
  EXPECT_EQ(m_at.received(), "");
}

TEST_F(AtLink, Read_ResetLink_IsReopenedSilencedAndReadAgain) {
  reset_link();
  confirms("123456789012\r\nOK\r\n\r\n^DMSN: 7\r\n");  // 18 characters: what one look at the confirmation takes
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), 0);
  EXPECT_EQ(std::string(m_buffer, m_length), "\r\n^DMSN: 7\r\n");
  EXPECT_EQ(m_at.received(), "");
  EXPECT_EQ(m_log.last(), "receive <== \r\n^DMSN: 7\r\n");
}

TEST_F(AtLink, Read_ModemTalksPastTheSilencing_IsATimeOut) {
  reset_link();
  confirms(std::string(5 * 18, 'n'));
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), -113);
}

// The modem has forgotten the command: there is nothing to wait for, and five seconds are enough to see that.
TEST_F(AtLink, Read_NothingMoreAfterTheRepair_FailsAfterFiveSeconds) {
  reset_link();
  confirms("\r\nOK\r\n");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), -100);
  const auto took = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(took, std::chrono::seconds(5));
  EXPECT_LT(took, std::chrono::seconds(20));
  EXPECT_EQ(m_log.last(), "wait 5 seconds to read time out");
}

// The repair is no exchange of the caller's: half an answer after it is half an answer to the caller's command.
TEST_F(AtLink, Read_HalfAnAnswerAfterTheRepair_LeavesTheRestOwed) {
  reset_link();
  g_handle_context.m_at_exchange.m_is_owed = true;
  confirms("123456789012\r\nOK\r\n\r\nO");  // 18 characters, then the half
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), 0);
  EXPECT_EQ(std::string(m_buffer, m_length), "\r\nO");
  EXPECT_TRUE(g_handle_context.m_at_exchange.m_is_owed);
  m_at.send("K\r\n");
  EXPECT_EQ(write_text("AT^DGSN?\r"), 0);
  EXPECT_TRUE(m_log.has("drop from AT link: : (data_len = 3) -- 4B0D0A"));
}

// Not before its line end.
TEST_F(AtLink, Write_AfterHalfAnError_WaitsForItsEnd) {
  EXPECT_EQ(write_text("AT\r"), 0);
  m_at.send("\r\n+CME ERROR: 1");
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), 0);
  EXPECT_TRUE(g_handle_context.m_at_exchange.m_is_owed);
  m_at.send("00\r\n");
  EXPECT_EQ(write_text("AT\r"), 0);
  EXPECT_TRUE(m_log.has("drop from AT link: : (data_len = 4) -- 30300D0A"));
}

TEST_F(AtLink, Silence_Confirmed_Succeeds) {
  confirms("\r\nOK\r\n");
  EXPECT_EQ(disable_unsolicited_code(g_handle_context.m_fd_at), 0);
}

TEST_F(AtLink, Silence_OkInTwoReads_Succeeds) {
  confirms("\r\nO", "K\r\n");
  EXPECT_EQ(disable_unsolicited_code(g_handle_context.m_fd_at), 0);
  EXPECT_TRUE(m_log.has("(0/5)tries. buf_a: \"\r\nO\""));
}

TEST_F(AtLink, Silence_ErrorInTwoReads_Fails) {
  confirms("\r\n+CME ", "ERROR: 3\r\n");
  EXPECT_EQ(disable_unsolicited_code(g_handle_context.m_fd_at), -100);
}

// What a modem sent before it was asked confirms nothing.
TEST_F(AtLink, Silence_OkThatWaited_IsDropped) {
  m_at.send("\r\nOK\r\n");
  confirms("\r\nERROR\r\n");
  EXPECT_EQ(disable_unsolicited_code(g_handle_context.m_fd_at), -100);
  EXPECT_TRUE(m_log.has("dropped 6 bytes that waited on the AT link"));
}

// The wait is for the time that an answer takes, not for a modem that reports all the time.
TEST_F(AtLink, Write_ModemThatNeverStops_IsWrittenToAllTheSame) {
  std::atomic<bool> is_enough = false;
  std::thread talker([&] {
    while (!is_enough) m_at.send("\r\n+CREG: 1\r\n");
  });
  ASSERT_EQ(pub_util_wait(g_handle_context.m_fd_at, POLLIN, 10000), 1);
  EXPECT_EQ(write_text("AT^DMSN\r"), 0);
  is_enough = true;
  EXPECT_EQ(m_at.receive_once(8), "AT^DMSN\r");
  char buffer[4096];
  while (pub_util_wait(g_handle_context.m_fd_at, POLLIN, 100) > 0) {  // a talker without room would never see its end
    if (read(g_handle_context.m_fd_at, buffer, sizeof buffer) <= 0) break;
  }
  talker.join();
  EXPECT_TRUE(m_log.contains("bytes that waited on the AT link"));
}

// An answer that came only in part is waited for, for a second at most.
TEST_F(AtLink, Write_AfterHalfAnAnswer_WaitsForItsEnd) {
  EXPECT_EQ(write_text("AT^DMSN\r"), 0);
  m_at.send("\r\nO");
  EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), 0);
  std::thread modem([this] {
    usleep(300'000);
    m_at.send("K\r\n");
  });
  EXPECT_EQ(write_text("AT^DGSN?\r"), 0);
  modem.join();
  EXPECT_TRUE(m_log.has("drop from AT link: : (data_len = 3) -- 4B0D0A"));
  EXPECT_EQ(m_at.received(), "AT^DMSN\rAT^DGSN?\r");
}

TEST_F(AtLink, Write_AfterNoAnswer_WaitsASecond) {
  EXPECT_EQ(write_text("AT^DMSN\r"), 0);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(write_text("AT^DGSN?\r"), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
}

TEST_F(AtLink, Write_AfterAWholeAnswer_WaitsForNothing) {
  for (const char* answer : {"\r\nOK\r\n", "\r\n^DGSN: 1\r\n\r\nOK\r\n", "\r\nERROR\r\n", "\r\n+CMS ERROR: 3\r\n"}) {
    EXPECT_EQ(write_text("AT\r"), 0);
    m_at.send(answer);
    EXPECT_EQ(read_at(m_buffer, sizeof m_buffer, &m_length), 0);
    EXPECT_FALSE(g_handle_context.m_at_exchange.m_is_owed) << answer;
  }
}

TEST_F(AtLink, Silence_EachErrorOfTheModem_Fails) {
  for (const char* answer : {"\r\nERROR\r\n", "\r\n+CME ERROR: 4", "\r\n+CMS ERROR: 30"}) {
    confirms(answer);
    EXPECT_EQ(disable_unsolicited_code(g_handle_context.m_fd_at), -100) << answer;
    EXPECT_THAT(m_log.last(), failure_line("amt/amt-handle", "disable_unsolicited_code", -100));
  }
}

// Only the whole result code counts.
TEST_F(AtLink, Silence_LookAlikesBeforeTheAnswer_AreTriesOfTheirOwn) {
  confirms(
      "\r\nERRORS: 5\r\n....."  // 18 characters each
      "\r\n+CME ERROR:9\r\n.."
      "OK.......... \r\nOKs\r"
      "\n\r\nOK\r\n");
  EXPECT_EQ(disable_unsolicited_code(g_handle_context.m_fd_at), 0);
  EXPECT_TRUE(m_log.has("(0/5)tries. buf_a: \"\r\nERRORS: 5\r\n.....\""));
  EXPECT_TRUE(m_log.has("(1/5)tries. buf_a: \"\r\n+CME ERROR:9\r\n..\""));
  EXPECT_TRUE(m_log.has("(2/5)tries. buf_a: \"OK.......... \r\nOKs\""));
  EXPECT_FALSE(m_log.contains("(3/5)tries."));
}

TEST_F(AtLink, Silence_FiveAnswersWithoutAResult_IsATimeOut) {
  confirms(std::string(5 * 18, 'n') + "\r\nOK\r\n");
  EXPECT_EQ(disable_unsolicited_code(g_handle_context.m_fd_at), -113);
  EXPECT_TRUE(m_log.has("(4/5)tries. buf_a: \"nnnnnnnnnnnnnnnnnn\""));
  EXPECT_FALSE(m_log.contains("(5/5)tries."));
  EXPECT_THAT(m_log.last(), failure_line("amt/amt-handle", "disable_unsolicited_code", -113));
}

TEST_F(AtLink, Silence_NoDescriptor_IsRefused) {
  for (const int fd : {0, -1}) {
    m_log.clear();
    EXPECT_EQ(disable_unsolicited_code(fd), -101);
    EXPECT_TRUE(m_log.contains("LINE-636, FUNC-disable_unsolicited_code(), error_code=-101, errno="));
    EXPECT_TRUE(m_log.has("1"));
  }
}

TEST_F(AtLink, Silence_HungUpLink_IsASystemFailure) {
  m_at.hang_up();
  EXPECT_EQ(disable_unsolicited_code(g_handle_context.m_fd_at), -118);
  EXPECT_TRUE(m_log.contains("FUNC-disable_unsolicited_code(), error_code=-118, errno=5"));
}

TEST_F(AtLink, Silence_HungUpInsteadOfAnAnswer_IsASystemFailureAtOnce) {
  std::thread modem([this] {
    EXPECT_EQ(m_at.receive_once(10), "AT^DLKS=0\r");
    m_at.hang_up();
  });
  EXPECT_EQ(disable_unsolicited_code(g_handle_context.m_fd_at), ERR_SYSTEM);
  modem.join();
  EXPECT_EQ(m_log.count("sys call: read() failed! errno = 5"), 1u);
  EXPECT_FALSE(m_log.contains("tries."));
}

// Waits its five seconds.
TEST_F(AtLink, Silence_LinkThatTakesNothing_IsATimeOut) {
  socket_link link;
  set_link(g_handle_context.m_fd_at, link.service_end());
  fcntl(link.service_end(), F_SETFL, O_NONBLOCK);
  while (write(link.service_end(), "x", 1) == 1) {
  }
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(disable_unsolicited_code(link.service_end()), -113);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  EXPECT_THAT(m_log.texts(), ElementsAre("disable_unsolicited_code()",
                                         failure_line("amt/amt-handle", "disable_unsolicited_code", -113),
                                         "wait 5 seconds to write time out"));
}

TEST_F(AtLink, Silence_OnlyAPartWritten_IsIncomplete) {
  set_link(g_handle_context.m_fd_at, open_sink_with_room(4));
  EXPECT_EQ(disable_unsolicited_code(g_handle_context.m_fd_at), -119);
  EXPECT_TRUE(m_log.has_in_a_row({"WARNING !", "write not completed: to write(10) != written(4)"}));
  EXPECT_THAT(m_log.last(), failure_line("amt/amt-handle", "disable_unsolicited_code", -119));
}

}  // namespace
