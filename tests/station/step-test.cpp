// Runs of the station on a line on which an earlier request was given up.
#include "station/wire/step.h"

#include <gmock/gmock.h>
#include <sys/eventfd.h>

#include "tests/station/scripted-phone.h"

namespace {

using testing::HasSubstr;
using testing::Not;

using Step = ScriptedPhone;

constexpr char CHECK_WIFI[] = "AT^DDEVCONNCHK=0\r";
constexpr char CHECK_BT[] = "AT^DDEVCONNCHK=3\r";
constexpr char OK[] = "\r\nOK\r\n";

TEST_F(Step, QuietLine_GetsTheRequestAtOnce) {
  EXPECT_EQ(run({"check", "bt"}, {{CHECK_BT, OK}}).m_status, 0);
  EXPECT_EQ(run({"check", "wifi"}, {{CHECK_WIFI, OK}}).m_status, 0);
}

TEST_F(Step, LateOkOfAnEarlierRun_IsNotTakenForThisOnes) {
  EXPECT_EQ(run({"check", "wifi", "--timeout", "50"}, {{CHECK_WIFI, ""}}).m_status, 5);
  // The answer that is owed comes while the next run makes sure of the line; this check itself fails.
  const script late = {{"AT^DAMT1=2\r", "\r\nOK\r\n\r\n^DAMT1: 1\r\n\r\nOK\r\n"}};
  const script again = {{"AT^DSVER\r", "\r\n^DSVER: 7\r\n\r\nOK\r\n"}, {"AT^DAMT1=2\r", "\r\n^DAMT1: 1\r\n\r\nOK\r\n"}};
  const auto got = run({"check", "bt"}, late + again + script{{CHECK_BT, "\r\nERROR\r\n"}});
  EXPECT_EQ(got.m_status, 7) << got.m_out;
  EXPECT_EQ(run({"check", "wifi"}, {{CHECK_WIFI, OK}}).m_status, 0);
}

TEST_F(Step, InterruptedRun_LeavesTheLineInDoubt) {
  const int stop = ::eventfd(0, EFD_CLOEXEC);
  std::jthread phone([&] {
    play({{CHECK_WIFI, ""}});
    EXPECT_EQ(::eventfd_write(stop, 1), 0);
  });
  EXPECT_EQ(run_station({"--port", m_phone.path(), "check", "wifi"}, stop).m_status, 130);
  phone.join();
  ::close(stop);
  EXPECT_EQ(run({"sw-version"}, PROBES + script{{"AT^DSVER\r", "\r\n^DSVER: 7\r\n\r\nOK\r\n"}}).m_status, 0);
}

TEST_F(Step, RequestThatWasOnlySent_LeavesTheLineInDoubt) {
  EXPECT_EQ(run({"check", "wifi", "--no-wait"}, {{CHECK_WIFI, ""}}).m_status, 0);
  EXPECT_EQ(run({"check", "bt"}, PROBES + script{{CHECK_BT, OK}}).m_status, 0);
}

TEST_F(Step, AnswerThatWaitsOnTheLine_PutsItInDoubt) {
  m_phone.send(bytes_from_text("\r\nOK\r\n"));
  EXPECT_EQ(run({"check", "bt"}, PROBES + script{{CHECK_BT, "\r\nERROR\r\n"}}).m_status, 7);
}

TEST_F(Step, ReportThatWaitsOnTheLine_IsNoAnswer) {
  m_phone.send(bytes_from_text("\r\n+CREG: 1\r\n"));
  EXPECT_EQ(run({"check", "bt"}, {{CHECK_BT, OK}}).m_status, 0);
}

TEST_F(Step, LineThatNoStationHad_IsMadeSureOfWhereOkAloneAnswers) {
  termios fresh = m_phone.settings();
  fresh.c_cc[VDISCARD] = 0x0F;
  m_phone.set(fresh);
  EXPECT_EQ(run({"sw-version"}, {{"AT^DSVER\r", "\r\n^DSVER: 7\r\n\r\nOK\r\n"}}).m_status, 0);
  EXPECT_EQ(run({"at", "AT^DBTCTRL=1"}, {{"AT^DBTCTRL=1\r", OK}}).m_status, 0);
  EXPECT_EQ(run({"check", "bt"}, PROBES + script{{CHECK_BT, OK}}).m_status, 0);
  EXPECT_EQ(run({"check", "bt"}, {{CHECK_BT, OK}}).m_status, 0);
}

TEST_F(Step, ModemThatOwesAnAnswer_IsWaitedForWhereOkAloneAnswers) {
  EXPECT_EQ(run({"imei", "--timeout", "50"}, {{"AT^DGSN?\r", ""}}).m_status, 5);
  EXPECT_EQ(run({"check", "bt"}, PROBES + MODEM_PROBES + script{{CHECK_BT, OK}}).m_status, 0);
}

TEST_F(Step, ModemThatStaysSilent_DoesNotKeepAReadBack) {
  EXPECT_EQ(run({"imei", "--timeout", "50"}, {{"AT^DGSN?\r", ""}}).m_status, 5);
  const auto got = run({"sw-version"}, PROBES + script{{"AT^DSVER\r", "\r\n^DSVER: 7\r\n\r\nOK\r\n"}});
  EXPECT_EQ(got.m_status, 0);
  // The modem may still answer, so an OK alone cannot be trusted.
  const auto check = run({"check", "bt", "--timeout", "200"}, PROBES + script{{"AT^DGSN?\r", ""}});
  EXPECT_EQ(check.m_status, 5);
  EXPECT_THAT(check.m_err, HasSubstr("hint: the modem still owes the answer to an earlier request"));
  EXPECT_EQ(run({"check", "bt", "--force"}, PROBES + script{{CHECK_BT, OK}}).m_status, 0);
}

TEST_F(Step, SilentPhone_IsNoAnswer) {
  EXPECT_EQ(run({"check", "bt", "--timeout", "50"}, {{CHECK_BT, ""}}).m_status, 5);
  const auto got = run({"check", "bt", "--timeout", "50"}, {{"AT^DAMT1=2\r", ""}});
  EXPECT_EQ(got.m_status, 5);
  EXPECT_THAT(got.m_out, Not(HasSubstr("DDEVCONNCHK")));
}

TEST(StepLink, Mark_StaysOnTheLine) {
  const phone_line_st phone;
  for (const auto doubt : {station_doubt_en::MODEM, station_doubt_en::NONE, station_doubt_en::PHONE}) {
    station_link_st link;
    ASSERT_EQ(link.open(phone.path()), STATION_OK);
    link.set_doubt(doubt);
    link.close();
    ASSERT_EQ(link.open(phone.path()), STATION_OK);
    EXPECT_EQ(link.doubt(), doubt);
  }
}

TEST(StepLink, FreshLine_IsUnknown) {
  const phone_line_st phone;
  station_link_st link;
  ASSERT_EQ(link.open(phone.path()), STATION_OK);
  EXPECT_EQ(link.doubt(), station_doubt_en::UNKNOWN);
}

TEST(StepBare, ApplicationLink_IsProbedWithVersionsOfTwoModules) {
  const phone_line_st phone;
  const auto ask = [](const char* hex) { return bytes_from_hex(hex); };
  std::jthread other([&] {
    const byte_string first = ask("0F00BB2D0900 EE1301040001000000");
    EXPECT_EQ(phone.receive(first.size()), first);
    // An owed answer first: of another request, then of another module.
    phone.send(ask("0F00BB240900 EE0101040000000000 1800BB2E1200 EE1301040020000000 EE0101040000000000"));
    phone.send(ask("1800BB2E1200 EE1301040001000000 EE0101040000000000"));
    const byte_string second = ask("0F00BB2D0900 EE1301040020000000");
    EXPECT_EQ(phone.receive(second.size()), second);
    phone.send(ask("1800BB2E1200 EE1301040020000000 EE0101040000000000"));
    EXPECT_EQ(phone.receive(first.size()), first);
    phone.send(ask("1800BB2E1200 EE1301040001000000 EE0101040000000000"));
  });
  station_link_st link;
  ASSERT_EQ(link.open(phone.path()), STATION_OK);
  link.set_doubt(station_doubt_en::PHONE);
  station_session_st session(
      &link, [](const station_entry_st&) {}, stream_form_en::BARE);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  EXPECT_EQ(station_come_into_step(&link, &session, stream_form_en::BARE, true, deadline), STATION_OK);
  EXPECT_EQ(link.doubt(), station_doubt_en::NONE);
}

}  // namespace
