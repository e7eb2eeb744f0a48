// The simulated device-test library, which the commands run on in a virtual handset.
#include "platform/hwt.h"

#include "tests/unit/at-test.h"
#include "tests/unit/record-files.h"

namespace {

constexpr char CALLS[] = "/data/hwt/calls";
constexpr char STATE[] = "/data/hwt/state";
constexpr char CONTROL[] = "/data/hwt/control";

class HwtLibrary : public at_test, protected record_files {};

TEST_F(HwtLibrary, EachOperation_SucceedsAndIsNoted) {
  int svid = -1;
  int cnr = -1;
  int count = -1;
  EXPECT_EQ(hwt_btCtrl(1), 0);
  EXPECT_EQ(hwt_btCheck(), 0);
  EXPECT_EQ(hwt_wifiCtrl(1), 0);
  EXPECT_EQ(hwt_wifiCheck(), 0);
  EXPECT_EQ(hwt_TxTest(1, -10, 54, 11), 0);
  EXPECT_EQ(hwt_RxTest(1, 6, 11, nullptr), 0);
  EXPECT_EQ(hwt_RxTest(0, 6, 0, &count), 0);
  EXPECT_EQ(hwt_gpsCtrl(1, 0, nullptr, nullptr), 0);
  EXPECT_EQ(hwt_gpsCtrl(2, 5, &svid, &cnr), 0);
  EXPECT_EQ(hwt_gpsCheck(), 0);
  EXPECT_EQ(read(CALLS),
            "hwt_btCtrl(1) = 0\nhwt_btCheck() = 0\nhwt_wifiCtrl(1) = 0\nhwt_wifiCheck() = 0\n"
            "hwt_TxTest(1, -10, 54, 11) = 0\nhwt_RxTest(1, 6, 11) = 0\nhwt_RxTest(0, 6, 0) = 0\n"
            "hwt_gpsCtrl(1, 0) = 0\nhwt_gpsCtrl(2, 5) = 0\nhwt_gpsCheck() = 0\n");
  EXPECT_EQ(count, 1000);
  EXPECT_EQ(svid, 6);
  EXPECT_EQ(cnr, 40);
}

TEST_F(HwtLibrary, Radios_KeepWhatTheyWereGiven) {
  hwt_btCtrl(1);
  hwt_wifiCtrl(1);
  hwt_TxTest(1, -10, 54, 11);
  EXPECT_EQ(read(STATE),
            "bt=1\ngps=0\nrx=0\nrx_channel=0\nrx_rate=0\ntx=1\ntx_channel=11\ntx_power=-10\ntx_rate=54\nwifi=1\n");
  hwt_TxTest(0, 0, 0, 0);
  hwt_wifiCtrl(0);
  hwt_RxTest(1, 9, 11, nullptr);
  EXPECT_EQ(read(STATE),
            "bt=1\ngps=0\nrx=1\nrx_channel=9\nrx_rate=11\ntx=0\ntx_channel=0\ntx_power=0\ntx_rate=0\nwifi=0\n");
}

TEST_F(HwtLibrary, GpsThatIsOff_HearsNothing) {
  int svid = -1;
  int cnr = -1;
  hwt_gpsCtrl(0, 0, nullptr, nullptr);
  EXPECT_EQ(hwt_gpsCtrl(2, 5, &svid, &cnr), 0);
  EXPECT_EQ(svid, 0);
  EXPECT_EQ(cnr, 0);
}

TEST_F(HwtLibrary, OperationThatIsToFail_HasNoEffect) {
  write(CONTROL, "hwt_wifiCtrl(0 = -3\nhwt_RxTest = 7\n");
  int count = -1;
  EXPECT_EQ(hwt_wifiCtrl(1), 0);
  EXPECT_EQ(hwt_wifiCtrl(0), -3);
  EXPECT_EQ(hwt_RxTest(0, 6, 0, &count), 7);
  EXPECT_EQ(count, -1);
  EXPECT_THAT(read(STATE).value_or(""), testing::HasSubstr("wifi=1\n"));
  EXPECT_EQ(read(CALLS), "hwt_wifiCtrl(1) = 0\nhwt_wifiCtrl(0) = -3\nhwt_RxTest(0, 6, 0) = 7\n");
}

TEST_F(HwtLibrary, WhatTheRadiosMeet_CanBeSet) {
  write(CONTROL, "packets = 977\nsvid = 12\ncnr = 38\n");
  int svid = -1;
  int cnr = -1;
  int count = -1;
  hwt_RxTest(0, 6, 0, &count);
  hwt_gpsCtrl(2, 5, &svid, &cnr);
  EXPECT_EQ(count, 977);
  EXPECT_EQ(svid, 12);
  EXPECT_EQ(cnr, 38);
}

TEST_F(HwtLibrary, WithoutAPlaceForItsFiles_RemembersAndSucceeds) {
  write("/data/hwt", "");  // a file, where its folder would be
  int svid = -1;
  int cnr = -1;
  EXPECT_EQ(hwt_gpsCtrl(1, 0, nullptr, nullptr), 0);
  EXPECT_EQ(hwt_gpsCtrl(2, 0, &svid, &cnr), 0);
  EXPECT_EQ(svid, 1);
  EXPECT_EQ(cnr, 45);
}

TEST_F(HwtLibrary, GpsCommand_RunsOnIt) {
  EXPECT_EQ(send("AT^DGPSCTRL=2,5\r"), "\r\n^DGPSCTRL: 6,40\r\n\r\nOK\r\n");
  EXPECT_EQ(send("AT^DGPSCTRL=0\r"), OK);
  EXPECT_EQ(read(CALLS), "hwt_gpsCtrl(1, 0) = 0\nhwt_gpsCtrl(2, 5) = 0\nhwt_gpsCtrl(0, 0) = 0\n");
}

// The only test of this program that stops receiving: no other has started it.
TEST_F(HwtLibrary, ReceiveStopOfAFreshService_StopsChannelSix) {
  EXPECT_EQ(send("AT^DWLTRD=0\r"), OK);
  EXPECT_EQ(read(CALLS), "hwt_RxTest(0, 6, 0) = 0\nhwt_wifiCtrl(0) = 0\n");
}

}  // namespace
