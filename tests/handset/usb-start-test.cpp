// The start on USB insertion (-u): admission, handshake, and every way it can end. For each the exit status, the
// property by which the system decides whether the next insertion may enter factory test, and the line with the reason.
#include <poll.h>

#include "handset/hardware/screenshot.h"
#include "tests/handset/serial-phone.h"

using namespace handset_test;

namespace {

constexpr char PROPERTY[] = "sys.vx.amt.failure.handshake";
constexpr char FLAG_FILE[] = "/amt/power_usb_amt.txt";
constexpr char USB_STATE_FILE[] = "/sys/class/android_usb/android0/state";
const std::string NOT_PERMITTED = "1";
const std::string PERMITTED = "2";

handset::phone_options usb_start() {
  auto options = raw_modem();
  options.mode = handset::run_mode::usb;
  options.files[USB_STATE_FILE] = "CONNECTED\n";
  return options;
}

handset::phone_options usb_start_configured() {
  auto options = usb_start();
  options.files[USB_STATE_FILE] = "CONFIGURED\n";
  return options;
}

void expect_end(handset::phone& phone, const std::string& property, std::chrono::milliseconds within = 60s) {
  const auto status = phone.wait_exit(within);
  ASSERT_TRUE(status.has_value()) << phone.log().text();
  EXPECT_EQ(*status, handset::exited(0)) << phone.log().text();
  EXPECT_EQ(phone.log().count("amt_handle_deinit()"), 1u);
  EXPECT_EQ(phone.property(PROPERTY), property);
  EXPECT_EQ(phone.log().count("set property(sys.vx.amt.failure.handshake) to " + property + "."), 1u)
      << phone.log().text();
  EXPECT_EQ(phone.log().count("set property("), 1u);
  EXPECT_EQ(phone.log().count("FATAL ERROR!!!"), 0u);
}

// The modem sends first; its bytes reach the PC.
void forward_modem_output(handset::phone& phone) {
  ASSERT_TRUE(phone.modem_end().write_all("\r\n+CREG: 1\r\n"));
  ASSERT_EQ(phone.pc().read_exactly(12), "\r\n+CREG: 1\r\n");
}

void complete_handshake(handset::phone& phone) {
  forward_modem_output(phone);
  ASSERT_TRUE(phone.wait_log("setTimer success"));
  ASSERT_TRUE(phone.wait_log(", timeMSec:5000. "));
  ASSERT_TRUE(phone.pc().write_all("AT+HELLO\r"));
  ASSERT_EQ(phone.modem_end().read_exactly(9), "AT+HELLO\r");
  ASSERT_TRUE(phone.wait_log(" handshake success."));
}

// The PC answers the instant its first byte comes, before the service has come back from the write.
TEST(UsbHandshake, PcThatAnswersAtOnce_IsCounted) {
  for (int round = 0; round < 30; ++round) {
    handset::phone phone(usb_start_configured());
    start_serving(phone);
    std::thread pc([&phone] {
      pollfd wanted = {phone.pc().fd(), POLLIN, 0};
      EXPECT_EQ(poll(&wanted, 1, 20'000), 1);
      EXPECT_EQ(write(phone.pc().fd(), "AT+HELLO\r", 9), 9);
    });
    EXPECT_TRUE(phone.modem_end().write_all("\r\n+CREG: 1\r\n"));
    pc.join();
    ASSERT_TRUE(phone.wait_log(" handshake success.")) << "round " << round;
    phone.send_signal(SIGTERM);
    EXPECT_EQ(phone.wait_exit(), handset::exited(0)) << phone.log().text();
  }
}

TEST(UsbAdmission, AcCharger_IsRefusedAtOnce) {
  auto options = usb_start();
  options.files["/data/board/control"] = "IsChargeState = 1\n";
  options.files[FLAG_FILE] = "1";
  handset::phone phone(options);
  phone.start();
  expect_end(phone, NOT_PERMITTED, 5s);
  EXPECT_EQ(phone.log().count("power-supply is ac, do not enter amt by handshake. will exit"), 1u);
  EXPECT_EQ(phone.log().count("receive signal: 15 - SIGTERM"), 1u);
  EXPECT_EQ(phone.log().count("amt_make_folder"), 0u);
}

TEST(UsbAdmission, NoValidMode_IsTriedTwentyTimesAndTreatedAsAcCharger) {
  auto options = usb_start();
  options.files["/data/board/control"] = "IsChargeState = 0\n";
  handset::phone phone(options);
  phone.start();
  expect_end(phone, NOT_PERMITTED);
  EXPECT_EQ(phone.log().count("after amt_get_charge_mode. return:0, mode:0."), 20u);
  EXPECT_EQ(phone.log().count("will recall get function. return:0, mode:0."), 20u);
  EXPECT_EQ(
      phone.log().count("through (20) time's try. do not get valid mode, will exit as ac charge. return:0, mode:0."),
      1u);
  EXPECT_EQ(phone.log().count("power-supply is ac"), 1u);
}

TEST(UsbAdmission, BoardLibraryMissing_IsTreatedAsAcCharger) {
  auto options = usb_start();
  options.board = handset::board_library::absent;
  handset::phone phone(options);
  phone.start();
  expect_end(phone, NOT_PERMITTED);
  EXPECT_EQ(phone.log().count("after amt_get_charge_mode. return:-118, mode:0."), 20u);
  EXPECT_EQ(phone.log().count("amt.vx5210.misc.so: cannot open shared object file"), 20u);
}

TEST(UsbAdmission, BoardLibraryWithoutTheSymbol_IsTreatedAsAcCharger) {
  auto options = usb_start();
  options.board = handset::board_library::empty;
  handset::phone phone(options);
  phone.start();
  expect_end(phone, NOT_PERMITTED);
  EXPECT_EQ(phone.log().count("undefined symbol: IsChargeState"), 20u);
}

TEST(UsbAdmission, ModeBecomesValidLate_IsAdmitted) {
  auto options = usb_start_configured();
  options.files["/data/board/control"] = "IsChargeState = 7\n";
  handset::phone phone(options);
  phone.start();
  ASSERT_TRUE(phone.log().wait_count("after amt_get_charge_mode. return:0, mode:7.", 2));
  phone.write_file("/data/board/control", "IsChargeState = 2\n");
  wait_serving(phone);
  EXPECT_EQ(phone.log().count("will treat handshake."), 1u);
  EXPECT_EQ(phone.log().count("permit to enter amt by handshake."), 1u);
  phone.send_signal(SIGTERM);
  expect_end(phone, PERMITTED);
}

TEST(UsbAdmission, FlagForbids_IsRefused) {
  auto options = usb_start();
  options.files[FLAG_FILE] = "0";
  handset::phone phone(options);
  phone.start();
  expect_end(phone, NOT_PERMITTED, 5s);
  EXPECT_EQ(phone.log().count("do not permit to enter amt by handshake. will exit"), 1u);
}

struct flag_st {
  const char* m_name;
  std::string m_content;
  bool m_is_permitted;
};

class UsbFlagFile : public ::testing::TestWithParam<flag_st> {};

TEST_P(UsbFlagFile, Content_Decides) {
  auto options = usb_start();
  options.files[FLAG_FILE] = GetParam().m_content;
  handset::phone phone(options);
  phone.start();
  if (GetParam().m_is_permitted) {
    wait_serving(phone);
    phone.send_signal(SIGTERM);
  }
  expect_end(phone, GetParam().m_is_permitted ? PERMITTED : NOT_PERMITTED);
}

INSTANTIATE_TEST_SUITE_P(Contents, UsbFlagFile,
                         ::testing::Values(flag_st{"One", "1", true}, flag_st{"Ten", "10", true},
                                           flag_st{"ZeroOne", "01\n", true}, flag_st{"Letter", "x", false},
                                           flag_st{"Empty", "", true}, flag_st{"LineEndOnly", "\n", false},
                                           flag_st{"TenKilobytes", std::string(10240, '0'), false},
                                           flag_st{"Negative", "-1", true}),
                         [](const auto& content) { return content.param.m_name; });

TEST(UsbAdmission, FlagFileIsAFolder_IsAdmitted) {
  auto options = usb_start();
  options.files[std::string(FLAG_FILE) + "/x"] = "";
  handset::phone phone(options);
  phone.start();
  wait_serving(phone);
  phone.send_signal(SIGTERM);
  expect_end(phone, PERMITTED);
  EXPECT_GE(phone.log().count("read fail: 21 - Is a directory"), 2u);
}

TEST(UsbAdmission, SigTermBetweenTwoTries_EndsAndReports) {
  auto options = usb_start();
  options.files["/data/board/control"] = "IsChargeState = 0\n";
  handset::phone phone(options);
  phone.start();
  ASSERT_TRUE(phone.log().wait_count("will recall get function", 2));
  phone.send_signal(SIGTERM);
  expect_end(phone, PERMITTED);
}

TEST(UsbHandshake, NoEnumerationInTwentySeconds_Ends) {
  handset::phone phone(usb_start());
  phone.start();
  wait_serving(phone);
  expect_end(phone, PERMITTED);
  EXPECT_EQ(phone.log().count("usb enum timeout. time:20 seconds."), 1u);
  EXPECT_EQ(phone.log().count(", timeMSec:20000. "), 1u);
}

TEST(UsbHandshake, PcSilentForFiveSeconds_Ends) {
  handset::phone phone(usb_start_configured());
  phone.start();
  wait_serving(phone);
  forward_modem_output(phone);
  expect_end(phone, PERMITTED);
  EXPECT_EQ(phone.log().count("will create timer."), 1u);
  EXPECT_EQ(phone.log().count("timeout. time:5 seconds."), 1u);
  EXPECT_EQ(phone.log().count("usb enum timeout"), 0u);
}

TEST(UsbHandshake, PcAnswersModemOutput_SucceedsAndGoesOn) {
  handset::phone phone(usb_start_configured());
  phone.start();
  wait_serving(phone);
  complete_handshake(phone);
  EXPECT_TRUE(phone.wait_log("call amt_usb_charge_ctrl. return:0, current amt mode:1, usb_charge_mode:0."));
  // More modem output does not arm the timer again, and more PC data does not complete the handshake again.
  forward_modem_output(phone);
  ASSERT_TRUE(phone.pc().write_all("AT+MORE\r"));
  ASSERT_EQ(phone.modem_end().read_exactly(8), "AT+MORE\r");
  EXPECT_EQ(phone.log().count("will create timer."), 1u);
  EXPECT_EQ(phone.log().count(" handshake success."), 1u);
  phone.send_signal(SIGTERM);
  expect_end(phone, PERMITTED);
}

TEST(UsbHandshake, AfterTheProbe_ChargesFromUsb) {
  handset::phone phone(usb_start_configured());
  phone.start();
  wait_serving(phone);
  ASSERT_TRUE(phone.pc().write_all("AT\r"));
  ASSERT_EQ(phone.modem_end().read_exactly(11), "AT;^DLKS=1\r");
  complete_handshake(phone);
  EXPECT_TRUE(phone.wait_log("call amt_usb_charge_ctrl. return:0, current amt mode:4, usb_charge_mode:1."));
  EXPECT_TRUE(phone.read_file("/data/board/calls")
                  ->ends_with("amt_usb_charger_enable(1) = 0\namt_usb_charger_enable(1) = 0\n"));
}

TEST(UsbHandshake, PcSpeaksBeforeTheModem_StopsEnumerationTimerOnly) {
  handset::phone phone(usb_start());
  phone.start();
  wait_serving(phone);
  ASSERT_TRUE(phone.pc().write_all("AT+EARLY\r"));
  ASSERT_EQ(phone.modem_end().read_exactly(9), "AT+EARLY\r");
  EXPECT_TRUE(phone.wait_log("delete timer.timerId:"));
  EXPECT_EQ(phone.log().count(" handshake success."), 0u);
  complete_handshake(phone);
}

TEST(UsbHandshake, ModemOutputWhileUsbIsNotConfigured_ArmsNoTimer) {
  handset::phone phone(usb_start());
  phone.start();
  wait_serving(phone);
  forward_modem_output(phone);
  ASSERT_TRUE(phone.wait_log("readed success from file(/sys/class/android_usb/android0/state). value: CONNECTED"));
  ASSERT_TRUE(phone.log().wait_count("read_modem_loop, read ready", 2));
  EXPECT_EQ(phone.log().count("will create timer."), 0u);
  // Once it is configured, the next output arms it.
  phone.write_file(USB_STATE_FILE, "CONFIGURED\n");
  complete_handshake(phone);
}

TEST(UsbHandshake, ConfiguredEvent_StopsEnumerationTimer) {
  handset::phone phone(usb_start());
  phone.start();
  wait_serving(phone);
  phone.uevent({"change@/devices/virtual/android_usb/android0", "USB_STATE=CONFIGURED"});
  ASSERT_TRUE(phone.wait_log("get usb CONFIGURED event"));
  ASSERT_TRUE(phone.wait_log("delete timer.timerId:"));
  // Without the timer the service outlives its 20 seconds.
  EXPECT_FALSE(phone.wait_exit(22s).has_value());
  complete_handshake(phone);
}

TEST(UsbHandshake, CablePulled_ServiceStaysUp) {
  handset::phone phone(usb_start_configured());
  phone.start();
  wait_serving(phone);
  complete_handshake(phone);
  phone.uevent({"change@/devices/virtual/android_usb/android0", "USB_STATE=DISCONNECTED"});
  ASSERT_TRUE(phone.wait_log("get usb disconnect event"));
  ASSERT_TRUE(phone.pc().write_all("AT+STILL\r"));
  EXPECT_EQ(phone.modem_end().read_exactly(9), "AT+STILL\r");
  EXPECT_EQ(phone.log().count("will exit amt service"), 0u);
  phone.send_signal(SIGTERM);
  expect_end(phone, PERMITTED);
}

TEST(UsbHandshake, PcTtyGone_EndsAndReports) {
  handset::phone phone(usb_start_configured());
  phone.start();
  wait_serving(phone);
  complete_handshake(phone);
  phone.unplug_pc();
  expect_end(phone, PERMITTED);
}

TEST(UsbHandshake, SigTermInEachState_EndsAndReportsOnce) {
  for (const bool is_armed : {false, true}) {
    handset::phone phone(usb_start_configured());
    phone.start();
    wait_serving(phone);
    if (is_armed) {
      forward_modem_output(phone);
      ASSERT_TRUE(phone.wait_log(", timeMSec:5000. "));
    }
    phone.send_signal(SIGTERM);
    expect_end(phone, PERMITTED);
  }
}

TEST(UsbHandshake, Paths_AreTheSystems) {
  handset::phone phone(usb_start_configured());
  phone.start();
  wait_serving(phone);
  EXPECT_TRUE(
      phone.out().text().starts_with("g_usb_activate:1.\n"
                                     "[vx-kro-amt]config file is \"/system/etc/vx-kro-amt.cfg\"\n"
                                     "            pid file is \"/tmp/vx-kro-amt.pid\"\n"))
      << phone.out().text();
  EXPECT_EQ(phone.log().count("run under simplified mode(only with kernel)"), 1u);
}

TEST(UsbFlag, WrittenByThePc_DecidesTheNextStartAndTheReport) {
  handset::phone phone(usb_start_configured());
  phone.start();
  wait_serving(phone);
  complete_handshake(phone);
  ASSERT_TRUE(phone.pc().write_all("AT^DAMT1=0\r"));
  EXPECT_EQ(phone.pc().read_exactly(6), "\r\nOK\r\n");
  EXPECT_EQ(phone.read_file(FLAG_FILE), "0");
  EXPECT_EQ(phone.sync_count(), 2u);
  phone.send_signal(SIGTERM);
  expect_end(phone, NOT_PERMITTED);
  phone.start();
  const auto status = phone.wait_exit();
  ASSERT_TRUE(status.has_value());
  EXPECT_EQ(*status, handset::exited(0));
  EXPECT_EQ(phone.log().count("do not permit to enter amt by handshake. will exit"), 1u);
}

TEST(UsbFlag, ForbiddenByFrame_IsAnsweredOk) {
  handset::phone phone(usb_start_configured());
  phone.start();
  wait_serving(phone);
  ASSERT_TRUE(phone.pc().write_all(from_hex("AABBCCDD 0E000000 02000000 0600 BB DB 0000 00000000")));
  const auto answer = phone.pc().read_exactly(16 + 31);
  EXPECT_EQ(to_hex(answer.substr(0, 43)),
            to_hex(PRE_RESPONSE + from_hex("AABBCCDD 17000000 02000000 0F00 BB DC 0900 EE 01 01 0400 00000000")));
  EXPECT_EQ(phone.read_file(FLAG_FILE), "0");
}

// White pixels of a picture, and whether one lies outside the banner's place in the middle.
struct whiteness_st {
  std::size_t m_count = 0;
  bool m_is_outside = false;
};

whiteness_st whiteness(const handset::picture& picture) {
  whiteness_st result;
  const std::size_t left = (picture.width - 346) / 2;
  const std::size_t top = (picture.height - 390) / 2;
  for (std::size_t y = 0; y < picture.height; ++y) {
    for (std::size_t x = 0; x < picture.width; ++x) {
      if (picture.rgb[3 * (y * picture.width + x)] < 128) continue;
      ++result.m_count;
      if (x < left || x >= left + 346 || y < top || y >= top + 390) result.m_is_outside = true;
    }
  }
  return result;
}

class UsbBanner : public ::testing::TestWithParam<handset::screen_size> {};

TEST_P(UsbBanner, AfterTheHandshake_IsShownInTheMiddle) {
  auto options = usb_start_configured();
  options.screen = GetParam();
  handset::phone phone(options);
  phone.start();
  wait_serving(phone);
  complete_handshake(phone);
  EXPECT_EQ(whiteness(handset::look_at_screen(phone.devices())).m_count, 0u);  // it comes 3 s later
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  while (whiteness(handset::look_at_screen(phone.devices())).m_count == 0) {
    ASSERT_LT(std::chrono::steady_clock::now(), deadline) << phone.log().text();
  }
  phone.send_signal(SIGTERM);
  expect_end(phone, PERMITTED);
  const auto shown = whiteness(handset::look_at_screen(phone.devices()));
  EXPECT_GT(shown.m_count, 10000u);
  EXPECT_FALSE(shown.m_is_outside);
}

INSTANTIATE_TEST_SUITE_P(Screens, UsbBanner,
                         ::testing::Values(handset::screen_size{720, 1280, {}}, handset::screen_size{480, 800, {}}),
                         [](const auto& screen) { return "wide" + std::to_string(screen.param.width); });

TEST(UsbHandshake, NoFramebuffer_SucceedsWithoutBanner) {
  auto options = usb_start_configured();
  options.screen.reset();
  handset::phone phone(options);
  phone.start();
  wait_serving(phone);
  complete_handshake(phone);
  EXPECT_TRUE(phone.wait_log("screen_init return error, not update screen."));
  EXPECT_EQ(phone.log().count("fb open failed!"), 1u);
  ASSERT_TRUE(phone.pc().write_all("AT+STILL\r"));
  EXPECT_EQ(phone.modem_end().read_exactly(9), "AT+STILL\r");
}

TEST(BootDownload, TextAndFrame_AnswerTheBoardsFlag) {
  auto options = usb_start_configured();
  options.files["/data/board/control"] = "amt_check_system_sanity = 0\n";
  handset::phone phone(options);
  phone.start();
  wait_serving(phone);
  ASSERT_TRUE(phone.pc().write_all("AT^DBOOTDLFIN?\r"));
  EXPECT_EQ(phone.pc().read_until("OK\r\n"), "\r\n^DBOOTDLFIN: 0\r\n\r\nOK\r\n");
  ASSERT_TRUE(phone.pc().write_all(from_hex("AABBCCDD 0E000000 02000000 0600 BB F4 0000 00000000")));
  const auto answer = phone.pc().read_exactly(16 + 40);
  EXPECT_EQ(to_hex(answer.substr(0, 52)),
            to_hex(PRE_RESPONSE + from_hex("AABBCCDD 20000000 02000000 1800 BB F5 1200 EE CC 01 0400 00000000"
                                           "EE 01 01 0400 00000000")));
}

TEST(BootDownload, BoardLibraryMissing_IsAnError) {
  auto options = raw_modem();
  options.board = handset::board_library::absent;
  handset::phone phone(options);
  start_serving(phone);
  ASSERT_TRUE(phone.pc().write_all("AT^DBOOTDLFIN"));
  EXPECT_EQ(phone.pc().read_until("ERROR\r\n"), "\r\nERROR\r\n");
  EXPECT_TRUE(phone.wait_log("amt_modem_boot_dl_fin_read finished. flag:0; ret_val:-118."));
}

}  // namespace
