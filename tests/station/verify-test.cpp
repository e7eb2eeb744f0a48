// What is written is read back.
#include <gmock/gmock.h>

#include "tests/station/scripted-phone.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

using Verify = ScriptedPhone;

constexpr char OK[] = "\r\nOK\r\n";
constexpr char NUMBER[] = "358240051111110";
constexpr char WRITE[] = "AT^DCGSNW=358240051111110\r";
constexpr char READ[] = "AT^DGSN?\r";

TEST_F(Verify, Identity_IsReadBackUnasked) {
  const auto got = run({"imei", "set", NUMBER}, {{WRITE, OK}, {READ, "\r\n^DGSN: 358240051111110\r\n\r\nOK\r\n"}});
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, EndsWith("\nimei: written and read back\n"));
}

TEST_F(Verify, ValueThatDiffers_IsStatusTen) {
  const auto got =
      run({"imei", "set", NUMBER, "--json"}, {{WRITE, OK}, {READ, "\r\n^DGSN: 490154203237518\r\n\r\nOK\r\n"}});
  EXPECT_EQ(got.m_status, 10);
  EXPECT_THAT(got.m_err, HasSubstr("wrote \"358240051111110\", read back \"490154203237518\""));
  EXPECT_THAT(got.m_out, HasSubstr("\"exit\":10,"));
  EXPECT_THAT(got.m_out, EndsWith("\"read_back\":\"490154203237518\"}\n"));
}

TEST_F(Verify, ValueThatCannotBeRead_IsTheReasonsStatus) {
  const auto got = run({"imei", "set", NUMBER}, {{WRITE, OK}, {READ, "\r\nERROR\r\n"}});
  EXPECT_EQ(got.m_status, 7);
  EXPECT_THAT(got.m_err, HasSubstr("it was written, but could not be read back: error answer: ERROR"));
  const auto empty = run({"imei", "set", NUMBER}, {{WRITE, OK}, {READ, "\r\n^DGSN: \r\n\r\nOK\r\n"}});
  EXPECT_EQ(empty.m_status, 9);
}

TEST_F(Verify, RefusedWrite_IsNotReadBack) {
  EXPECT_EQ(run({"imei", "set", NUMBER}, {{WRITE, "\r\nERROR\r\n"}}).m_status, 7);
}

TEST_F(Verify, ForbiddenByTheUser_IsNotDone) {
  const auto got = run({"imei", "set", NUMBER, "--no-verify"}, {{WRITE, OK}});
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, EndsWith("<- text OK\n"));
}

TEST_F(Verify, OtherWrite_IsReadBackWhenAsked) {
  EXPECT_EQ(run({"amt1-flag", "set", "1"}, {{"AT^DAMT1=1\r", OK}}).m_status, 0);
  const script both = {{"AT^DAMT1=1\r", OK}, {"AT^DAMT1=2\r", "\r\n^DAMT1: 0\r\n\r\nOK\r\n"}};
  EXPECT_EQ(run({"amt1-flag", "set", "1", "--verify"}, both).m_status, 10);
}

TEST_F(Verify, WhatCannotBeReadBack_IsWrongUsage) {
  EXPECT_EQ(run({"imei", "--verify"}, {}).m_status, 2);
  const auto got = run({"test-result", "write", "3", "1", "--verify"}, {});
  EXPECT_EQ(got.m_status, 2);
  EXPECT_THAT(got.m_err, HasSubstr("it cannot be read back here"));
}

TEST_F(Verify, WrongValue_IsNotSentWithoutForce) {
  EXPECT_EQ(run({"imei", "set", "358240051111111"}, {}).m_status, 2);
  const script forced = {{"AT^DCGSNW=1\r", OK}, {READ, "\r\n^DGSN: 1\r\n\r\nOK\r\n"}};
  EXPECT_EQ(run({"imei", "set", "1", "--force"}, forced).m_status, 0);
}

}  // namespace
