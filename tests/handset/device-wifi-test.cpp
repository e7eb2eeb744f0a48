// Request 185, the WiFi address and the check of the radio: atom 152 is the operation, atom 153 the address.
#include "tests/handset/device-phone.h"

using namespace handset_test;

namespace {

namespace fs = std::filesystem;

constexpr char FOLDER[] = "/amt/WIFI";
constexpr char RECORD[] = "/amt/WIFI/WIFI_nvram.txt";

constexpr char READ[] = "EE 98 01 0400 00000000";
const std::string WRITE = "EE 98 01 0400 01000000";
// "00:11:22:33:44:55"
const std::string ADDRESS = " EE 99 02 1100 30303A31313A32323A33333A34343A3535";
constexpr char CHECK[] = "EE 98 01 0400 02000000";

std::string letters(int count) {
  std::string digits;
  for (int i = 0; i < count; ++i) digits += "61";
  return digits;
}

using WifiAddress = DeviceOnBothLinks;
INSTANTIATE_TEST_SUITE_P(On, WifiAddress, both_links(), link_name);

TEST_P(WifiAddress, Read_Recorded_IsAnsweredWithoutItsLineEnd) {
  start();
  phone().write_file(RECORD, "00:11:22:33:44:55\nsecond line\n");
  expect(185, READ, frame(186, ADDRESS + DONE));
  expect_logged("amt_device_wifi_address op_type:0");
  expect_logged("read WIFI address: 00:11:22:33:44:55");
}

TEST_P(WifiAddress, Read_OperationAbsent_IsARead) {
  start();
  phone().write_file(RECORD, "00:11:22:33:44:55\n");
  expect(185, "", frame(186, ADDRESS + DONE));
}

TEST_P(WifiAddress, Read_RecordWithoutLineEnd_LosesItsLastCharacter) {
  start();
  phone().write_file(RECORD, "00:11:22:33:44:55x");
  expect(185, READ, frame(186, ADDRESS + DONE));
}

TEST_P(WifiAddress, Read_BlankLine_IsAnEmptyAddress) {
  start();
  phone().write_file(RECORD, "\n");
  expect(185, READ, frame(186, "EE 99 02 0000" + DONE));
}

TEST_P(WifiAddress, Read_WithoutRecord_IsAnErrorAnswer) {
  start();
  expect_failure(185, READ);
  expect_logged("FUNC-amt_read_wifi_address(), error_code=-100, errno=2");
  expect_logged("open /amt/WIFI/WIFI_nvram.txt fail");
  expect_logged("FUNC-amt_device_wifi_address(), error_code=-100");
  expect_logged("read error");
}

TEST_P(WifiAddress, Read_EmptyRecord_IsAnErrorAnswer) {
  start();
  phone().write_file(RECORD, "");
  expect_failure(185, READ);
  expect_logged(" read fail\n");
  expect_logged("read error");
}

TEST_P(WifiAddress, Written_IsRecordedFlushedAndItsFolderLocked) {
  start();
  phone().write_file(RECORD, "an older and longer address\n");
  expect_flushed([&] { expect_ok(185, WRITE + ADDRESS, 186); });
  EXPECT_EQ(content(RECORD), "00:11:22:33:44:55\n");
  EXPECT_EQ(permissions(FOLDER), fs::perms(0555));
  EXPECT_EQ(permissions(RECORD), fs::perms(0555));
  expect_logged("write BT address: 00:11:22:33:44:55");
  expect_logged("Write WIFI address: 00:11:22:33:44:55");
  expect_logged("path = /amt/WIFI change to chmod -R 555");
}

TEST_P(WifiAddress, Written_CanBeReadBack) {
  start();
  expect_ok(185, WRITE + ADDRESS, 186);
  expect(185, READ, frame(186, ADDRESS + DONE));
}

// The mode 555 binds others than root.
TEST_P(WifiAddress, WrittenTwice_HasTheSecondAddress) {
  start();
  expect_ok(185, WRITE + ADDRESS, 186);
  expect_ok(185, WRITE + " EE 99 02 0200 3132", 186);
  EXPECT_EQ(content(RECORD), "12\n");
}

// Nobody on a phone may pass over modes: the owner of the record may change them.
TEST_P(WifiAddress, WrittenTwiceWithFewerRights_HasTheSecondAddressAndItsMode) {
  handset::phone_options options;
  options.user = handset::phone_user::system;
  start(options);
  expect_ok(185, WRITE + ADDRESS, 186);
  expect_ok(185, WRITE + " EE 99 02 0200 3132", 186);
  EXPECT_EQ(content(RECORD), "12\n");
  EXPECT_EQ(permissions(RECORD), fs::perms(0555));
  EXPECT_EQ(permissions(FOLDER), fs::perms(0555));
}

TEST_P(WifiAddress, Write_EmptyText_FailsAndKeepsTheRecord) {
  start();
  phone().write_file(RECORD, "AA\n");
  expect_failure(185, WRITE + " EE 99 02 0000");
  EXPECT_EQ(content(RECORD), "AA\n");
  expect_logged("FUNC-amt_write_wifi_address(), error_code=-101");
  expect_logged("write error");
}

TEST_P(WifiAddress, Write_WithoutText_FailsAndKeepsTheRecord) {
  start();
  phone().write_file(RECORD, "AA\n");
  expect_failure(185, WRITE);
  EXPECT_EQ(content(RECORD), "AA\n");
  EXPECT_NE(permissions(FOLDER), fs::perms(0555));
}

TEST_P(WifiAddress, Write_SixtyCharacters_AreTakenWhole) {
  start();
  expect_ok(185, WRITE + " EE 99 02 3C00" + letters(60), 186);
  EXPECT_EQ(content(RECORD), std::string(60, 'a') + "\n");
}

TEST_P(WifiAddress, Write_MoreThanSixtyCharacters_AreCutToFiftyNine) {
  start();
  expect_ok(185, WRITE + " EE 99 02 3D00" + letters(61), 186);
  EXPECT_EQ(content(RECORD), std::string(59, 'a') + "\n");
}

TEST_P(WifiAddress, Write_FolderMissing_IsAnErrorAnswer) {
  start();
  phone().remove(FOLDER);
  expect_failure(185, WRITE + ADDRESS);
  EXPECT_FALSE(phone().exists(FOLDER));
  expect_logged("open /amt/WIFI/WIFI_nvram.txt fail");
  expect_logged("write error");
}

TEST_P(WifiAddress, Write_FileSystemFull_IsAnErrorAnswerAndFlushed) {
  start();
  fill_up(RECORD);
  expect_flushed([&] { expect_failure(185, WRITE + ADDRESS); });
  EXPECT_NE(permissions(FOLDER), fs::perms(0555));
  expect_logged("sys call: fputs() failed! errno = 28");
  expect_logged("FUNC-amt_write_wifi_address(), error_code=-118");
  expect_logged("write error");
}

TEST_P(WifiAddress, Check_LibraryAgrees_IsAnswered) {
  start();
  expect_ok(185, CHECK, 186, "hwt_wifiCheck() = 0\n");
  expect_logged("wifi connectivity check start");
  expect_logged("wifi connectivity check end. return:0.");
}

// The line names the Bluetooth operation, as it always did.
TEST_P(WifiAddress, Check_LibraryFails_IsAnErrorAnswer) {
  start();
  phone().write_file(HWT_CONTROL, "hwt_wifiCheck = -3\n");
  expect_failure(185, CHECK, "hwt_wifiCheck() = -3\n");
  expect_logged("FUNC-amt_device_wifi_address(), error_code=-100");
  expect_logged("wifi connectivity check error. call hwt_btCtrl fail: -3");
}

TEST_P(WifiAddress, Operation_Unknown_IsAnErrorAnswer) {
  start();
  expect_failure(185, "EE 98 01 0400 03000000" + ADDRESS);
  expect_failure(185, "EE 98 01 0400 00010000" + ADDRESS);
  expect_logged("FUNC-amt_device_wifi_address(), error_code=-101", 2);
  expect_logged("unknown operation: 3");
  expect_logged("unknown operation: 256");
  EXPECT_FALSE(phone().exists(RECORD));
}

}  // namespace
