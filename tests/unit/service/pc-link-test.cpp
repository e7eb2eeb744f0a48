#include "amt/amt-handle/service/pc-link.h"

#include <csignal>
#include <string>
#include <vector>

#include "amt/amt-handle/life/timer.h"
#include "amt/amt-handle/service/handshake.h"
#include "tests/unit/service/ending-link.h"

namespace {

amt_probe_en recognise(std::string_view text) {
  return amt_recognise_probe(std::vector<std::uint8_t>(text.begin(), text.end()));
}

TEST(Probe, AtAndReturn_IsTheProbe) {
  EXPECT_EQ(recognise("AT\r"), amt_probe_en::SHORT);
}

TEST(Probe, AnyCase_IsTheProbe) {
  for (const char* text : {"at\r", "aT\r", "At\r", "at\r\n", "aT\r\nAt\r"}) {
    EXPECT_NE(recognise(text), amt_probe_en::NONE) << text;
  }
}

TEST(Probe, UpToTwoMoreBytes_AreStillTheShortProbe) {
  EXPECT_EQ(recognise("AT\r\n"), amt_probe_en::SHORT);
  EXPECT_EQ(recognise("AT\r\nA"), amt_probe_en::SHORT);
  EXPECT_EQ(recognise("AT\rzz"), amt_probe_en::SHORT);
  EXPECT_EQ(recognise(std::string_view("AT\r\0\0", 5)), amt_probe_en::SHORT);
}

TEST(Probe, SixBytes_AreNoProbe) {
  EXPECT_EQ(recognise("AT\r\nAT"), amt_probe_en::NONE);
  EXPECT_EQ(recognise("AT\rAT\r"), amt_probe_en::NONE);
}

TEST(Probe, Doubled_IsTheProbeWhateverStandsBetweenAndBehind) {
  EXPECT_EQ(recognise("AT\r\nAT\r"), amt_probe_en::DOUBLED);
  EXPECT_EQ(recognise("at\r\nat\r"), amt_probe_en::DOUBLED);
  EXPECT_EQ(recognise("AT\rxAT\r"), amt_probe_en::DOUBLED);
  EXPECT_EQ(recognise("AT\r\nAT\r\nAT^DSVER\r"), amt_probe_en::DOUBLED);
}

TEST(Probe, SevenBytesWithAnotherCommandBehind_AreNoProbe) {
  EXPECT_EQ(recognise("AT\r\nATI"), amt_probe_en::NONE);
  EXPECT_EQ(recognise("AT\r\n\nAT\r"), amt_probe_en::NONE);
  EXPECT_EQ(recognise("AT\rATI\r"), amt_probe_en::NONE);
}

TEST(Probe, OtherText_IsNoProbe) {
  for (const char* text : {"", "A", "AT", "AT+X\r", "ATI\r", "AT\n", " AT\r", "BT\r", "AU\r", "AT^DSVER\r"}) {
    EXPECT_EQ(recognise(text), amt_probe_en::NONE) << text;
  }
}

TEST(Probe, BytesThatOnlyLookUpperCase_AreNoProbe) {
  EXPECT_EQ(recognise("\xC1T\r"), amt_probe_en::NONE);
  EXPECT_EQ(recognise("\xE1\xF4\r"), amt_probe_en::NONE);
  EXPECT_EQ(recognise(std::string(4095, '\xFF')), amt_probe_en::NONE);
}

using std::chrono::milliseconds;
using testing::AllOf;
using testing::ContainsRegex;
using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::Not;

void ignore_time_out(union sigval) {}

class PcLink : public ending_link_test {
 protected:
  PcLink() { g_handle_context.m_fd_modem.take(pub_fd(m_modem_line.service_end())); }
  static void read_to_the_end() { ending_link_test::read_to_the_end(amt_handle_read_pc_loop); }
  static void read_with_failing_writes() {
    std::signal(SIGPIPE, SIG_IGN);
    read_to_the_end();
  }
  static void read_with_a_handshake_due() {
    g_usb_activate = 1;
    amt_handshake_reset();
    amt_timer_create(g_handShakeTimer, ignore_time_out);
    amt_timer_set(g_handShakeTimer, 60000);
    read_to_the_end();
  }
  // Matches a log in which the reader was about to read at least so often.
  static std::string reads(int count) {
    std::string pattern = "^(.*\n)*";
    for (int n = 0; n < count; ++n) pattern += "read_pc_loop, read ready, m_fd_pc=[0-9]+\n(.*\n)*";
    return pattern;
  }

  packet_link m_pc_line;
  packet_link m_modem_line;
};

// A device that is always ready and gives nothing.
TEST_F(PcLink, EmptyReads_ArePausedAndNotHandled) {
  set_link(g_handle_context.m_fd_pc, open("/dev/null", O_RDWR | O_CLOEXEC));
  EXPECT_EXIT(read_emptiness(amt_handle_read_pc_loop, "pc read empty data", milliseconds(100)), ExitedWithCode(PATIENT),
              Not(HasSubstr("handle_amt_pc_req()")));
}

// Its second request is there to be read, but the first one's answer could not be sent.
TEST_F(PcLink, PcThatTakesNoAnswer_EndsTheServiceBeforeTheNextRequest) {
  set_link(g_handle_context.m_fd_pc, m_pc_line.service_end());
  m_pc_line.send("AT^DSVER\r");
  m_pc_line.send("AT^DSVER\r");
  m_pc_line.stop_receiving();
  set_link(g_handle_context.m_fd_modem, open_full_device());  // the request is not passed on: an error answer is due
  EXPECT_EXIT(read_with_failing_writes(), ExitedWithCode(0),
              AllOf(ContainsRegex(reads(1)), Not(ContainsRegex(reads(2))), HasSubstr("handle_amt_pc_req()\n"),
                    HasSubstr("errno = 32\n"), HasSubstr("amt_handle_deinit()\n")));
}

TEST_F(PcLink, ModemThatIsGone_EndsTheServiceWithoutARead) {
  g_handle_context.m_fd_modem.abandon();
  EXPECT_EXIT(read_to_the_end(), ExitedWithCode(0), Not(HasSubstr("read ready")));
}

TEST_F(PcLink, CablePulledBeforeAByte_IsNoHandshake) {
  pty_link line;
  set_link(g_handle_context.m_fd_pc, line.service_end());
  line.hang_up();
  EXPECT_EXIT(read_with_a_handshake_due(), ExitedWithCode(0),
              AllOf(HasSubstr("sys call: read() failed! errno = 5\n"), Not(HasSubstr("handshake success."))));
}

TEST_F(PcLink, PcThatSpeaks_CompletesTheHandshakeThatIsDue) {
  set_link(g_handle_context.m_fd_pc, m_pc_line.service_end());
  m_pc_line.send("ATI\r");
  m_pc_line.hang_up();
  EXPECT_EXIT(read_with_a_handshake_due(), ExitedWithCode(0), HasSubstr("handshake success."));
}

}  // namespace
