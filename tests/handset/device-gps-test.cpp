// Requests 174, 176 and 178: GPS is started, stopped and checked (atom 140), asked for, and read (atom 141, a slot).
#include "tests/handset/device-phone.h"

using namespace handset_test;

namespace {

constexpr char STOP[] = "EE 8C 01 0400 00000000";
constexpr char START[] = "EE 8C 01 0400 01000000";
constexpr char CHECK[] = "EE 8C 01 0400 02000000";
constexpr char FIRST_SLOT[] = "EE 8D 01 0400 00000000";
constexpr char FIFTH_SLOT[] = "EE 8D 01 0400 04000000";

using Gps = DeviceOnBothLinks;
INSTANTIATE_TEST_SUITE_P(On, Gps, both_links(), link_name);

TEST_P(Gps, Control_One_Starts) {
  start();
  expect_ok(174, START, 175, "hwt_gpsCtrl(1, 0) = 0\n");
  EXPECT_EQ(phone().parts().state("gps"), "on");
  expect_logged("amt_gps_control is_start:1");
  expect_logged("GPS-start start");
  expect_logged("GPS-start end. return:0.");
}

TEST_P(Gps, Control_AnyOtherNumber_Starts) {
  start();
  expect_ok(174, "EE 8C 01 0400 05000000", 175, "hwt_gpsCtrl(1, 0) = 0\n");
  expect_ok(174, "EE 8C 01 0400 03000000", 175, "hwt_gpsCtrl(1, 0) = 0\n");
  expect_ok(174, "EE 8C 01 0400 FFFFFFFF", 175, "hwt_gpsCtrl(1, 0) = 0\n");
  expect_logged("amt_gps_control is_start:-1");
}

TEST_P(Gps, Control_Zero_Stops) {
  start();
  expect_ok(174, START, 175, "hwt_gpsCtrl(1, 0) = 0\n");
  expect_ok(174, STOP, 175, "hwt_gpsCtrl(0, 0) = 0\n");
  EXPECT_EQ(phone().parts().state("gps"), "off");
  expect_logged("GPS stop start");
  expect_logged("GPS stop end. return:0.");
}

TEST_P(Gps, Control_AtomAbsent_Stops) {
  start();
  expect_ok(174, "", 175, "hwt_gpsCtrl(0, 0) = 0\n");
}

TEST_P(Gps, Control_Two_Checks) {
  start();
  expect_ok(174, CHECK, 175, "hwt_gpsCheck() = 0\n");
  expect_logged("GPS connectivity check start");
  expect_logged("GPS connectivity check end. return:0.");
}

TEST_P(Gps, Start_LibraryFails_IsAnErrorAnswer) {
  start();
  phone().write_file(HWT_CONTROL, "hwt_gpsCtrl(1 = -1\n");
  expect_failure(174, START, "hwt_gpsCtrl(1, 0) = -1\n");
  EXPECT_EQ(phone().parts().state("gps"), "off");
  expect_logged("FILE-amt/amt-gps, LINE-");
  expect_logged("FUNC-amt_gps_control(), error_code=-100");
  expect_logged("GPS-start error. call hwt_gpsCtrl fail: -1");
}

TEST_P(Gps, Stop_LibraryFails_IsAnErrorAnswer) {
  start();
  phone().write_file(HWT_CONTROL, "hwt_gpsCtrl(0 = 2\n");
  expect_failure(174, STOP, "hwt_gpsCtrl(0, 0) = 2\n");
  expect_logged("GPS stop error. call hwt_gpsCtrl fail: 2");
}

TEST_P(Gps, Check_LibraryFails_IsAnErrorAnswer) {
  start();
  phone().write_file(HWT_CONTROL, "hwt_gpsCheck = -3\n");
  expect_failure(174, CHECK, "hwt_gpsCheck() = -3\n");
  expect_logged("GPS connectivity check error. call hwt_gpsCheck fail: -3");
}

// The answer has the control's id, and nothing is tested.
TEST_P(Gps, Test_Asked_IsAnsweredAsTheControlIs) {
  start();
  expect_ok(176, "", 175);
  expect_ok(176, START, 175);
  expect_logged("amt_gps_test()", 2);
}

// A satellite of the simulated sky has its slot's number plus one, and 45 less the slot's number.
TEST_P(Gps, Read_Running_IsTheSignalBeforeTheSatellite) {
  start();
  expect_ok(174, START, 175, "hwt_gpsCtrl(1, 0) = 0\n");
  expect(178, FIFTH_SLOT, frame(179, "EE 90 01 0400 29000000  EE 8D 01 0400 05000000" + DONE),
         "hwt_gpsCtrl(2, 4) = 0\n");
  expect_logged("GPS-READ-SIGNAL start. index:4");
  expect_logged("GPS-READ-SIGNAL end. return:0; svid:5; cnr:41.");
}

TEST_P(Gps, Read_SlotAbsent_IsTheFirst) {
  start();
  expect_ok(174, START, 175, "hwt_gpsCtrl(1, 0) = 0\n");
  expect(178, "", frame(179, "EE 90 01 0400 2D000000  EE 8D 01 0400 01000000" + DONE), "hwt_gpsCtrl(2, 0) = 0\n");
}

TEST_P(Gps, Read_NegativeNumbers_AreAnsweredAsTheyAre) {
  start();
  phone().write_file(HWT_CONTROL, "svid = 70000\ncnr = -3\n");
  expect(178, FIRST_SLOT, frame(179, "EE 90 01 0400 FDFFFFFF  EE 8D 01 0400 70110100" + DONE),
         "hwt_gpsCtrl(2, 0) = 0\n");
}

TEST_P(Gps, Read_NotRunning_IsWhatTheLibraryGives) {
  start();
  expect(178, FIRST_SLOT, frame(179, "EE 90 01 0400 00000000  EE 8D 01 0400 00000000" + DONE),
         "hwt_gpsCtrl(2, 0) = 0\n");
  EXPECT_FALSE(phone().exists("/data/local/wifi/gps_get_result.txt"));
}

TEST_P(Gps, Read_LibraryFails_IsAnErrorAnswer) {
  start();
  phone().write_file(HWT_CONTROL, "hwt_gpsCtrl(2 = -4\n");
  expect_failure(178, FIFTH_SLOT, "hwt_gpsCtrl(2, 4) = -4\n");
  expect_logged("GPS-READ-SIGNAL end. return:-4; svid:0; cnr:0.");
  expect_logged("FUNC-amt_gps_read_result(), error_code=-100");
  expect_logged("GPS-READ-SIGNAL error. call hwt_gpsCtrl fail: -4");
}

}  // namespace
