// The commands that work on the hardware, and the calls that they make into the device-test and the board library.
#include "tests/handset/records-phone.h"

using namespace handset_test;

namespace {

constexpr char HWT_CALLS[] = "/data/hwt/calls";
constexpr char HWT_CONTROL[] = "/data/hwt/control";
constexpr char BOARD_CALLS[] = "/data/board/calls";
constexpr char BOARD_CONTROL[] = "/data/board/control";

class RadioCommand : public RecordPhone {
 protected:
  // The calls that a step made, one a line.
  template <typename Step>
  void expect_calls(const char* path, std::string_view calls, Step step) {
    phone().remove(path);
    step();
    EXPECT_EQ(phone().read_file(path).value_or(""), calls);
  }
  void expect_radio(std::string_view command, std::string_view reply, std::string_view calls) {
    expect_calls(HWT_CALLS, calls, [&] { expect_reply(command, reply); });
  }
  void expect_radio_error_frame(std::string_view command) {
    expect_calls(HWT_CALLS, "", [&] { expect_error_frame(command); });
  }
  void fail(std::string_view call_and_result) { phone().write_file(HWT_CONTROL, call_and_result); }
};

TEST_F(RadioCommand, ConnectionCheck_EachDevice_MakesItsCall) {
  start();
  expect_radio("AT^DDEVCONNCHK=0\r", REPLY_OK, "hwt_wifiCheck() = 0\n");
  expect_radio("AT^DDEVCONNCHK=1\r", REPLY_OK, "hwt_gpsCheck() = 0\n");
  expect_radio("AT^DDEVCONNCHK=3\r", REPLY_OK, "hwt_btCheck() = 0\n");
  expect_radio("AT^DDEVCONNCHK=2\r", REPLY_ERROR, "");
  expect_radio("AT^DDEVCONNCHK=-1\r", REPLY_ERROR, "");
  expect_radio("AT^DDEVCONNCHK=\r", REPLY_OK, "hwt_wifiCheck() = 0\n");  // an empty value is 0
  expect_logged("wifi connectivity check start", 2);
  EXPECT_EQ(phone().log().count("GPS connectivity check end. return:0."), 1u);
  EXPECT_EQ(phone().log().count("BT hardware check end. return:0."), 1u);
  EXPECT_EQ(phone().log().count("getted parameter:3. prefix:AT^DDEVCONNCHK=; rtn:0."), 1u);
  end_with(phone(), SIGTERM);
}

TEST_F(RadioCommand, ConnectionCheck_LibraryFails_IsError) {
  start();
  fail("hwt_wifiCheck = -3\nhwt_gpsCheck = 4\nhwt_btCheck = -5\n");
  expect_radio("AT^DDEVCONNCHK=0\r", REPLY_ERROR, "hwt_wifiCheck() = -3\n");
  expect_radio("AT^DDEVCONNCHK=1\r", REPLY_ERROR, "hwt_gpsCheck() = 4\n");
  expect_radio("AT^DDEVCONNCHK=3\r", REPLY_ERROR, "hwt_btCheck() = -5\n");
  expect_logged("wifi connectivity check error. call hwt_btCtrl fail: -3");
  EXPECT_EQ(phone().log().count("GPS connectivity check error. call hwt_gpsCheck fail: 4"), 1u);
  EXPECT_EQ(phone().log().count("BT hardware check error. call hwt_btCheck fail: -5"), 1u);
  EXPECT_EQ(phone().log().count("FUNC-handle_amt_device_conn_chk(), error_code=-100"), 3u);
}

TEST_F(RadioCommand, Bluetooth_OnOffAndFailures) {
  start();
  expect_radio("AT^DBTCTRL=1\r", REPLY_OK, "hwt_btCtrl(1) = 0\n");
  expect_radio("AT^DBTCTRL=0\r", REPLY_OK, "hwt_btCtrl(0) = 0\n");
  expect_radio("AT^DBTCTRL=2\r", REPLY_ERROR, "");
  fail("hwt_btCtrl(1) = -7\n");
  expect_radio("AT^DBTCTRL=1\r", REPLY_ERROR, "hwt_btCtrl(1) = -7\n");
  expect_radio("AT^DBTCTRL=0\r", REPLY_OK, "hwt_btCtrl(0) = 0\n");
  expect_logged("BT-start start", 2);
  EXPECT_EQ(phone().log().count("BT-start error. call hwt_btCtrl fail: -7"), 1u);
  EXPECT_EQ(phone().log().count("BT-stop end. return:0."), 2u);
}

TEST_F(RadioCommand, Gps_StartsReadsAndStops) {
  start();
  expect_radio("AT^DGPSCTRL=2,4\r", "\r\n^DGPSCTRL: 5,41\r\n\r\nOK\r\n",
               "hwt_gpsCtrl(1, 0) = 0\nhwt_gpsCtrl(2, 4) = 0\n");
  expect_radio("AT^DGPSCTRL=0\r", REPLY_OK, "hwt_gpsCtrl(0, 0) = 0\n");
  fail("svid = 77\ncnr = -3\n");
  expect_radio("AT^DGPSCTRL=2,0\r", "\r\n^DGPSCTRL: 77,-3\r\n\r\nOK\r\n",
               "hwt_gpsCtrl(1, 0) = 0\nhwt_gpsCtrl(2, 0) = 0\n");
  expect_logged("start gps firstly, GPS-start start", 2);
  EXPECT_EQ(phone().log().count("GPS-READ-SIGNAL end. return:0; index:4; svid:5; cnr:41."), 1u);
}

TEST_F(RadioCommand, Gps_OtherFlagsAndMissingFields) {
  start();
  expect_radio("AT^DGPSCTRL=1\r", REPLY_ERROR, "");
  expect_radio("AT^DGPSCTRL=2", REPLY_ERROR, "hwt_gpsCtrl(1, 0) = 0\n");  // started, and left running
  expect_radio("AT^DGPSCTRL=\r", REPLY_OK, "hwt_gpsCtrl(0, 0) = 0\n");    // a lone carriage return is a field
  expect_radio_error_frame("AT^DGPSCTRL=");
  expect_logged("index is null!!!");
  EXPECT_EQ(phone().log().count("flag is null!!!"), 1u);
}

TEST_F(RadioCommand, Gps_EachStepFails_IsErrorAndNothingFollows) {
  start();
  fail("hwt_gpsCtrl(1 = -1\n");
  expect_radio("AT^DGPSCTRL=2,4\r", REPLY_ERROR, "hwt_gpsCtrl(1, 0) = -1\n");
  fail("hwt_gpsCtrl(2 = -2\n");
  expect_radio("AT^DGPSCTRL=2,4\r", REPLY_ERROR, "hwt_gpsCtrl(1, 0) = 0\nhwt_gpsCtrl(2, 4) = -2\n");
  fail("hwt_gpsCtrl(0 = -3\n");
  expect_radio("AT^DGPSCTRL=0\r", REPLY_ERROR, "hwt_gpsCtrl(0, 0) = -3\n");
  expect_logged("GPS-start error. call hwt_gpsCtrl fail: -1");
  EXPECT_EQ(phone().log().count("GPS-READ-SIGNAL error. call hwt_gpsCtrl fail: -2"), 1u);
  EXPECT_EQ(phone().log().count("GPS-stop error. call hwt_gpsCtrl fail: -3"), 1u);
}

TEST_F(RadioCommand, WifiTransmit_StartsAndStops) {
  start();
  // The library takes power, rate and channel in another order than the command.
  expect_radio("AT^DWLTSD=1,6,110,-5\r", REPLY_OK, "hwt_wifiCtrl(1) = 0\nhwt_TxTest(1, -5, 110, 6) = 0\n");
  expect_radio("AT^DWLTSD=0\r", REPLY_OK, "hwt_TxTest(0, 0, 0, 0) = 0\nhwt_wifiCtrl(0) = 0\n");
  // 8, 16 and 16 bits with a sign.
  expect_radio("AT^DWLTSD=1,257,65537,40000\r", REPLY_OK, "hwt_wifiCtrl(1) = 0\nhwt_TxTest(1, -25536, 1, 1) = 0\n");
  expect_logged("WIFI-TX-start start. channel:6; power:-5; rate:110(will multi 100)");
  EXPECT_EQ(phone().log().count("then will stop wifi, WIFI-stop start"), 1u);
}

TEST_F(RadioCommand, WifiTransmit_MissingFields_LeaveWifiOn) {
  start();
  expect_radio("AT^DWLTSD=1", REPLY_ERROR, "hwt_wifiCtrl(1) = 0\n");
  expect_radio("AT^DWLTSD=1,6", REPLY_ERROR, "hwt_wifiCtrl(1) = 0\n");
  expect_radio("AT^DWLTSD=1,6,110\r", REPLY_ERROR, "hwt_wifiCtrl(1) = 0\n");
  expect_radio("AT^DWLTSD=2\r", REPLY_ERROR, "");
  expect_radio_error_frame("AT^DWLTSD=");
  expect_logged("channel is null!!!");
  EXPECT_EQ(phone().log().count("rate is null!!!"), 1u);
  EXPECT_EQ(phone().log().count("power is null!!!"), 1u);
  EXPECT_EQ(phone().log().count("control is null!!!"), 1u);
}

TEST_F(RadioCommand, WifiTransmit_EachStepFails_IsErrorAndNothingFollows) {
  start();
  fail("hwt_wifiCtrl(1 = -1\n");
  expect_radio("AT^DWLTSD=1,6,110,10\r", REPLY_ERROR, "hwt_wifiCtrl(1) = -1\n");
  fail("hwt_TxTest(1 = -2\n");
  expect_radio("AT^DWLTSD=1,6,110,10\r", REPLY_ERROR, "hwt_wifiCtrl(1) = 0\nhwt_TxTest(1, 10, 110, 6) = -2\n");
  fail("hwt_TxTest(0 = -3\n");
  expect_radio("AT^DWLTSD=0\r", REPLY_ERROR, "hwt_TxTest(0, 0, 0, 0) = -3\n");
  fail("hwt_wifiCtrl(0 = -4\n");
  expect_radio("AT^DWLTSD=0\r", REPLY_ERROR, "hwt_TxTest(0, 0, 0, 0) = 0\nhwt_wifiCtrl(0) = -4\n");
  expect_logged("WIFI-start error. call hwt_wifiCtrl fail: -1");
  EXPECT_EQ(phone().log().count("WIFI-TX-start error. call hwt_TxTest fail: -2"), 1u);
  EXPECT_EQ(phone().log().count("WIFI-TX-stop error. call hwt_TxTest fail: -3"), 1u);
  EXPECT_EQ(phone().log().count("WIFI-stop error. call hwt_wifiCtrl fail: -4"), 1u);
}

TEST_F(RadioCommand, WifiReceive_StopsTheChannelThatLastStarted) {
  start();
  expect_radio("AT^DWLTRD=0\r", REPLY_OK, "hwt_RxTest(0, 6, 0) = 0\nhwt_wifiCtrl(0) = 0\n");
  expect_radio("AT^DWLTRD=1,11,540\r", REPLY_OK, "hwt_wifiCtrl(1) = 0\nhwt_RxTest(1, 11, 540) = 0\n");
  fail("hwt_RxTest(1, 3 = -2\npackets = 123\n");
  expect_radio("AT^DWLTRD=1,3,540\r", REPLY_ERROR, "hwt_wifiCtrl(1) = 0\nhwt_RxTest(1, 3, 540) = -2\n");
  expect_radio("AT^DWLTRD=0\r", REPLY_OK, "hwt_RxTest(0, 11, 0) = 0\nhwt_wifiCtrl(0) = 0\n");
  expect_logged("WIFI-RX-stop end. return:0; cnt:123.");
  EXPECT_EQ(phone().log().count("WIFI-RX-start error. call hwt_RxTest fail: -2"), 1u);
  EXPECT_EQ(phone().log().count("WIFI-RX-stop start. channel:11"), 1u);
}

TEST_F(RadioCommand, WifiReceive_MissingFieldsAndFailures) {
  start();
  expect_radio("AT^DWLTRD=1", REPLY_ERROR, "hwt_wifiCtrl(1) = 0\n");
  expect_radio("AT^DWLTRD=1,6", REPLY_ERROR, "hwt_wifiCtrl(1) = 0\n");
  expect_radio("AT^DWLTRD=7,6,1\r", REPLY_ERROR, "");
  expect_radio_error_frame("AT^DWLTRD=");
  fail("hwt_RxTest(0 = -3\n");
  expect_radio("AT^DWLTRD=0\r", REPLY_ERROR, "hwt_RxTest(0, 6, 0) = -3\n");
  fail("hwt_wifiCtrl = -4\n");
  expect_radio("AT^DWLTRD=0\r", REPLY_ERROR, "hwt_RxTest(0, 6, 0) = 0\nhwt_wifiCtrl(0) = -4\n");
  expect_radio("AT^DWLTRD=1,6,1\r", REPLY_ERROR, "hwt_wifiCtrl(1) = -4\n");
  expect_logged("channel is null!!!");
  EXPECT_EQ(phone().log().count("rate is null!!!"), 1u);
  EXPECT_EQ(phone().log().count("WIFI-RX-stop error. call hwt_RxTest fail: -3"), 1u);
}

TEST_F(RadioCommand, SeveralInOneBlock_FirstOfTheChainIsAnswered) {
  start();
  expect_radio("AT^DPCBACTRL=1,AT^DBTCTRL=1", REPLY_OK, "hwt_btCtrl(1) = 0\n");
  expect_radio("AT^DBTCTRL=1 AT^DSVER\r", "\r\n^DSVER:  \r\n\r\nOK\r\n", "");
}

TEST_F(RadioCommand, Idle_AsksTheBoardLibrary) {
  start();
  expect_calls(BOARD_CALLS, "enter_idle() = 0\n", [&] { expect_reply("AT^DENTERIDLE\r", REPLY_OK); });
  expect_calls(BOARD_CALLS, "enter_idle() = 0\n", [&] { expect_reply("xAT^DENTERIDLEx", REPLY_OK); });
  phone().write_file(BOARD_CONTROL, "enter_idle = -1\n");
  expect_calls(BOARD_CALLS, "enter_idle() = -1\n", [&] { expect_reply("AT^DENTERIDLE\r", REPLY_ERROR); });
}

TEST_F(RadioCommand, BootDownload_AsksTheBoardLibrary) {
  start();
  expect_calls(BOARD_CALLS, "amt_check_system_sanity() = 1\n",
               [&] { expect_reply("AT^DBOOTDLFIN?\r", "\r\n^DBOOTDLFIN: 1\r\n\r\nOK\r\n"); });
  phone().write_file(BOARD_CONTROL, "amt_check_system_sanity = 0\n");
  expect_calls(BOARD_CALLS, "amt_check_system_sanity() = 0\n",
               [&] { expect_reply("AT^DBOOTDLFIN", "\r\n^DBOOTDLFIN: 0\r\n\r\nOK\r\n"); });
}

TEST_F(RadioCommand, BoardLibraryMissing_IsError) {
  handset::phone_options options;
  options.board = handset::board_library::absent;
  start(std::move(options));
  expect_reply("AT^DENTERIDLE\r", REPLY_ERROR);
  expect_reply("AT^DBOOTDLFIN\r", REPLY_ERROR);
}

}  // namespace
