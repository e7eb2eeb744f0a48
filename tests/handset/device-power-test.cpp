// Requests about the end and the start of a test: idle (240) and, of the PC alone, power-off (236) and whether the
// download at the start was finished (244).
#include "tests/handset/device-phone.h"

using namespace handset_test;

namespace {

constexpr char LIBRARY[] = "/system/lib64/hw/amt.vx5210.misc.so";

using Idle = DeviceOnBothLinks;
INSTANTIATE_TEST_SUITE_P(On, Idle, both_links(), link_name);

TEST_P(Idle, LibraryAgrees_IsAnswered) {
  start();
  expect_ok(240, "", 241, "enter_idle() = 0\n");
  EXPECT_EQ(phone().parts().state("idle"), "yes");
  expect_logged("will call enter_idle.");
  expect_logged("stop call enter_idle. return value:0.");
  expect_logged(" enter_idle return OK.", 2);
}

TEST_P(Idle, LibraryRefuses_IsAnErrorAnswer) {
  start();
  phone().write_file(BOARD_CONTROL, "enter_idle = -1\n");
  expect_failure(240, "", "enter_idle() = -1\n");
  phone().write_file(BOARD_CONTROL, "enter_idle = 2\n");
  expect_failure(240, "", "enter_idle() = 2\n");
  EXPECT_EQ(phone().parts().state("idle"), "no");
  expect_logged("stop call enter_idle. return value:-1.");
  expect_logged("stop call enter_idle. return value:2.");
  expect_not_logged("enter_idle return OK.");
}

TEST_P(Idle, LibraryAbsent_IsAnErrorAnswer) {
  auto options = handset::phone_options();
  options.board = handset::board_library::absent;
  start(options);
  expect_failure(240, "");
  expect_logged("FUNC-amt_make_ue_enter_idle(), error_code=-118");
  expect_logged(
      "call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so: cannot open shared object file: "
      "No such file or directory");
}

TEST_P(Idle, LibraryEmpty_IsAnErrorAnswer) {
  auto options = handset::phone_options();
  options.board = handset::board_library::empty;
  start(options);
  expect_failure(240, "");
  expect_logged("FUNC-amt_make_ue_enter_idle(), error_code=-118");
  expect_logged("call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so: undefined symbol: enter_idle");
}

TEST_P(Idle, LibraryPutInPlaceWhileServing_IsFound) {
  start();
  const auto library = phone().host_path(LIBRARY);
  std::filesystem::rename(library, library.string() + ".away");
  expect_failure(240, "");
  std::filesystem::rename(library.string() + ".away", library);
  expect_ok(240, "", 241, "enter_idle() = 0\n");
}

TEST_P(Idle, OtherBoardModel_LoadsItsOwnLibrary) {
  auto options = handset::phone_options();
  options.properties["ro.board.platform"] = "vx5211-evb";
  start(options);
  expect_failure(240, "");
  expect_logged("property-ro.board.platform value: vx5211-evb");
  expect_logged("call dlopen fail: - /system/lib64/hw/amt.vx5211.misc.so: ");
  std::filesystem::copy_file(phone().host_path(LIBRARY), phone().host_path("/system/lib64/hw/amt.vx5211.misc.so"));
  expect_ok(240, "", 241, "enter_idle() = 0\n");
}

class PcOnly : public DevicePhone {};

// The result that means "not mine" sends the request on.
TEST_F(PcOnly, IdleLibraryGivesMinus104_RequestReachesTheModem) {
  start();
  phone().write_file(BOARD_CONTROL, "enter_idle = -104\n");
  const auto request = from_hex("AABBCCDD 0E000000 02000000 0600 BB F0 0000 00000000");
  ASSERT_TRUE(phone().pc().write_all(request));
  EXPECT_EQ(to_hex(phone().modem_end().read_exactly(request.size())), to_hex(request));
  EXPECT_EQ(to_hex(phone().pc().read_exactly(16)), to_hex(PRE_RESPONSE));
  EXPECT_EQ(to_hex(phone().pc().read_pending()), "");
}

TEST_F(PcOnly, BootDownload_LibraryAnswers_IsItsFlag) {
  start();
  expect(244, "", frame(245, "EE CC 01 0400 01000000" + DONE), "amt_check_system_sanity() = 1\n");
  expect_logged("amt_modem_boot_dl_fin_read.");
  expect_logged("amt_boot_dl_fin_read start.");
  expect_logged("stop call amt_check_system_sanity. return value:1.");
  expect_logged("amt_modem_boot_dl_fin_read finished. flag:1; ret_val:0.");
}

TEST_F(PcOnly, BootDownload_AnyFlag_IsPassedOnAndNoFailure) {
  start();
  phone().write_file(BOARD_CONTROL, "amt_check_system_sanity = 0\n");
  expect(244, "", frame(245, "EE CC 01 0400 00000000" + DONE), "amt_check_system_sanity() = 0\n");
  phone().write_file(BOARD_CONTROL, "amt_check_system_sanity = -104\n");
  expect(244, "", frame(245, "EE CC 01 0400 98FFFFFF" + DONE), "amt_check_system_sanity() = -104\n");
}

TEST_F(PcOnly, BootDownload_LibraryAbsent_IsAnErrorAnswer) {
  auto options = handset::phone_options();
  options.board = handset::board_library::absent;
  start(options);
  expect_failure(244, "");
  expect_logged("call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so: ");
  expect_logged("amt_modem_boot_dl_fin_read finished. flag:0; ret_val:-118.");
  expect_logged("FUNC-amt_modem_boot_dl_fin_read(), error_code=-100");
  expect_logged("read error");
}

TEST_F(PcOnly, BootDownload_LibraryEmpty_IsAnErrorAnswer) {
  auto options = handset::phone_options();
  options.board = handset::board_library::empty;
  start(options);
  expect_failure(244, "");
  expect_logged("FUNC-amt_boot_dl_fin_read(), error_code=-118");
  expect_logged("undefined symbol: amt_check_system_sanity");
}

TEST_F(PcOnly, PowerOff_IsAnsweredTwoSecondsBeforeThePowerGoes) {
  start();
  const auto asked = std::chrono::steady_clock::now();
  send(236, "");
  EXPECT_EQ(
      to_hex(phone().pc().read_exactly(47)),
      to_hex(PRE_RESPONSE + from_hex("AABBCCDD 17000000 02000000 0F00 BB ED 0900 EE 01 01 0400 00000000 561FC9C9")));
  EXPECT_TRUE(phone().service().running());
  expect_clean_end(phone());
  EXPECT_GE(std::chrono::steady_clock::now() - asked, 2s);
  EXPECT_EQ(phone().log().count("amt_handle_power_off()"), 1u);
  EXPECT_EQ(phone().log().count("receive signal: 15 - SIGTERM"), 1u);
}

}  // namespace
