// A session with everything in it, kept on both sides of the wire, and each capture replayed against itself and the
// other: frames, AT text, refusals, the application's link, the modem. And the same with one byte changed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <optional>

#include "tests/station-run/line-phone.h"

namespace {

using testing::HasSubstr;
using testing::Not;

using words = std::vector<std::string>;

words joined(words all, const words& more) {
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

class RoundTrip : public testing::Test {
 protected:
  RoundTrip() {
    const line_phone_st phone(m_folder, "trip", {"--capture", m_of_phone});
    const auto word = [&](const char* link, const std::string& port, const words& more, int status) {
      const auto got = station(joined({link, port, "--capture", m_of_line}, more));
      EXPECT_EQ(got.m_status, status) << got.m_out;
    };
    const std::string pc = phone.port();
    word("--port", pc, {"version", "whole"}, 0);
    word("--port", pc, {"imei"}, 0);
    word("--port", pc, {"at", "AT^DNONSENSE"}, 7);
    word("--port", pc, {"bt-address", "set", "02A0B0C0D0E1"}, 0);
    word("--port", pc, {"adc"}, 0);
    phone.control({"mode", "app"});
    const std::string app = text_after(phone.output(), "APP tty:");
    EXPECT_EQ(station({"--app", app, "--timeout", "30000", "wait-for-phone"}).m_status, 0);
    word("--app", app, {"imei"}, 0);
    word("--app", app, {"battery", "voltage"}, 0);
  }

  station_outcome station(const words& command) {
    beside_st started(joined({amt_station()}, command), m_folder.path("station"));
    const int status = started.wait();
    return {status, started.output(), ""};
  }
  // A phone that is played from one capture, and both links of another one sent to it.
  void play(const std::string& played, const std::string& sent, const words& how, const words& more) {
    beside_st phone(joined({PROGRAM_FOLDER "/handset", "run", "--replay", played}, how), m_folder.path("played"));
    ASSERT_TRUE(phone.wait_output("Ctrl-C ends the replay")) << phone.output();
    const std::string output = phone.output();
    m_pc = station(joined({"replay", sent, "--port", text_after(output, "PC tty:")}, more));
    m_app = station(joined({"replay", sent, "--app", text_after(output, "APP tty:")}, more));
    if (played != sent) phone.send_signal(SIGINT);
    m_status = phone.wait();
    m_output = phone.output();
  }
  void expect_same(const std::string& capture, const words& how, const words& more) {
    play(capture, capture, how, more);
    EXPECT_EQ(m_pc.m_status, 0) << m_pc.m_out;
    EXPECT_EQ(m_app.m_status, 0) << m_app.m_out;
    EXPECT_EQ(m_status, 0) << m_output;
  }
  // The station's capture with a piece of text, in which one byte is another.
  std::string changed(const std::string& hex, const std::string& other) const {
    std::string text = read_whole_file(m_of_line);
    const std::size_t at = text.find(hex);
    EXPECT_NE(at, text.npos) << text;
    return m_folder.write("changed.jsonl", text.replace(at, hex.size(), other));
  }

  temp_folder m_folder;
  const std::string m_of_phone = m_folder.path("phone.jsonl");
  const std::string m_of_line = m_folder.path("line.jsonl");
  station_outcome m_pc;
  station_outcome m_app;
  int m_status = -1;
  std::string m_output;
};

TEST_F(RoundTrip, EachCapture_AgreesWithItselfAndTheOther) {
  for (const auto& capture : {m_of_line, m_of_phone}) {
    expect_same(capture, {"--fast"}, {});
    expect_same(capture, {}, {"--times"});
  }
  // The phone heard more than this station said: the wait for it.
  play(m_of_phone, m_of_line, {"--fast"}, {});
  EXPECT_EQ(m_pc.m_status, 0) << m_pc.m_out;
  EXPECT_EQ(m_app.m_status, 0) << m_app.m_out;
  // The service with the modem of then.
  beside_st phone({PROGRAM_FOLDER "/handset", "run", "-q", "--replay-modem", m_of_phone, "--fast"},
                  m_folder.path("modem"));
  ASSERT_TRUE(phone.wait_output("Ctrl-C ends the phone")) << phone.output();
  const auto got = station({"replay", m_of_line, "--port", text_after(phone.output(), "PC tty:")});
  EXPECT_EQ(got.m_status, 0) << got.m_out;
  phone.send_signal(SIGINT);
  EXPECT_EQ(phone.wait(), 0);
  EXPECT_THAT(phone.output(), Not(HasSubstr("difference")));
}

TEST_F(RoundTrip, OneByteOfAnAnswer_IsShownByTheStation) {
  // The first "OK".
  play(m_of_line, changed("0D0A4F4B0D0A", "0D0A4F4C0D0A"), {"--fast"}, {"--timeout", "500"});
  EXPECT_EQ(m_pc.m_status, 1);
  EXPECT_THAT(m_pc.m_out, HasSubstr("-  text OL\n"));
  EXPECT_THAT(m_pc.m_out, HasSubstr("+  text OK\n"));
  EXPECT_THAT(m_pc.m_out, HasSubstr(" 1 different\n"));
  EXPECT_EQ(m_app.m_status, 0);
  EXPECT_EQ(m_status, 0) << m_output;  // what was sent is as then
}

TEST_F(RoundTrip, OneByteOfARequest_IsShownByThePhone) {
  // "AT^DNONSENSE".
  const std::string other = changed("444E4F4E53454E5345", "444E4F4E53454E5346");
  play(m_of_line, other, {"--fast"}, {"--timeout", "500"});
  EXPECT_EQ(m_status, 1);
  EXPECT_THAT(m_output, HasSubstr("replay: the first difference is on the link pc: line "));
  EXPECT_THAT(m_output, HasSubstr("  has  text \"AT^DNONSENSE\" "));
  EXPECT_THAT(m_output, HasSubstr("  came text \"AT^DNONSENSF\" "));
  play(m_of_line, other, {"--fast", "--loose"}, {"--timeout", "500"});
  EXPECT_EQ(m_status, 0);
  EXPECT_THAT(m_output, Not(HasSubstr("the first difference")));
}

}  // namespace
