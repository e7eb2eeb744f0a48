// The station tool on the virtual phone: late answers of a slow modem, and what is read back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/documents/reader.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class LateAnswer : public testing::Test {
 protected:
  LateAnswer() { m_reader.start_phone("handset run"); }
  reader::outcome station(const std::string& word) {
    return m_reader.type(m_reader.prepare("amt-station --port /dev/ttyUSB0 " + word));
  }
  void modem(const std::string& what) { EXPECT_EQ(m_reader.type("handset ctl modem " + what).exit, 0); }

  reader m_reader;
};

constexpr char IMEI[] = "imei set 358240051111110";

TEST_F(LateAnswer, OkOfAWriteThatWasGivenUp_IsNotTakenByTheNextWord) {
  EXPECT_EQ(station("check bt").exit, 0);
  EXPECT_EQ(m_reader.type("handset ctl library set hwt hwt_btCheck -1").exit, 0);
  modem("delay 1500");
  EXPECT_EQ(station(std::string("--timeout 300 ") + IMEI).exit, 5);
  const auto check = station("--timeout 20000 check bt");
  EXPECT_EQ(check.exit, 7) << check.output;
  EXPECT_THAT(check.output, HasSubstr("hint: the radio's test library reported a failure"));
}

TEST_F(LateAnswer, AnswerOfAReadThatWasGivenUp_IsPassedOver) {
  EXPECT_EQ(station(IMEI).exit, 0);
  modem("delay 1500");
  EXPECT_EQ(station("--timeout 300 board-sn").exit, 5);
  const auto imei = station("--timeout 20000 imei");
  EXPECT_EQ(imei.exit, 0) << imei.output;
  EXPECT_THAT(imei.output, EndsWith("\nimei: 358240051111110\n"));
}

TEST_F(LateAnswer, SilentModem_KeepsNoReadOfThePhoneBack) {
  modem("silent on");
  EXPECT_EQ(station("--timeout 300 imei").exit, 5);
  EXPECT_EQ(station("boot-download").exit, 0);
  const auto check = station("--timeout 500 check bt");
  EXPECT_EQ(check.exit, 5);
  EXPECT_THAT(check.output, HasSubstr("the modem still owes the answer to an earlier request"));
  EXPECT_THAT(check.output, Not(HasSubstr("DDEVCONNCHK")));
  modem("silent off");
  EXPECT_EQ(station("--timeout 20000 check bt").exit, 0);
}

TEST_F(LateAnswer, EveryIdentity_IsReadBackInBothForms) {
  for (const char* word : {"bt-address set 021122334455", "wifi-address set 021122334466", "pcba-sn set P123"}) {
    for (const char* form : {" --frame", ""}) {
      const auto got = station(std::string(word) + form);
      EXPECT_EQ(got.exit, 0) << got.output;
      EXPECT_THAT(got.output, EndsWith(": written and read back\n")) << word << form;
    }
  }
  for (const char* word : {IMEI, "board-sn set B77"}) {
    const auto got = station(word);
    EXPECT_EQ(got.exit, 0) << got.output;
    EXPECT_THAT(got.output, EndsWith(": written and read back\n")) << word;
  }
}

TEST_F(LateAnswer, PhoneThatStarts_IsWaitedFor) {
  EXPECT_EQ(station("wait-for-phone").exit, 0);
}

}  // namespace
