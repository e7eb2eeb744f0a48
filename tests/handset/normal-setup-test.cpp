// The platform set-up: the APP link and the modem's AT link come up, or the modem is missed.
#include <gmock/gmock.h>

#include "handset/hardware/devices.h"
#include "tests/handset/app-phone.h"

using namespace handset_test;

namespace {

constexpr std::string_view NO_MODEM = "WARNING !";
constexpr std::string_view NOT_OPENED = "The AT device is not opened with modem.";

// Without a modem a request for the modem fails; others are served.
void expect_no_modem(handset::phone& phone) {
  EXPECT_EQ(phone.log().count(NOT_OPENED), 1u);
  const auto warnings = phone.log().count(NO_MODEM);
  unsigned refused = 0;
  for (const unsigned id : {7u, 13u, 45u, 65u, 85u, 89u, 91u, 99u, 195u, 197u, 219u, 232u, 234u}) {
    SCOPED_TRACE(id);
    expect_answer(phone, frame(id, ""), result_frame(id + 1, "01000000"));
    expect_log(phone, "no CP.", ++refused);
  }
  EXPECT_EQ(phone.log().count(NO_MODEM), warnings + refused);
  EXPECT_EQ(phone.property("amt.normal.amt.switch_status"), std::nullopt);
  expect_answer(phone, frame(230, "EE 27 01 0400 01000000  EE 24 01 0400 01000000"), result_frame(231, "00000000"));
}

TEST(Platform, WithModem_ServesTheApplication) {
  handset::phone phone(platform());
  start_app_serving(phone);
  EXPECT_EQ(phone.simulated_modem().received(handset::modem_link::at).text(), LINK_STATUS_OFF);
  expect_answer(phone, frame(7, ""), frame(8, "EE 15 02 0000  EE 01 01 0400 00000000"));
  EXPECT_EQ(phone.log().count(NOT_OPENED), 0u);
  EXPECT_EQ(phone.log().count("register command id: "), 119u);
  EXPECT_EQ(phone.log().count("property-amt.normal.amt.switch_status value: @##@"), 1u);  // unset
  end_with(phone, SIGTERM);
}

// In a sandbox root cannot give a terminal away to a user that the sandbox does not have.
TEST(Platform, Terminal_BelongsToTheSystemAndTheRadioGroup) {
  auto options = platform();
  options.user = handset::phone_user::system;
  handset::phone phone(options);
  start_app_serving(phone);
  const auto listed = phone.exec({"/bin/ls", "-lnL", "/dev/ttyAPP"}).out;
  EXPECT_TRUE(listed.starts_with("crw-rw---- 1 1000 1001 ")) << listed;
}

// What the sandbox cannot show, because it has no other user and group: who asked for what.
TEST(Platform, OwnersAndGroups_AreGivenToFoldersTerminalAndReplacedFiles) {
  auto options = platform();
  options.files["/amt/product.txt"] = "1\n";
  handset::phone phone(options);
  start_app_serving(phone);
  EXPECT_THAT(handset::owner_changes(phone.devices()),
              testing::ElementsAre("/amt/BT -1 1001", "/amt/WIFI -1 1001", "/dev/ttyAPP 1000 1001"));
  expect_answer(phone, frame(230, "EE 27 01 0400 01000000  EE 24 01 0400 01000000"), result_frame(231, "00000000"));
  EXPECT_EQ(handset::owner_changes(phone.devices()).back(), "/amt/product.txt.new 1000 1001");
  phone.close_app();
  ASSERT_TRUE(phone.open_app());
  EXPECT_EQ(handset::owner_changes(phone.devices()).back(), "/dev/ttyAPP 1000 1001");
  end_with(phone, SIGTERM);
}

TEST(Platform, ServiceKilledAndStartedAgain_ReplacesTheStaleLink) {
  handset::phone phone(platform());
  start_app_serving(phone);
  phone.send_signal(SIGKILL);
  ASSERT_EQ(phone.wait_exit(), handset::killed(SIGKILL));
  EXPECT_TRUE(phone.app().wait_hangup());
  phone.remove("/tmp/vx-kro-amt.pid");
  start_app_serving(phone);
  EXPECT_EQ(phone.log().count("create_pts_mapping unlink(/dev/ttyAPP) ret_val[0]"), 1u);
  expect_answer(phone, frame(45, "EE 13 01 0400 02000000"), result_frame(46, "01000000"));
  end_with(phone, SIGTERM);
}

TEST(Platform, Ended_TakesTheLinkAway) {
  handset::phone phone(platform());
  start_app_serving(phone);
  end_with(phone, SIGTERM);
  EXPECT_TRUE(phone.app().wait_hangup());
  EXPECT_FALSE(phone.open_app(0ms));
}

TEST(Platform, NoFolderForTheLink_EndsTheStart) {
  auto options = platform();
  options.config = "vx.tty.app=/nowhere/app\nvx.tty.at.mux=/dev/ttyAT\n";
  handset::phone phone(options);
  phone.start();
  EXPECT_EQ(phone.wait_exit(), handset::exited(-118)) << phone.log().text();
  EXPECT_EQ(phone.log().count("[PTY]map /dev/pts/"), 1u);
  EXPECT_EQ(phone.log().count("FATAL ERROR!!!"), 1u);
  EXPECT_EQ(phone.simulated_modem().received(handset::modem_link::at).text(), "");
}

TEST(Platform, SwitchProperty_AsksForTheSerialSetUp) {
  auto options = platform();
  options.properties["amt.normal.amt.switch_status"] = "1";
  handset::phone phone(options);
  start_serving(phone);
  EXPECT_EQ(phone.log().count("property-amt.normal.amt.switch_status value: 1"), 1u);
  EXPECT_EQ(phone.log().count("init_for_amt_2_3()"), 0u);
  EXPECT_FALSE(phone.open_app(0ms));
  end_with(phone, SIGTERM);
}

TEST(Platform, SwitchPropertyOtherThanOne_AsksForThePlatform) {
  auto options = platform();
  options.properties["amt.normal.amt.switch_status"] = "1 ";
  handset::phone phone(options);
  start_app_serving(phone);
  end_with(phone, SIGTERM);
}

TEST(PlatformWithoutModem, NoAtDevice_IsTriedThirtySecondsAndMissed) {
  auto options = platform();
  options.at_plugged = false;
  handset::phone phone(options);
  phone.start();
  ASSERT_TRUE(phone.wait_log("(29/30)try to open device \"/dev/ttyAT\"", 60s));
  wait_app_serving(phone);
  EXPECT_EQ(phone.log().count("disable_unsolicited_code()"), 0u);
  expect_no_modem(phone);
  end_with(phone, SIGTERM);
}

TEST(PlatformWithoutModem, AtDeviceComesLate_IsUsed) {
  auto options = platform();
  options.at_plugged = false;
  handset::phone phone(options);
  phone.start();
  ASSERT_TRUE(phone.wait_log("(1/30)try to open device \"/dev/ttyAT\""));
  phone.plug_at();
  wait_app_serving(phone);
  EXPECT_EQ(phone.log().count(NOT_OPENED), 0u);
  expect_answer(phone, frame(13, ""), result_frame(14, "00000000"));
}

TEST(PlatformWithoutModem, SigTermWhileTheDeviceIsTried_Ends) {
  auto options = platform();
  options.at_plugged = false;
  handset::phone phone(options);
  phone.start();
  ASSERT_TRUE(phone.wait_log("(1/30)try to open device \"/dev/ttyAT\""));
  end_with(phone, SIGTERM);
}

TEST(PlatformWithoutModem, SilentModem_IsAskedFiveTimesFiveSecondsAndMissed) {
  handset::phone phone(platform_with_raw_modem());
  phone.start();
  wait_app_serving(phone, 60s);
  EXPECT_EQ(phone.at_end().read_pending(), LINK_STATUS_OFF);  // asked once, waited for five times
  EXPECT_EQ(phone.log().count("read time out: "), 5u);
  EXPECT_EQ(phone.log().count("(4/5)tries. buf_a: \"\""), 1u);
  expect_no_modem(phone);
  EXPECT_EQ(phone.at_end().read_pending(), "");
  end_with(phone, SIGTERM);
}

TEST(PlatformWithModem, SilencingRefused_IsAModemAllTheSame) {
  handset::phone phone(platform_with_raw_modem());
  phone.start();
  ASSERT_EQ(phone.at_end().read_exactly(LINK_STATUS_OFF.size()), LINK_STATUS_OFF);
  ASSERT_TRUE(phone.at_end().write_all("\r\n+CME ERROR: 3\r\n"));
  wait_app_serving(phone);
  EXPECT_EQ(phone.log().count(NOT_OPENED), 0u);
  ASSERT_TRUE(phone.app().write_all(frame(7, "")));
  EXPECT_EQ(phone.at_end().read_exactly(9), "AT^DGSN?\r");
}

TEST(PlatformWithModem, UnsolicitedLineBeforeTheConfirmation_IsReadOver) {
  handset::phone phone(platform_with_raw_modem());
  phone.start();
  ASSERT_EQ(phone.at_end().read_exactly(LINK_STATUS_OFF.size()), LINK_STATUS_OFF);
  ASSERT_TRUE(phone.at_end().write_all("\r\n^DLKS: 1\r\n"));
  ASSERT_TRUE(phone.wait_log("(0/5)tries. buf_a: \"\r\n^DLKS: 1\r\n\""));
  ASSERT_TRUE(phone.at_end().write_all(OK));
  wait_app_serving(phone);
  EXPECT_EQ(phone.log().count(NOT_OPENED), 0u);
}

}  // namespace
