// Every radio command: what the station gets, which operations of the library run with which arguments, and the lines
// that report it.
#include <initializer_list>

#include "tests/unit/at-test.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/hwt-fake.h"

namespace {

using calls = std::vector<std::string>;

class DeviceControl : public at_test {
 protected:
  DeviceControl() { g_hwt_fake = {}; }
  // The line that names the field, after the error-trace line of the command's handler.
  void expect_missing_field(const char* function, const char* line) {
    const auto lines = m_log.texts();
    const auto at = std::find(lines.begin(), lines.end(), line);
    ASSERT_NE(at, lines.end()) << testing::PrintToString(lines);
    EXPECT_THAT(*(at - 1), failure_line("amt/amt-handle", function, -101));
  }
};

// A command whose calls all succeed.
struct success_row {
  const char* m_name;
  const char* m_command;
  const char* m_reply;
  calls m_calls;
  std::vector<std::string> m_log;
};

class DeviceControlSuccess : public DeviceControl, public testing::WithParamInterface<success_row> {};

TEST_P(DeviceControlSuccess, Command_CallsInOrderAndReplies) {
  const auto& row = GetParam();
  g_hwt_fake.m_svid = 12;
  g_hwt_fake.m_cnr = 38;
  g_hwt_fake.m_count = 977;
  EXPECT_EQ(send(row.m_command), row.m_reply);
  EXPECT_EQ(g_hwt_fake.m_calls, row.m_calls);
  EXPECT_TRUE(m_log.has("handle_amt_device_at()"));
  EXPECT_TRUE(m_log.has("received at command:" + std::string(row.m_command)));
  EXPECT_TRUE(m_log.has_in_a_row(row.m_log)) << testing::PrintToString(m_log.texts());
  EXPECT_FALSE(m_log.contains("error_code"));
  EXPECT_EQ(m_modem.received(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Each, DeviceControlSuccess,
    testing::Values(
        success_row{"CheckWifi",
                    "AT^DDEVCONNCHK=0\r",
                    OK,
                    {"hwt_wifiCheck()"},
                    {"handle_amt_device_conn_chk()", "received at command:AT^DDEVCONNCHK=0\r",
                     "handle_amt_get_at_para()", "getted parameter:0. prefix:AT^DDEVCONNCHK=; rtn:0.",
                     "wifi connectivity check start", "wifi connectivity check end. return:0."}},
        success_row{"CheckGps",
                    "AT^DDEVCONNCHK=1\r",
                    OK,
                    {"hwt_gpsCheck()"},
                    {"GPS connectivity check start", "GPS connectivity check end. return:0."}},
        success_row{"CheckBt",
                    "AT^DDEVCONNCHK=3\r",
                    OK,
                    {"hwt_btCheck()"},
                    {"BT hardware check start", "BT hardware check end. return:0."}},
        success_row{"BtStop",
                    "AT^DBTCTRL=0\r",
                    OK,
                    {"hwt_btCtrl(0)"},
                    {"getted parameter:0. prefix:AT^DBTCTRL=; rtn:0.", "BT-stop start", "BT-stop end. return:0."}},
        success_row{"BtStart",
                    "AT^DBTCTRL=1\r",
                    OK,
                    {"hwt_btCtrl(1)"},
                    {"getted parameter:1. prefix:AT^DBTCTRL=; rtn:0.", "BT-start start", "BT-start end. return:0."}},
        success_row{
            "BtWithoutNumber", "AT^DBTCTRL=\r", OK, {"hwt_btCtrl(0)"}, {"BT-stop start", "BT-stop end. return:0."}},
        success_row{"GpsStop",
                    "AT^DGPSCTRL=0\r",
                    OK,
                    {"hwt_gpsCtrl(0, 0, none, none)"},
                    {"handle_amt_device_gps_ctrl()", "received at command:AT^DGPSCTRL=0\r", "getted flag:0.",
                     "GPS-stop start", "GPS-stop end. return:0."}},
        success_row{"GpsRead",
                    "AT^DGPSCTRL=2,5\r",
                    "\r\n^DGPSCTRL: 12,38\r\n\r\nOK\r\n",
                    {"hwt_gpsCtrl(1, 0, none, none)", "hwt_gpsCtrl(2, 5, set, set)"},
                    {"getted flag:2.", "start gps firstly, GPS-start start", "GPS-start end. return:0.",
                     "GPS-READ-SIGNAL start. index:5", "GPS-READ-SIGNAL end. return:0; index:5; svid:12; cnr:38."}},
        success_row{"GpsReadEmptyFieldBetween",
                    "AT^DGPSCTRL=2,,5\r",
                    "\r\n^DGPSCTRL: 12,38\r\n\r\nOK\r\n",
                    {"hwt_gpsCtrl(1, 0, none, none)", "hwt_gpsCtrl(2, 5, set, set)"},
                    {"GPS-READ-SIGNAL start. index:5"}},
        success_row{"GpsReadLoneCarriageReturnIsIndexZero",
                    "AT^DGPSCTRL=2,\r",
                    "\r\n^DGPSCTRL: 12,38\r\n\r\nOK\r\n",
                    {"hwt_gpsCtrl(1, 0, none, none)", "hwt_gpsCtrl(2, 0, set, set)"},
                    {"GPS-READ-SIGNAL start. index:0"}},
        success_row{
            "TxStart",
            "AT^DWLTSD=1,11,54,-10\r",
            OK,
            {"hwt_wifiCtrl(1)", "hwt_TxTest(1, -10, 54, 11)"},
            {"handle_amt_device_wifi_tx_ctrl()", "received at command:AT^DWLTSD=1,11,54,-10\r", "getted control:1.",
             "start wifi firstly, WIFI-start start", "WIFI-start end. return:0.",
             "WIFI-TX-start start. channel:11; power:-10; rate:54(will multi 100)", "WIFI-TX-start end. return:0."}},
        success_row{"TxStartNumbersAreCutToTheirWidth",
                    "AT^DWLTSD=1,257,65537,40000\r",
                    OK,
                    {"hwt_wifiCtrl(1)", "hwt_TxTest(1, -25536, 1, 1)"},
                    {"WIFI-TX-start start. channel:1; power:-25536; rate:1(will multi 100)"}},
        success_row{"TxStop",
                    "AT^DWLTSD=0\r",
                    OK,
                    {"hwt_TxTest(0, 0, 0, 0)", "hwt_wifiCtrl(0)"},
                    {"getted control:0.", "WIFI-TX-stop start. ", "WIFI-TX-stop end. return:0.",
                     "then will stop wifi, WIFI-stop start", "WIFI-stop end. return:0."}},
        success_row{"TxLoneCarriageReturnStops",
                    "AT^DWLTSD=\r",
                    OK,
                    {"hwt_TxTest(0, 0, 0, 0)", "hwt_wifiCtrl(0)"},
                    {"getted control:0.", "WIFI-TX-stop start. "}},
        success_row{"RxStart",
                    "AT^DWLTRD=1,6,11\r",
                    OK,
                    {"hwt_wifiCtrl(1)", "hwt_RxTest(1, 6, 11, none)"},
                    {"handle_amt_device_wifi_rx_ctrl()", "received at command:AT^DWLTRD=1,6,11\r", "getted control:1.",
                     "start wifi firstly, WIFI-start start", "WIFI-start end. return:0.",
                     "WIFI-RX-start start. channel:6; rate:11(will multi 100)", "WIFI-RX-start end. return:0."}},
        success_row{"RxStopWithoutStartStopsChannelSix",
                    "AT^DWLTRD=0\r",
                    OK,
                    {"hwt_RxTest(0, 6, 0, set)", "hwt_wifiCtrl(0)"},
                    {"getted control:0.", "WIFI-RX-stop start. channel:6", "WIFI-RX-stop end. return:0; cnt:977.",
                     "then will stop wifi, WIFI-stop start", "WIFI-stop end. return:0."}}),
    [](const auto& row) { return row.param.m_name; });

// A library call that fails.
struct failure_row {
  const char* m_name;
  const char* m_command;
  const char* m_failing_call;
  calls m_calls;
  const char* m_function;
  const char* m_text;
};

class DeviceControlFailure : public DeviceControl, public testing::WithParamInterface<failure_row> {};

TEST_P(DeviceControlFailure, Call_EndsTheSequenceWithError) {
  const auto& row = GetParam();
  g_hwt_fake.m_results[row.m_failing_call] = -7;
  EXPECT_EQ(send(row.m_command), ERROR);
  EXPECT_EQ(g_hwt_fake.m_calls, row.m_calls);
  const auto lines = m_log.texts();
  const auto at = std::find(lines.begin(), lines.end(), row.m_text);
  ASSERT_NE(at, lines.end()) << testing::PrintToString(lines);
  EXPECT_THAT(*(at - 1), failure_line("amt/amt-handle", row.m_function, -100));
  EXPECT_THAT(*(at - 2), testing::HasSubstr(" end. return:-7"));
}

constexpr char CHECK[] = "handle_amt_device_conn_chk";
constexpr char BT[] = "handle_amt_device_bt_ctrl";
constexpr char GPS[] = "handle_amt_device_gps_ctrl";
constexpr char TX[] = "handle_amt_device_wifi_tx_ctrl";
constexpr char RX[] = "handle_amt_device_wifi_rx_ctrl";

INSTANTIATE_TEST_SUITE_P(Each, DeviceControlFailure,
                         testing::Values(failure_row{"CheckWifi",
                                                     "AT^DDEVCONNCHK=0\r",
                                                     "hwt_wifiCheck()",
                                                     {"hwt_wifiCheck()"},
                                                     CHECK,
                                                     "wifi connectivity check error. call hwt_btCtrl fail: -7"},
                                         failure_row{"CheckGps",
                                                     "AT^DDEVCONNCHK=1\r",
                                                     "hwt_gpsCheck()",
                                                     {"hwt_gpsCheck()"},
                                                     CHECK,
                                                     "GPS connectivity check error. call hwt_gpsCheck fail: -7"},
                                         failure_row{"CheckBt",
                                                     "AT^DDEVCONNCHK=3\r",
                                                     "hwt_btCheck()",
                                                     {"hwt_btCheck()"},
                                                     CHECK,
                                                     "BT hardware check error. call hwt_btCheck fail: -7"},
                                         failure_row{"BtStop",
                                                     "AT^DBTCTRL=0\r",
                                                     "hwt_btCtrl(0)",
                                                     {"hwt_btCtrl(0)"},
                                                     BT,
                                                     "BT-stop error. call hwt_btCtrl fail: -7"},
                                         failure_row{"BtStart",
                                                     "AT^DBTCTRL=1\r",
                                                     "hwt_btCtrl(1)",
                                                     {"hwt_btCtrl(1)"},
                                                     BT,
                                                     "BT-start error. call hwt_btCtrl fail: -7"},
                                         failure_row{"GpsStop",
                                                     "AT^DGPSCTRL=0\r",
                                                     "hwt_gpsCtrl(0, 0, none, none)",
                                                     {"hwt_gpsCtrl(0, 0, none, none)"},
                                                     GPS,
                                                     "GPS-stop error. call hwt_gpsCtrl fail: -7"},
                                         failure_row{"GpsStart",
                                                     "AT^DGPSCTRL=2,5\r",
                                                     "hwt_gpsCtrl(1, 0, none, none)",
                                                     {"hwt_gpsCtrl(1, 0, none, none)"},
                                                     GPS,
                                                     "GPS-start error. call hwt_gpsCtrl fail: -7"},
                                         failure_row{"GpsRead",
                                                     "AT^DGPSCTRL=2,5\r",
                                                     "hwt_gpsCtrl(2, 5, set, set)",
                                                     {"hwt_gpsCtrl(1, 0, none, none)", "hwt_gpsCtrl(2, 5, set, set)"},
                                                     GPS,
                                                     "GPS-READ-SIGNAL error. call hwt_gpsCtrl fail: -7"},
                                         failure_row{"TxWifiStart",
                                                     "AT^DWLTSD=1,1,2,3\r",
                                                     "hwt_wifiCtrl(1)",
                                                     {"hwt_wifiCtrl(1)"},
                                                     TX,
                                                     "WIFI-start error. call hwt_wifiCtrl fail: -7"},
                                         failure_row{"TxStart",
                                                     "AT^DWLTSD=1,1,2,3\r",
                                                     "hwt_TxTest(1, 3, 2, 1)",
                                                     {"hwt_wifiCtrl(1)", "hwt_TxTest(1, 3, 2, 1)"},
                                                     TX,
                                                     "WIFI-TX-start error. call hwt_TxTest fail: -7"},
                                         failure_row{"TxStop",
                                                     "AT^DWLTSD=0\r",
                                                     "hwt_TxTest(0, 0, 0, 0)",
                                                     {"hwt_TxTest(0, 0, 0, 0)"},
                                                     TX,
                                                     "WIFI-TX-stop error. call hwt_TxTest fail: -7"},
                                         failure_row{"TxWifiStop",
                                                     "AT^DWLTSD=0\r",
                                                     "hwt_wifiCtrl(0)",
                                                     {"hwt_TxTest(0, 0, 0, 0)", "hwt_wifiCtrl(0)"},
                                                     TX,
                                                     "WIFI-stop error. call hwt_wifiCtrl fail: -7"},
                                         failure_row{"RxWifiStart",
                                                     "AT^DWLTRD=1,1,2\r",
                                                     "hwt_wifiCtrl(1)",
                                                     {"hwt_wifiCtrl(1)"},
                                                     RX,
                                                     "WIFI-start error. call hwt_wifiCtrl fail: -7"},
                                         failure_row{"RxStart",
                                                     "AT^DWLTRD=1,9,2\r",
                                                     "hwt_RxTest(1, 9, 2, none)",
                                                     {"hwt_wifiCtrl(1)", "hwt_RxTest(1, 9, 2, none)"},
                                                     RX,
                                                     "WIFI-RX-start error. call hwt_RxTest fail: -7"},
                                         failure_row{"RxStop",
                                                     "AT^DWLTRD=0\r",
                                                     "hwt_RxTest(0, 6, 0, set)",
                                                     {"hwt_RxTest(0, 6, 0, set)"},
                                                     RX,
                                                     "WIFI-RX-stop error. call hwt_RxTest fail: -7"},
                                         failure_row{"RxWifiStop",
                                                     "AT^DWLTRD=0\r",
                                                     "hwt_wifiCtrl(0)",
                                                     {"hwt_RxTest(0, 6, 0, set)", "hwt_wifiCtrl(0)"},
                                                     RX,
                                                     "WIFI-stop error. call hwt_wifiCtrl fail: -7"}),
                         [](const auto& row) { return row.param.m_name; });

// A command that the service understands but refuses: the calls that ran before it saw that.
struct refused_row {
  const char* m_name;
  const char* m_command;
  calls m_calls;
  const char* m_line;                // the line with the reason; empty: there is none
  const char* m_function = nullptr;  // whose error-trace line stands in front of it, if one does
};

class DeviceControlRefused : public DeviceControl, public testing::WithParamInterface<refused_row> {};

TEST_P(DeviceControlRefused, Command_IsAnsweredError) {
  const auto& row = GetParam();
  EXPECT_EQ(send(row.m_command), ERROR);
  EXPECT_EQ(g_hwt_fake.m_calls, row.m_calls);
  if (*row.m_line != '\0') {
    EXPECT_TRUE(m_log.has(row.m_line));
  }
  if (row.m_function != nullptr) {
    expect_missing_field(row.m_function, row.m_line);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Each, DeviceControlRefused,
    testing::Values(refused_row{"CheckTwo", "AT^DDEVCONNCHK=2\r", {}, ""},
                    refused_row{"CheckMinusOne", "AT^DDEVCONNCHK=-1\r", {}, ""},
                    refused_row{"BtTwo", "AT^DBTCTRL=2\r", {}, ""},
                    refused_row{"GpsOne", "AT^DGPSCTRL=1\r", {}, "getted flag:1."},
                    refused_row{"GpsThree", "AT^DGPSCTRL=3,1\r", {}, "getted flag:3."},
                    refused_row{
                        "GpsWithoutIndex", "AT^DGPSCTRL=2", {"hwt_gpsCtrl(1, 0, none, none)"}, "index is null!!!", GPS},
                    refused_row{"TxTwo", "AT^DWLTSD=2\r", {}, "getted control:2."},
                    refused_row{"TxWithoutChannel", "AT^DWLTSD=1", {"hwt_wifiCtrl(1)"}, "channel is null!!!", TX},
                    refused_row{"TxWithoutRate", "AT^DWLTSD=1,2", {"hwt_wifiCtrl(1)"}, "rate is null!!!", TX},
                    refused_row{"TxWithoutPower", "AT^DWLTSD=1,2,3", {"hwt_wifiCtrl(1)"}, "power is null!!!", TX},
                    refused_row{"RxTwo", "AT^DWLTRD=2\r", {}, "getted control:2."},
                    refused_row{"RxWithoutChannel", "AT^DWLTRD=1", {"hwt_wifiCtrl(1)"}, "channel is null!!!", RX},
                    refused_row{"RxWithoutRate", "AT^DWLTRD=1,6", {"hwt_wifiCtrl(1)"}, "rate is null!!!", RX}),
    [](const auto& row) { return row.param.m_name; });

struct generic_row {
  const char* m_name;
  const char* m_command;
  const char* m_line;
  const char* m_function;
};

class DeviceControlGeneric : public DeviceControl, public testing::WithParamInterface<generic_row> {};

TEST_P(DeviceControlGeneric, NoFirstField_IsAnsweredByTheErrorFrame) {
  const auto& row = GetParam();
  EXPECT_EQ(send_for_hex(row.m_command), ERROR_FRAME);
  expect_missing_field(row.m_function, row.m_line);
  EXPECT_TRUE(g_hwt_fake.m_calls.empty());
  EXPECT_EQ(m_modem.received(), "");
}

INSTANTIATE_TEST_SUITE_P(Each, DeviceControlGeneric,
                         testing::Values(generic_row{"Gps", "AT^DGPSCTRL=", "flag is null!!!", GPS},
                                         generic_row{"GpsCommasOnly", "AT^DGPSCTRL=,,,", "flag is null!!!", GPS},
                                         generic_row{"Tx", "AT^DWLTSD=", "control is null!!!", TX},
                                         generic_row{"Rx", "AT^DWLTRD=", "control is null!!!", RX}),
                         [](const auto& row) { return row.param.m_name; });

TEST_F(DeviceControl, RxStopAfterStart_StopsTheStartedChannel) {
  send("AT^DWLTRD=1,9,11\r");
  send("AT^DWLTRD=0\r");
  EXPECT_EQ(g_hwt_fake.m_calls.at(2), "hwt_RxTest(0, 9, 0, set)");
  send("AT^DWLTRD=1,6,11\r");  // what it was before
}

TEST_F(DeviceControl, RxStartThatFails_LeavesTheChannelToStop) {
  g_hwt_fake.m_results["hwt_RxTest(1, 9, 11, none)"] = 1;
  EXPECT_EQ(send("AT^DWLTRD=1,9,11\r"), ERROR);
  send("AT^DWLTRD=0\r");
  EXPECT_EQ(g_hwt_fake.m_calls.at(2), "hwt_RxTest(0, 6, 0, set)");
}

TEST_F(DeviceControl, ValuesThatTheLibraryDoesNotStore_AreZero) {
  g_hwt_fake.m_svid = 12;
  g_hwt_fake.m_cnr = 38;
  send("AT^DGPSCTRL=2,5\r");
  g_hwt_fake = {};
  EXPECT_EQ(send("AT^DGPSCTRL=2,6\r"), "\r\n^DGPSCTRL: 0,0\r\n\r\nOK\r\n");
}

TEST_F(DeviceControl, SeveralCommandsInOneText_FirstOfTheListRuns) {
  EXPECT_EQ(send("AT^DWLTRD=0;AT^DBTCTRL=1\r"), OK);
  EXPECT_EQ(g_hwt_fake.m_calls, calls{"hwt_btCtrl(1)"});
}

TEST_F(DeviceControl, FourThousandDigits_AreOneLargeNumber) {
  EXPECT_EQ(send("AT^DGPSCTRL=2," + std::string(4000, '9')), "\r\n^DGPSCTRL: 0,0\r\n\r\nOK\r\n");
  EXPECT_EQ(g_hwt_fake.m_calls.at(1), "hwt_gpsCtrl(2, -1, set, set)");  // as atoi of it gives here
}

TEST_F(DeviceControl, CommandWithoutEqualsSign_GoesToTheModem) {
  EXPECT_TRUE(is_passed_on("AT^DBTCTRL?\r"));
  EXPECT_TRUE(g_hwt_fake.m_calls.empty());
}

}  // namespace
