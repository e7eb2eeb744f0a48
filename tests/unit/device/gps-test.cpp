#include "amt/amt-device/gps.h"

#include "tests/unit/device/device-test.h"

namespace {

constexpr char APP_GPS_OK[] = "0F 00 BB AF 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char PC_GPS_OK[] =
    "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB AF 09 00 EE 01 01 04 00 00 00 00 00 9B 61 FE EC";
constexpr char NOTE[] = "/data/local/wifi/gps_get_result.txt";

using Gps = device_test;

testing::Matcher<const std::string&> gps_failure(const std::string& function) {
  return failure_line("amt/amt-gps", function, ERR_FAIL);
}

TEST_F(Gps, Control_Zero_StopsOnBothLinks) {
  EXPECT_EQ(pc(174, int_atom(140, 0)), 0);
  EXPECT_EQ(app(174, int_atom(140, 0)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_gpsCtrl(0, 0, none, none)", "hwt_gpsCtrl(0, 0, none, none)"));
  EXPECT_EQ(to_pc(), PC_GPS_OK);
  EXPECT_EQ(to_app(), APP_GPS_OK);
  EXPECT_TRUE(m_log.has_in_a_row({"amt_gps_control is_start:0", "GPS stop start", "GPS stop end. return:0."}));
}

TEST_F(Gps, Control_NoAtom_Stops) {
  EXPECT_EQ(app(174), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_gpsCtrl(0, 0, none, none)"));
}

TEST_F(Gps, Control_Two_ChecksTheConnectivity) {
  EXPECT_EQ(pc(174, int_atom(140, 2)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_gpsCheck()"));
  EXPECT_EQ(to_pc(), PC_GPS_OK);
  EXPECT_TRUE(m_log.has_in_a_row({"GPS connectivity check start", "GPS connectivity check end. return:0."}));
}

TEST_F(Gps, Control_AnyOtherValue_Starts) {
  for (const std::uint32_t operation : {1u, 3u, 4u, 5u, 0xFFFFFFFFu}) {
    g_hwt_fake.m_calls.clear();
    EXPECT_EQ(app(174, int_atom(140, operation)), 0);
    EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_gpsCtrl(1, 0, none, none)"));
    EXPECT_EQ(to_app(), APP_GPS_OK);
  }
  EXPECT_TRUE(m_log.has_in_a_row({"GPS-start start", "GPS-start end. return:0."}));
}

TEST_F(Gps, Control_LibraryFails_SendsNothingAndNamesTheCall) {
  g_hwt_fake.m_results = {
      {"hwt_gpsCtrl(0, 0, none, none)", -3}, {"hwt_gpsCheck()", 4}, {"hwt_gpsCtrl(1, 0, none, none)", -5}};
  for (const std::uint32_t operation : {0u, 2u, 1u}) {
    EXPECT_EQ(pc(174, int_atom(140, operation)), ERR_FAIL);
    EXPECT_EQ(app(174, int_atom(140, operation)), ERR_FAIL);
  }
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(gps_failure("amt_gps_control")).Times(6));
  EXPECT_EQ(m_log.count("GPS stop error. call hwt_gpsCtrl fail: -3"), 2u);
  EXPECT_EQ(m_log.count("GPS connectivity check error. call hwt_gpsCheck fail: 4"), 2u);
  EXPECT_EQ(m_log.count("GPS-start error. call hwt_gpsCtrl fail: -5"), 2u);
}

TEST_F(Gps, Test_Asked_AnswersWithTheControlsResponseId) {
  EXPECT_EQ(pc(176), 0);
  EXPECT_EQ(app(176), 0);
  EXPECT_EQ(to_pc(), PC_GPS_OK);
  EXPECT_EQ(to_app(), APP_GPS_OK);
  EXPECT_THAT(g_hwt_fake.m_calls, IsEmpty());
}

TEST_F(Gps, Test_LinkClosed_GivesTheSendersResult) {
  close_links();
  EXPECT_EQ(pc(176), ERR_FAIL);
  EXPECT_EQ(app(176), ERR_FAIL);
}

TEST_F(Gps, ReadResult_Satellite_IsAnsweredOnBothLinks) {
  g_hwt_fake.m_svid = 17;
  g_hwt_fake.m_cnr = 45;
  EXPECT_EQ(pc(178, int_atom(141, 3)), 0);
  EXPECT_EQ(app(178, int_atom(141, 3)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_gpsCtrl(2, 3, set, set)", "hwt_gpsCtrl(2, 3, set, set)"));
  EXPECT_EQ(to_app(),
            "21 00 BB B3 1B 00 EE 90 01 04 00 2D 00 00 00 EE 8D 01 04 00 11 00 00 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 29 00 00 00 02 00 00 00 21 00 BB B3 1B 00 EE 90 01 04 00 2D 00 00 00 "
            "EE 8D 01 04 00 11 00 00 00 EE 01 01 04 00 00 00 00 00 F3 1D FB 07");
  EXPECT_TRUE(
      m_log.has_in_a_row({"GPS-READ-SIGNAL start. index:3", "GPS-READ-SIGNAL end. return:0; svid:17; cnr:45."}));
}

TEST_F(Gps, ReadResult_LibraryFails_SendsNothing) {
  g_hwt_fake.m_results = {{"hwt_gpsCtrl(2, 0, set, set)", -7}};
  EXPECT_EQ(pc(178), ERR_FAIL);
  EXPECT_EQ(app(178), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(gps_failure("amt_gps_read_result")).Times(2));
  EXPECT_EQ(m_log.count("GPS-READ-SIGNAL end. return:-7; svid:0; cnr:0."), 2u);
  EXPECT_EQ(m_log.count("GPS-READ-SIGNAL error. call hwt_gpsCtrl fail: -7"), 2u);
}

TEST_F(Gps, ReadResult_AnyIndex_ReachesTheLibraryAsItIs) {
  const std::pair<std::uint32_t, std::string> rows[] = {
      {0x7FFFFFFF, "2147483647"}, {0x80000000, "-2147483648"}, {0xFFFFFFFF, "-1"}};
  for (const auto& [index, shown] : rows) {
    g_hwt_fake.m_calls.clear();
    EXPECT_EQ(app(178, int_atom(141, index)), 0);
    EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_gpsCtrl(2, " + shown + ", set, set)"));
    EXPECT_TRUE(m_log.has("GPS-READ-SIGNAL start. index:" + shown));
  }
}

// What the library leaves alone is 0, and a negative number is its 32 bits.
TEST_F(Gps, ReadResult_LibraryGivesNothingOrNegatives_IsAnsweredSo) {
  EXPECT_EQ(app(178), 0);
  EXPECT_EQ(to_app(),
            "21 00 BB B3 1B 00 EE 90 01 04 00 00 00 00 00 EE 8D 01 04 00 00 00 00 00 EE 01 01 04 00 00 00 00 00");
  g_hwt_fake.m_svid = -1;
  g_hwt_fake.m_cnr = -2;
  EXPECT_EQ(app(178), 0);
  EXPECT_EQ(to_app(),
            "21 00 BB B3 1B 00 EE 90 01 04 00 FE FF FF FF EE 8D 01 04 00 FF FF FF FF EE 01 01 04 00 00 00 00 00");
}

TEST_F(Gps, ReadResult_LinkClosed_GivesZero) {
  close_links();
  EXPECT_EQ(pc(178), 0);
  EXPECT_EQ(app(178), 0);
}

TEST_F(Gps, ReadResult_BadArguments_AreNotedInItsFile) {
  write_file(NOTE, "older");
  EXPECT_EQ(ask_handler(amt_gps_read_result, 255, 178, ""), ERR_ARGUMENT);
  EXPECT_EQ(content_of(NOTE), "gps read result:invalid param\n");
}

TEST_F(Gps, ReadResult_GoodArguments_LeaveItsFileAlone) {
  EXPECT_EQ(app(178), 0);
  EXPECT_EQ(content_of(NOTE), "(no file)");
}

}  // namespace
