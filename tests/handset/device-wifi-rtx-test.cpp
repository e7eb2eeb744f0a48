// Request 187, the WiFi transmit and receive test: atom 154 is the operation, 155 the channel, 156 the rate, 157 the
// power, all of them as bytes.
#include "tests/handset/device-phone.h"

using namespace handset_test;

namespace {

constexpr char NOTES[] = "/data/local/wifi/wifi_dbg_file.txt";
constexpr char HANDLER_FAILED[] = "FUNC-amt_device_wifi_rtx_test(), error_code=-100";

constexpr char START[] = "EE 9A 03 0100 01";
constexpr char STOP[] = "EE 9A 03 0100 02";
const std::string TRANSMIT = "EE 9A 03 0100 03";
constexpr char TRANSMIT_STOP[] = "EE 9A 03 0100 04";
const std::string RECEIVE = "EE 9A 03 0100 05";
constexpr char RECEIVE_STOP[] = "EE 9A 03 0100 06";

const std::string CHANNEL_11 = " EE 9B 03 0100 0B";
const std::string RATE_540 = " EE 9C 03 0200 1C02";
const std::string POWER_18 = " EE 9D 03 0200 1200";

class WifiRtx : public DeviceOnBothLinks {
 protected:
  // Success is answered with the operation's own byte.
  void expect_done(std::string_view atoms, std::string_view echoed, std::string_view calls) {
    expect(187, atoms, frame(188, "EE 9A 03 0100 " + std::string(echoed) + DONE), calls);
  }
  void switch_wifi_on() { expect_done(START, "01", "hwt_wifiCtrl(1) = 0\n"); }
};
INSTANTIATE_TEST_SUITE_P(On, WifiRtx, both_links(), link_name);

TEST_P(WifiRtx, Start_Twice_SwitchesWifiOnOnce) {
  start();
  switch_wifi_on();
  EXPECT_EQ(phone().parts().state("wifi"), "on");
  expect_done(START, "01", "");
  expect_logged("WIFI-start start");
  expect_logged("WIFI-start end. return:0.");
}

TEST_P(WifiRtx, Start_LibraryFails_IsAnErrorAnswerAndTriedAgain) {
  start();
  phone().write_file(HWT_CONTROL, "hwt_wifiCtrl(1 = -1\n");
  expect_failure(187, START, "hwt_wifiCtrl(1) = -1\n");
  expect_failure(187, TRANSMIT_STOP);
  phone().remove(HWT_CONTROL);
  switch_wifi_on();
  expect_logged("WIFI-start error. call hwt_wifiCtrl fail: -1");
  expect_logged("WIFI is not running");
}

TEST_P(WifiRtx, Stop_Twice_SwitchesWifiOffOnce) {
  start();
  switch_wifi_on();
  expect_done(STOP, "02", "hwt_wifiCtrl(0) = 0\n");
  EXPECT_EQ(phone().parts().state("wifi"), "off");
  expect_done(STOP, "02", "");
  expect_logged("WIFI-stop start");
  expect_logged("WIFI-stop end. return:0.");
}

TEST_P(WifiRtx, Stop_NeverStarted_IsAnsweredWithoutACall) {
  start();
  expect_done(STOP, "02", "");
}

TEST_P(WifiRtx, Stop_LibraryFails_LeavesWifiRunning) {
  start();
  switch_wifi_on();
  phone().write_file(HWT_CONTROL, "hwt_wifiCtrl(0 = 3\n");
  expect_failure(187, STOP, "hwt_wifiCtrl(0) = 3\n");
  expect_done(START, "01", "");
  expect_logged("WIFI-stop error. call hwt_wifiCtrl fail: 3");
}

TEST_P(WifiRtx, EachTest_BeforeTheStart_IsAnErrorAnswer) {
  start();
  expect_failure(187, TRANSMIT + CHANNEL_11 + RATE_540 + POWER_18);
  expect_failure(187, TRANSMIT_STOP);
  expect_failure(187, RECEIVE + CHANNEL_11 + RATE_540);
  expect_failure(187, RECEIVE_STOP);
  expect_logged(HANDLER_FAILED, 4);
  expect_logged("WIFI is not running", 4);
}

TEST_P(WifiRtx, EachTest_AfterTheStop_IsAnErrorAnswer) {
  start();
  switch_wifi_on();
  expect_done(STOP, "02", "hwt_wifiCtrl(0) = 0\n");
  expect_failure(187, TRANSMIT + CHANNEL_11 + RATE_540 + POWER_18);
  expect_failure(187, RECEIVE_STOP);
  expect_logged("WIFI is not running", 2);
}

TEST_P(WifiRtx, EachTest_AfterTheServiceStartedAgain_IsAnErrorAnswer) {
  start();
  switch_wifi_on();
  end_with(phone(), SIGTERM);
  if (link() == test_link::pc) {
    start_serving(phone());
  } else {
    start_app_serving(phone());
  }
  expect_failure(187, RECEIVE_STOP);
  EXPECT_EQ(phone().parts().state("wifi"), "on");
}

TEST_P(WifiRtx, Transmit_AllGiven_ReachesTheHardware) {
  start();
  switch_wifi_on();
  expect_done(TRANSMIT + CHANNEL_11 + RATE_540 + POWER_18, "03", "hwt_TxTest(1, 18, 540, 11) = 0\n");
  EXPECT_EQ(phone().parts().state("wifi transmitter"), "channel 11, rate 540, power 18");
  expect_logged("WIFI-TX-start start. channel:11; power:18; rate:540");
  expect_logged("WIFI-TX-start end. return:0.");
}

TEST_P(WifiRtx, Transmit_PowerOfMinusTen_KeepsItsSign) {
  start();
  switch_wifi_on();
  expect_done(TRANSMIT + CHANNEL_11 + RATE_540 + " EE 9D 03 0200 F6FF", "03", "hwt_TxTest(1, -10, 540, 11) = 0\n");
}

TEST_P(WifiRtx, Transmit_LargestNumbers_AreUnsignedButThePower) {
  start();
  switch_wifi_on();
  expect_done(TRANSMIT + " EE 9B 03 0100 FF  EE 9C 03 0200 FFFF  EE 9D 03 0200 0080", "03",
              "hwt_TxTest(1, -32768, 65535, 255) = 0\n");
}

TEST_P(WifiRtx, Transmit_AtomAbsentOrEmpty_IsAnErrorAnswerThatNamesIt) {
  start();
  switch_wifi_on();
  expect_failure(187, TRANSMIT + RATE_540 + POWER_18);
  expect_failure(187, TRANSMIT + " EE 9B 03 0000" + RATE_540 + POWER_18);
  expect_logged("Tx get channel error", 2);
  expect_failure(187, TRANSMIT + CHANNEL_11 + POWER_18);
  expect_failure(187, TRANSMIT + CHANNEL_11 + " EE 9C 03 0000" + POWER_18);
  expect_logged("Tx get rate error", 2);
  expect_failure(187, TRANSMIT + CHANNEL_11 + RATE_540);
  expect_failure(187, TRANSMIT + CHANNEL_11 + RATE_540 + " EE 9D 03 0000");
  expect_logged("Tx get power error", 2);
  expect_logged(HANDLER_FAILED, 6);
}

TEST_P(WifiRtx, Transmit_LibraryFails_IsAnErrorAnswer) {
  start();
  switch_wifi_on();
  phone().write_file(HWT_CONTROL, "hwt_TxTest(1 = -6\n");
  expect_failure(187, TRANSMIT + CHANNEL_11 + RATE_540 + POWER_18, "hwt_TxTest(1, 18, 540, 11) = -6\n");
  EXPECT_EQ(phone().parts().state("wifi transmitter"), "off");
  expect_logged("WIFI-TX-start error. call hwt_TxTest fail: -6");
}

TEST_P(WifiRtx, TransmitStop_Running_CallsWithZeros) {
  start();
  switch_wifi_on();
  expect_done(TRANSMIT + CHANNEL_11 + RATE_540 + POWER_18, "03", "hwt_TxTest(1, 18, 540, 11) = 0\n");
  expect_done(TRANSMIT_STOP, "04", "hwt_TxTest(0, 0, 0, 0) = 0\n");
  EXPECT_EQ(phone().parts().state("wifi transmitter"), "off");
  expect_logged("WIFI-TX-stop start. \n");
  expect_logged("WIFI-TX-stop end. return:0.");
}

TEST_P(WifiRtx, TransmitStop_LibraryFails_IsAnErrorAnswer) {
  start();
  switch_wifi_on();
  phone().write_file(HWT_CONTROL, "hwt_TxTest(0 = 1\n");
  expect_failure(187, TRANSMIT_STOP, "hwt_TxTest(0, 0, 0, 0) = 1\n");
  expect_logged("WIFI-TX-stop error. call hwt_TxTest fail: 1");
}

TEST_P(WifiRtx, Receive_AllGiven_ReachesTheHardware) {
  start();
  switch_wifi_on();
  expect_done(RECEIVE + CHANNEL_11 + RATE_540, "05", "hwt_RxTest(1, 11, 540) = 0\n");
  EXPECT_EQ(phone().parts().state("wifi receiver"), "channel 11, rate 540");
  expect_logged("WIFI-RX-start start. channel:11; rate:540");
  expect_logged("WIFI-RX-start end. return:0.");
}

TEST_P(WifiRtx, Receive_AtomAbsentOrEmpty_IsAnErrorAnswerThatNamesIt) {
  start();
  switch_wifi_on();
  expect_failure(187, RECEIVE + RATE_540);
  expect_failure(187, RECEIVE + " EE 9B 03 0000" + RATE_540);
  expect_logged("Rx get channel error", 2);
  expect_failure(187, RECEIVE + CHANNEL_11);
  expect_failure(187, RECEIVE + CHANNEL_11 + " EE 9C 03 0000");
  expect_logged("Rx get rate error", 2);
}

TEST_P(WifiRtx, ReceiveStop_AfterAStart_StopsItsChannelAndAnswersTheCount) {
  start();
  switch_wifi_on();
  phone().write_file(HWT_CONTROL, "packets = 70000\n");
  expect_done(RECEIVE + CHANNEL_11 + RATE_540, "05", "hwt_RxTest(1, 11, 540) = 0\n");
  expect(187, RECEIVE_STOP, frame(188, "EE 9A 03 0100 06  EE 9E 01 0400 70110100" + DONE),
         "hwt_RxTest(0, 11, 0) = 0\n");
  EXPECT_EQ(phone().parts().state("wifi receiver"), "off");
  expect_logged("WIFI-RX-stop start. channel:11");
  expect_logged("WIFI-RX-stop end. return:0; cnt:70000.");
}

TEST_P(WifiRtx, ReceiveStop_WithoutAStart_StopsChannelSix) {
  start();
  switch_wifi_on();
  expect(187, RECEIVE_STOP, frame(188, "EE 9A 03 0100 06  EE 9E 01 0400 E8030000" + DONE), "hwt_RxTest(0, 6, 0) = 0\n");
}

TEST_P(WifiRtx, ReceiveStop_AfterAStartThatFailed_StopsTheOneBefore) {
  start();
  switch_wifi_on();
  expect_done(RECEIVE + CHANNEL_11 + RATE_540, "05", "hwt_RxTest(1, 11, 540) = 0\n");
  phone().write_file(HWT_CONTROL, "hwt_RxTest(1 = 4\n");
  expect_failure(187, RECEIVE + " EE 9B 03 0100 03" + RATE_540, "hwt_RxTest(1, 3, 540) = 4\n");
  expect(187, RECEIVE_STOP, frame(188, "EE 9A 03 0100 06  EE 9E 01 0400 E8030000" + DONE),
         "hwt_RxTest(0, 11, 0) = 0\n");
  expect_logged("WIFI-RX-start error. call hwt_RxTest fail: 4");
}

TEST_P(WifiRtx, ReceiveStop_LibraryFails_IsAnErrorAnswerWithoutACount) {
  start();
  switch_wifi_on();
  phone().write_file(HWT_CONTROL, "hwt_RxTest(0 = 5\n");
  expect_failure(187, RECEIVE_STOP, "hwt_RxTest(0, 6, 0) = 5\n");
  expect_logged("WIFI-RX-stop end. return:5; cnt:0.");
  expect_logged("WIFI-RX-stop error. call hwt_RxTest fail: 5");
}

TEST_P(WifiRtx, Operation_Unknown_IsAnErrorAnswerAndNoted) {
  start();
  switch_wifi_on();
  phone().remove(NOTES);
  expect_failure(187, "EE 9A 03 0100 07");
  EXPECT_EQ(content(NOTES), "the cmd value received from pc is : 7\nthe subcmd is invalid\n");
  expect_failure(187, "EE 9A 03 0100 FF");
  expect_logged("FUNC-amt_device_wifi_rtx_test(), error_code=-101", 2);
  expect_logged("unknown operation: 7");
  expect_logged("unknown operation: 255");
}

TEST_P(WifiRtx, Operation_AbsentOrEmpty_IsZeroAndUnknown) {
  start();
  expect_failure(187, "");
  expect_failure(187, "EE 9A 03 0000");
  EXPECT_EQ(content(NOTES),
            "the cmd value received from pc is : 0\nthe subcmd is invalid\n"
            "the cmd value received from pc is : 0\nthe subcmd is invalid\n");
  expect_logged("unknown operation: 0", 2);
}

TEST_P(WifiRtx, EachOperation_IsNotedAfterTheOlderOnes) {
  start();
  switch_wifi_on();
  expect_done(STOP, "02", "hwt_wifiCtrl(0) = 0\n");
  expect_failure(187, TRANSMIT_STOP);
  EXPECT_EQ(content(NOTES),
            "the cmd value received from pc is : 1\nthe cmd value received from pc is : 2\n"
            "the cmd value received from pc is : 4\n");
}

TEST_P(WifiRtx, NotesFolderMissing_IsServedAllTheSame) {
  start();
  phone().remove("/data/local/wifi");
  switch_wifi_on();
  EXPECT_FALSE(phone().exists("/data/local/wifi"));
}

}  // namespace
