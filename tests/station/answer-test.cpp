// Only what can answer a request answers it; runs of the whole program against a phone that sends something else first.
#include <gmock/gmock.h>

#include "tests/station/scripted-phone.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

using Answer = ScriptedPhone;

constexpr char IMEI_ANSWER[] = "\r\n^DGSN: 358240051111110\r\n\r\nOK\r\n";
constexpr char LATE_VERSION[] = "\r\n^DSVER: 7\r\n\r\nOK\r\n";

TEST_F(Answer, AnotherCommandsAnswer_IsShownButNotTaken) {
  const auto got = run({"imei"}, {{"AT^DGSN?\r", std::string(LATE_VERSION) + IMEI_ANSWER}});
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, HasSubstr("<- text ^DSVER: 7\n"));
  EXPECT_THAT(got.m_out, EndsWith("\nimei: 358240051111110\n"));
}

TEST_F(Answer, AnotherCommandsAnswerAlone_IsNoAnswer) {
  const auto got = run({"imei", "--timeout", "100"}, {{"AT^DGSN?\r", LATE_VERSION}});
  EXPECT_EQ(got.m_status, 5);
}

TEST_F(Answer, OkOfAnotherCommandsLine_DoesNotAnswerAWrite) {
  const auto got = run({"check", "bt", "--timeout", "100"}, {{"AT^DDEVCONNCHK=3\r", LATE_VERSION}});
  EXPECT_EQ(got.m_status, 5);
}

TEST_F(Answer, ReportOfTheModem_DoesNotTakeTheOk) {
  const auto got = run({"check", "bt"}, {{"AT^DDEVCONNCHK=3\r", "\r\n^SIMST: 1\r\n\r\n+CREG: 1\r\n\r\nOK\r\n"}});
  EXPECT_EQ(got.m_status, 0);
}

TEST_F(Answer, OkAloneToARead_IsWaitedOver) {
  const auto got = run({"imei"}, {{"AT^DGSN?\r", std::string("\r\nOK\r\n") + IMEI_ANSWER}});
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, EndsWith("\nimei: 358240051111110\n"));
}

TEST_F(Answer, OkAloneToAReadAndNothingMore_IsStatusNine) {
  const auto got = run({"imei", "--timeout", "100"}, {{"AT^DGSN?\r", "\r\nOK\r\n"}});
  EXPECT_EQ(got.m_status, 9);
  EXPECT_THAT(got.m_err, HasSubstr("answered without the value that was asked for"));
  EXPECT_THAT(got.m_out, Not(HasSubstr("imei:")));
}

TEST_F(Answer, EmptyIdentity_IsStatusNineAtOnce) {
  const auto got = run({"imei", "--timeout", "60000"}, {{"AT^DGSN?\r", "\r\n^DGSN: \r\n\r\nOK\r\n"}});
  EXPECT_EQ(got.m_status, 9);
}

TEST_F(Answer, ValueThatIsNoNumber_IsStatusNine) {
  const auto got = run({"amt1-flag", "--timeout", "60000"}, {{"AT^DAMT1=2\r", "\r\n^DAMT1: x\r\n\r\nOK\r\n"}});
  EXPECT_EQ(got.m_status, 9);
}

TEST_F(Answer, TextOfTheUsers_KnowsItsOwnLine) {
  const auto got = run({"at", "AT^DSVER"}, {{"AT^DSVER\r", LATE_VERSION}});
  EXPECT_EQ(got.m_status, 0);
  const auto other = run({"at", "AT^DGSN?", "--timeout", "100"}, {{"AT^DGSN?\r", LATE_VERSION}});
  EXPECT_EQ(other.m_status, 5);
}

TEST_F(Answer, CmeError_IsExplained) {
  const auto got = run({"bt-address"}, {{"AT^DBTADDR?\r", "\r\n+CME ERROR: 100\r\n"}});
  EXPECT_EQ(got.m_status, 7);
  EXPECT_THAT(got.m_err,
              HasSubstr("error answer: +CME ERROR: 100: unknown error\n  hint: the phone has no address yet"));
}

std::string text_of(const byte_string& bytes) {
  return {bytes.begin(), bytes.end()};
}

const std::string VERSION_16_REQUEST =
    text_of(bytes_from_hex("AABBCCDD 17000000 02000000 0F00BB2D0900 EE1301040010000000 BF5CE407"));

TEST_F(Answer, VersionOfAnotherModule_IsForeign) {
  // VERSION_OK is the answer for module 64.
  const auto got = run({"version", "16"}, {{VERSION_16_REQUEST, text_of(VERSION_OK + VERSION_TEXT)}});
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, EndsWith("\nversion: V1.0\n"));
  const auto alone = run({"version", "16", "--timeout", "100"}, {{VERSION_16_REQUEST, text_of(VERSION_OK)}});
  EXPECT_EQ(alone.m_status, 5);
}

TEST_F(Answer, FrameWithoutItsValue_IsWaitedOver) {
  // Answer 173 to a read of the address: atom 1 = 0 alone, as a write is answered; then with atom 111 = "AB".
  const byte_string written = bytes_from_hex("AABBCCDD 17000000 02000000 0F00BBAD0900 EE0101040000000000 697E0503");
  const std::string request =
      text_of(bytes_from_hex("AABBCCDD 17000000 02000000 0F00BBAC0900 EE6E01040001000000 257E9949"));
  const auto got = run({"bt-address", "--frame", "--timeout", "100"}, {{request, text_of(written)}});
  EXPECT_EQ(got.m_status, 9) << got.m_out;
  const byte_string read =
      bytes_from_hex("AABBCCDD 1E000000 02000000 1600BBAD1000 EE6F0202004142 EE0101040000000000 AB50FD46");
  const auto second = run({"bt-address", "--frame"}, PROBES + script{{request, text_of(written + read)}});
  EXPECT_EQ(second.m_status, 0) << second.m_out;
  EXPECT_THAT(second.m_out, EndsWith("\nbt-address: AB\n"));
}

TEST_F(Answer, FrameWithAValueThatWasNotAskedFor_IsForeign) {
  const byte_string read =
      bytes_from_hex("AABBCCDD 1E000000 02000000 1600BBAD1000 EE6F0202004142 EE0101040000000000 AB50FD46");
  const std::string request =
      text_of(bytes_from_hex("AABBCCDD 17000000 02000000 0F00BBAC0900 EE6E01040003000000 DAD47A25"));
  EXPECT_EQ(run({"check", "bt", "--frame", "--timeout", "100"}, {{request, text_of(read)}}).m_status, 5);
}

}  // namespace
