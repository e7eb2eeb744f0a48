#include "tests/unit/device/device-test.h"

namespace {

using namespace std::string_literals;

constexpr char NOTES[] = "/data/local/wifi/wifi_dbg_file.txt";

// What the station sends, a byte each or two, low byte first.
std::string operation(char number) {
  return bytes_atom(154, std::string(1, number));
}
std::string channel(const std::string& bytes) {
  return bytes_atom(155, bytes);
}
std::string rate(const std::string& bytes) {
  return bytes_atom(156, bytes);
}
std::string power(const std::string& bytes) {
  return bytes_atom(157, bytes);
}

class WifiRtx : public device_test {
 protected:
  // A request that the library refused with -6: the lines from the call on, and no answer on either link.
  void expect_failure_of_the_library(const std::string& atoms, const std::string& start, const std::string& end,
                                     const std::string& error) {
    for (const amt_link_en link : {AMT_LINK_PC, AMT_LINK_APP}) {
      m_log.clear();
      EXPECT_EQ(ask(link, 187, atoms), ERR_FAIL);
      EXPECT_THAT(log(), ElementsAre("amt_device_wifi_rtx_test()", start, end,
                                     device_failure("amt_device_wifi_rtx_test", ERR_FAIL), error));
    }
    EXPECT_TRUE(is_silent());
  }
  // A request that was refused on both links with one line, without a call or an answer.
  void expect_refusal(const std::string& atoms, std::int32_t code, const std::string& line) {
    for (const amt_link_en link : {AMT_LINK_PC, AMT_LINK_APP}) {
      m_log.clear();
      EXPECT_EQ(ask(link, 187, atoms), code);
      EXPECT_THAT(log(),
                  ElementsAre("amt_device_wifi_rtx_test()", device_failure("amt_device_wifi_rtx_test", code), line));
    }
    EXPECT_THAT(g_hwt_fake.m_calls, IsEmpty());
    EXPECT_TRUE(is_silent());
  }
  void start_wifi() {
    ASSERT_EQ(app(187, operation(1)), 0);
    to_app();
    g_hwt_fake.m_calls.clear();
    m_log.clear();
  }
};

TEST_F(WifiRtx, Start_Asked_SwitchesWifiOnOnce) {
  EXPECT_EQ(pc(187, operation(1)), 0);
  EXPECT_EQ(app(187, operation(1)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_wifiCtrl(1)"));
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 1D 00 00 00 02 00 00 00 15 00 BB BC 0F 00 EE 9A 03 01 00 01 EE 01 01 04 00 00 00 00 00 "
            "8C 26 E0 65");
  EXPECT_EQ(to_app(), "15 00 BB BC 0F 00 EE 9A 03 01 00 01 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has_in_a_row({"WIFI-start start", "WIFI-start end. return:0."}));
}

TEST_F(WifiRtx, Start_LibraryFails_WifiIsNotRunning) {
  g_hwt_fake.m_results = {{"hwt_wifiCtrl(1)", -6}};
  expect_failure_of_the_library(operation(1), "WIFI-start start", "WIFI-start end. return:-6.",
                                "WIFI-start error. call hwt_wifiCtrl fail: -6");
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_wifiCtrl(1)", "hwt_wifiCtrl(1)"));
  EXPECT_EQ(g_wifi_is_running, 0);
}

TEST_F(WifiRtx, Stop_Running_SwitchesWifiOffOnce) {
  start_wifi();
  EXPECT_EQ(pc(187, operation(2)), 0);
  EXPECT_EQ(app(187, operation(2)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_wifiCtrl(0)"));
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 1D 00 00 00 02 00 00 00 15 00 BB BC 0F 00 EE 9A 03 01 00 02 EE 01 01 04 00 00 00 00 00 "
            "81 E5 DC CA");
  EXPECT_EQ(to_app(), "15 00 BB BC 0F 00 EE 9A 03 01 00 02 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has_in_a_row({"WIFI-stop start", "WIFI-stop end. return:0."}));
}

TEST_F(WifiRtx, Stop_NotRunning_IsAnsweredWithoutACall) {
  EXPECT_EQ(app(187, operation(2)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, IsEmpty());
}

TEST_F(WifiRtx, Stop_LibraryFails_WifiIsStillRunning) {
  start_wifi();
  g_hwt_fake.m_results = {{"hwt_wifiCtrl(0)", -6}};
  expect_failure_of_the_library(operation(2), "WIFI-stop start", "WIFI-stop end. return:-6.",
                                "WIFI-stop error. call hwt_wifiCtrl fail: -6");
  EXPECT_EQ(g_wifi_is_running, 1);
}

TEST_F(WifiRtx, Transmit_AllGiven_ReachesTheLibrary) {
  start_wifi();
  const std::string atoms = operation(3) + channel("\x0B") + rate("\x6C\x02") + power("\x12\x00"s);
  EXPECT_EQ(pc(187, atoms), 0);
  EXPECT_EQ(app(187, atoms), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_TxTest(1, 18, 620, 11)", "hwt_TxTest(1, 18, 620, 11)"));
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 1D 00 00 00 02 00 00 00 15 00 BB BC 0F 00 EE 9A 03 01 00 03 EE 01 01 04 00 00 00 00 00 "
            "F1 AD 1A A0");
  EXPECT_EQ(to_app(), "15 00 BB BC 0F 00 EE 9A 03 01 00 03 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(
      m_log.has_in_a_row({"WIFI-TX-start start. channel:11; power:18; rate:620", "WIFI-TX-start end. return:0."}));
}

TEST_F(WifiRtx, Transmit_NegativePower_IsSignExtended) {
  start_wifi();
  EXPECT_EQ(app(187, operation(3) + channel("\x01") + rate("\x0A\x00"s) + power("\xF6\xFF")), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_TxTest(1, -10, 10, 1)"));
}

TEST_F(WifiRtx, Transmit_LargestRateAndChannel_AreUnsigned) {
  start_wifi();
  EXPECT_EQ(app(187, operation(3) + channel("\xFF") + rate("\xFF\xFF") + power("\x00\x80"s)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_TxTest(1, -32768, 65535, 255)"));
}

TEST_F(WifiRtx, Transmit_NumbersOfOneByte_HaveAZeroHighByte) {
  start_wifi();
  EXPECT_EQ(app(187, operation(3) + channel("\x01") + rate("\xF0") + power("\xF6")), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_TxTest(1, 246, 240, 1)"));
}

TEST_F(WifiRtx, Transmit_LongerNumbers_AreCut) {
  start_wifi();
  const std::string rest(298, '\x33');
  EXPECT_EQ(app(187, operation(3) + channel("\x02" + rest) + rate("\x0B\x01" + rest) + power("\xFE\xFF" + rest)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_TxTest(1, -2, 267, 2)"));
  g_hwt_fake.m_calls.clear();
  EXPECT_EQ(app(187, operation(3) + channel("\x01\x02") + rate("\x0A\x00\x09"s) + power("\x05\x00\x09"s)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_TxTest(1, 5, 10, 1)"));
}

TEST_F(WifiRtx, Transmit_AtomAbsentOrEmpty_IsNamed) {
  start_wifi();
  const std::pair<std::string, const char*> rows[] = {
      {rate("\x01") + power("\x01"), "Tx get channel error"},
      {channel("") + rate("\x01") + power("\x01"), "Tx get channel error"},
      {channel("\x01") + power("\x01"), "Tx get rate error"},
      {channel("\x01") + rate("") + power("\x01"), "Tx get rate error"},
      {channel("\x01") + rate("\x01"), "Tx get power error"},
      {channel("\x01") + rate("\x01") + power(""), "Tx get power error"},
  };
  for (const auto& [atoms, line] : rows) expect_refusal(operation(3) + atoms, ERR_FAIL, line);
}

TEST_F(WifiRtx, Transmit_LibraryFails_SendsNothing) {
  start_wifi();
  g_hwt_fake.m_results = {{"hwt_TxTest(1, 1, 1, 1)", -6}};
  const std::string atoms = operation(3) + channel("\x01") + rate("\x01") + power("\x01");
  expect_failure_of_the_library(atoms, "WIFI-TX-start start. channel:1; power:1; rate:1",
                                "WIFI-TX-start end. return:-6.", "WIFI-TX-start error. call hwt_TxTest fail: -6");
}

TEST_F(WifiRtx, TransmitStop_Running_CallsWithZeros) {
  start_wifi();
  EXPECT_EQ(pc(187, operation(4)), 0);
  EXPECT_EQ(app(187, operation(4)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_TxTest(0, 0, 0, 0)", "hwt_TxTest(0, 0, 0, 0)"));
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 1D 00 00 00 02 00 00 00 15 00 BB BC 0F 00 EE 9A 03 01 00 04 EE 01 01 04 00 00 00 00 00 "
            "7D 3A 18 9B");
  EXPECT_EQ(to_app(), "15 00 BB BC 0F 00 EE 9A 03 01 00 04 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has_in_a_row({"WIFI-TX-stop start. ", "WIFI-TX-stop end. return:0."}));
}

TEST_F(WifiRtx, TransmitStop_LibraryFails_SendsNothing) {
  start_wifi();
  g_hwt_fake.m_results = {{"hwt_TxTest(0, 0, 0, 0)", -6}};
  expect_failure_of_the_library(operation(4), "WIFI-TX-stop start. ", "WIFI-TX-stop end. return:-6.",
                                "WIFI-TX-stop error. call hwt_TxTest fail: -6");
}

TEST_F(WifiRtx, Receive_AllGiven_ReachesTheLibrary) {
  start_wifi();
  const std::string atoms = operation(5) + channel("\x0D") + rate("\x0A\x01");
  EXPECT_EQ(pc(187, atoms), 0);
  EXPECT_EQ(app(187, atoms), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_RxTest(1, 13, 266, none)", "hwt_RxTest(1, 13, 266, none)"));
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 1D 00 00 00 02 00 00 00 15 00 BB BC 0F 00 EE 9A 03 01 00 05 EE 01 01 04 00 00 00 00 00 "
            "0D 72 DE F1");
  EXPECT_EQ(to_app(), "15 00 BB BC 0F 00 EE 9A 03 01 00 05 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has_in_a_row({"WIFI-RX-start start. channel:13; rate:266", "WIFI-RX-start end. return:0."}));
}

TEST_F(WifiRtx, Receive_AtomAbsentOrEmpty_IsNamed) {
  start_wifi();
  const std::pair<std::string, const char*> rows[] = {
      {rate("\x01"), "Rx get channel error"},
      {channel("") + rate("\x01"), "Rx get channel error"},
      {channel("\x01"), "Rx get rate error"},
      {channel("\x01") + rate(""), "Rx get rate error"},
  };
  for (const auto& [atoms, line] : rows) expect_refusal(operation(5) + atoms, ERR_FAIL, line);
}

TEST_F(WifiRtx, ReceiveStop_AfterAStart_StopsItsChannelAndAnswersTheCount) {
  start_wifi();
  app(187, operation(5) + channel("\x0D") + rate("\x0A"));
  to_app();
  g_hwt_fake.m_calls.clear();
  g_hwt_fake.m_count = 70000;
  EXPECT_EQ(pc(187, operation(6)), 0);
  EXPECT_EQ(app(187, operation(6)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_RxTest(0, 13, 0, set)", "hwt_RxTest(0, 13, 0, set)"));
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 26 00 00 00 02 00 00 00 1E 00 BB BC 18 00 EE 9A 03 01 00 06 EE 9E 01 04 00 70 11 01 00 "
            "EE 01 01 04 00 00 00 00 00 D0 81 77 77");
  EXPECT_EQ(to_app(), "1E 00 BB BC 18 00 EE 9A 03 01 00 06 EE 9E 01 04 00 70 11 01 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has_in_a_row({"WIFI-RX-stop start. channel:13", "WIFI-RX-stop end. return:0; cnt:70000."}));
}

TEST_F(WifiRtx, ReceiveStop_WithoutAStart_StopsChannelSix) {
  start_wifi();
  EXPECT_EQ(app(187, operation(6)), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_RxTest(0, 6, 0, set)"));
}

TEST_F(WifiRtx, Receive_LibraryFails_KeepsTheChannelOfTheLastStart) {
  start_wifi();
  g_hwt_fake.m_results = {{"hwt_RxTest(1, 13, 10, none)", -6}};
  const std::string atoms = operation(5) + channel("\x0D") + rate("\x0A");
  expect_failure_of_the_library(atoms, "WIFI-RX-start start. channel:13; rate:10", "WIFI-RX-start end. return:-6.",
                                "WIFI-RX-start error. call hwt_RxTest fail: -6");
  g_hwt_fake.m_calls.clear();
  app(187, operation(6));
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_RxTest(0, 6, 0, set)"));
}

TEST_F(WifiRtx, ReceiveStop_LibraryFails_SendsNothing) {
  start_wifi();
  g_hwt_fake.m_results = {{"hwt_RxTest(0, 6, 0, set)", -6}};
  expect_failure_of_the_library(operation(6), "WIFI-RX-stop start. channel:6", "WIFI-RX-stop end. return:-6; cnt:0.",
                                "WIFI-RX-stop error. call hwt_RxTest fail: -6");
}

TEST_F(WifiRtx, Tests_WifiNotRunning_AreRefused) {
  for (const char number : {3, 4, 5, 6}) {
    const std::string atoms = operation(number) + channel("\x01") + rate("\x01") + power("\x01");
    expect_refusal(atoms, ERR_FAIL, "WIFI is not running");
  }
}

TEST_F(WifiRtx, Operation_Unknown_IsRefusedAndNoted) {
  start_wifi();
  write_file(NOTES, "");
  EXPECT_EQ(pc(187, operation(7)), ERR_ARGUMENT);
  EXPECT_EQ(app(187, operation('\xFF')), ERR_ARGUMENT);
  EXPECT_TRUE(m_log.has("unknown operation: 7"));
  EXPECT_TRUE(m_log.has("unknown operation: 255"));
  EXPECT_THAT(log(), Contains(device_failure("amt_device_wifi_rtx_test", ERR_ARGUMENT)).Times(2));
  EXPECT_EQ(content_of(NOTES),
            "the cmd value received from pc is : 7\nthe subcmd is invalid\n"
            "the cmd value received from pc is : 255\nthe subcmd is invalid\n");
  EXPECT_TRUE(is_silent());
}

TEST_F(WifiRtx, Operation_Absent_IsZeroAndRefused) {
  expect_refusal("", ERR_ARGUMENT, "unknown operation: 0");
  expect_refusal(bytes_atom(154, ""), ERR_ARGUMENT, "unknown operation: 0");
}

TEST_F(WifiRtx, Operation_OfThreeHundredBytes_IsItsFirst) {
  EXPECT_EQ(app(187, bytes_atom(154, "\x01" + std::string(299, '\x07'))), 0);
  EXPECT_THAT(g_hwt_fake.m_calls, ElementsAre("hwt_wifiCtrl(1)"));
  EXPECT_EQ(to_app(), "15 00 BB BC 0F 00 EE 9A 03 01 00 01 EE 01 01 04 00 00 00 00 00");
}

// An atom that claims more bytes than the record has.
TEST_F(WifiRtx, Operation_BehindAnAtomThatLeavesTheRecord_IsAbsent) {
  expect_refusal("\xEE\x01\x03\xFF\xFF" + operation(1), ERR_ARGUMENT, "unknown operation: 0");
}

TEST_F(WifiRtx, Operation_Known_IsNoted) {
  app(187, operation(1));
  app(187, operation(2));
  EXPECT_EQ(content_of(NOTES), "the cmd value received from pc is : 1\nthe cmd value received from pc is : 2\n");
}

}  // namespace
