// Request 172, the Bluetooth address and the hardware behind it: atom 110 is the operation, atom 111 the address.
#include "tests/handset/device-phone.h"

using namespace handset_test;

namespace {

namespace fs = std::filesystem;

constexpr char FOLDER[] = "/amt/BT";
constexpr char RECORD[] = "/amt/BT/BT_Address.txt";

constexpr char READ[] = "EE 6E 01 0400 01000000";
const std::string WRITE = "EE 6E 01 0400 02000000";
// "AA:BB:CC:DD:EE:FF"
const std::string ADDRESS = " EE 6F 02 1100 41413A42423A43433A44443A45453A4646";
constexpr char CHECK[] = "EE 6E 01 0400 03000000";
constexpr char SWITCH_OFF[] = "EE 6E 01 0400 0A000000";
constexpr char SWITCH_ON[] = "EE 6E 01 0400 0B000000";

using BluetoothAddress = DeviceOnBothLinks;
INSTANTIATE_TEST_SUITE_P(On, BluetoothAddress, both_links(), link_name);

TEST_P(BluetoothAddress, Read_Recorded_IsAnswered) {
  start();
  phone().write_file(RECORD, "AA:BB:CC:DD:EE:FF\n");
  expect(172, READ, frame(173, ADDRESS + DONE));
  expect_logged("amt_device_bt_address op_type:1");
  expect_logged("read BT address: AA:BB:CC:DD:EE:FF");
}

TEST_P(BluetoothAddress, Read_SeveralWords_IsTheFirst) {
  start();
  phone().write_file(RECORD, "\n  12 34\n");
  expect(172, READ, frame(173, "EE 6F 02 0200 3132" + DONE));
}

TEST_P(BluetoothAddress, Read_WithoutRecord_IsAnErrorAnswer) {
  start();
  expect_failure(172, READ);
  expect_logged("FUNC-amt_device_bt_address(), error_code=-101, errno=2");
  expect_logged("open(\"/amt/BT/BT_Address.txt\") fail: 2 - No such file or directory");
  EXPECT_FALSE(phone().exists(RECORD));
}

TEST_P(BluetoothAddress, Read_EmptyRecord_IsAnErrorAnswer) {
  start();
  phone().write_file(RECORD, "");
  expect_failure(172, READ);
  phone().write_file(RECORD, " \n");
  expect_failure(172, READ);
  expect_logged("FUNC-amt_device_bt_address(), error_code=-100", 2);
  expect_logged("read not completed", 2);
}

TEST_P(BluetoothAddress, Read_LockedRecord_IsAnErrorAnswer) {
  start();
  phone().write_file(RECORD, "AA\n");
  phone().parts().fail(RECORD, handset::file_fault::open);
  expect_failure(172, READ);
  expect_logged("open(\"/amt/BT/BT_Address.txt\") fail: 13 - Permission denied");
}

TEST_P(BluetoothAddress, Written_IsRecordedFlushedAndItsFolderLocked) {
  start();
  phone().write_file(RECORD, "an older and longer address\n");
  expect_flushed([&] { expect_ok(172, WRITE + ADDRESS, 173); });
  EXPECT_EQ(content(RECORD), "AA:BB:CC:DD:EE:FF\n");
  EXPECT_EQ(permissions(FOLDER), fs::perms(0555));
  EXPECT_EQ(permissions(RECORD), fs::perms(0555));
  expect_logged("write BT address: AA:BB:CC:DD:EE:FF");
  expect_logged("path = /amt/BT change to chmod -R 555");
}

TEST_P(BluetoothAddress, Written_CanBeReadBack) {
  start();
  expect_ok(172, WRITE + ADDRESS, 173);
  expect(172, READ, frame(173, ADDRESS + DONE));
}

// The mode 555 binds others than root.
TEST_P(BluetoothAddress, WrittenTwice_HasTheSecondAddress) {
  start();
  expect_ok(172, WRITE + ADDRESS, 173);
  expect_ok(172, WRITE + " EE 6F 02 0200 3132", 173);
  EXPECT_EQ(content(RECORD), "12\n");
}

// Nobody on a phone may pass over modes: the owner of the record may change them.
TEST_P(BluetoothAddress, WrittenTwiceWithFewerRights_HasTheSecondAddressAndItsMode) {
  handset::phone_options options;
  options.user = handset::phone_user::system;
  start(options);
  expect_ok(172, WRITE + ADDRESS, 173);
  expect_ok(172, WRITE + " EE 6F 02 0200 3132", 173);
  EXPECT_EQ(content(RECORD), "12\n");
  EXPECT_EQ(permissions(RECORD), fs::perms(0555));
  EXPECT_EQ(permissions(FOLDER), fs::perms(0555));
}

TEST_P(BluetoothAddress, Write_EmptyText_EmptiesTheRecordAndFails) {
  start();
  phone().write_file(RECORD, "AA\n");
  expect_flushed([&] { expect_failure(172, WRITE + " EE 6F 02 0000"); });
  EXPECT_EQ(content(RECORD), "");
  EXPECT_NE(permissions(FOLDER), fs::perms(0555));
  expect_logged("FUNC-amt_device_bt_address(), error_code=-101");
  expect_logged("unknown BT address");
}

TEST_P(BluetoothAddress, Write_WithoutText_EmptiesTheRecordAndFails) {
  start();
  phone().write_file(RECORD, "AA\n");
  expect_flushed([&] { expect_failure(172, WRITE); });
  EXPECT_EQ(content(RECORD), "");
  expect_logged("unknown BT address");
}

TEST_P(BluetoothAddress, Write_TextWithANulByte_EmptiesTheRecordAndFails) {
  start();
  phone().write_file(RECORD, "AA\n");
  expect_failure(172, WRITE + " EE 6F 02 0300 410042");
  EXPECT_EQ(content(RECORD), "");
  expect_logged("unknown BT address");
}

TEST_P(BluetoothAddress, Write_FiftyNineCharacters_AreTaken) {
  start();
  std::string letters;
  for (int i = 0; i < 59; ++i) letters += "61";
  expect_ok(172, WRITE + " EE 6F 02 3B00" + letters, 173);
  EXPECT_EQ(content(RECORD), std::string(59, 'a') + "\n");
}

TEST_P(BluetoothAddress, Write_FolderMissing_IsAnErrorAnswer) {
  start();
  phone().remove(FOLDER);
  expect_failure(172, WRITE + ADDRESS);
  EXPECT_FALSE(phone().exists(FOLDER));
  expect_logged("FUNC-amt_device_bt_address(), error_code=-118, errno=2");
}

TEST_P(BluetoothAddress, Write_FileSystemFull_IsAnErrorAnswerAndFlushed) {
  start();
  fill_up(RECORD);
  expect_flushed([&] { expect_failure(172, WRITE + ADDRESS); });
  EXPECT_NE(permissions(FOLDER), fs::perms(0555));
  expect_logged("FUNC-amt_device_bt_address(), error_code=-118, errno=28");
  expect_logged("fputs() fail");
  expect_not_logged("write BT address: ");
}

TEST_P(BluetoothAddress, Check_LibraryAgrees_IsAnswered) {
  start();
  expect_ok(172, CHECK, 173, "hwt_btCheck() = 0\n");
  expect_logged("BT hardware check start");
  expect_logged("BT hardware check end. return:0.");
}

TEST_P(BluetoothAddress, Check_LibraryFails_IsAnErrorAnswer) {
  start();
  phone().write_file(HWT_CONTROL, "hwt_btCheck = -5\n");
  expect_failure(172, CHECK, "hwt_btCheck() = -5\n");
  expect_logged("BT hardware check end. return:-5.");
  expect_logged("FUNC-amt_device_bt_address(), error_code=-100");
  expect_logged("BT hardware check error. call hwt_btCheck fail: -5");
}

TEST_P(BluetoothAddress, Switch_OnAndOff_ReachesTheHardware) {
  start();
  expect_ok(172, SWITCH_ON, 173, "hwt_btCtrl(1) = 0\n");
  EXPECT_EQ(phone().parts().state("bluetooth"), "on");
  expect_ok(172, SWITCH_OFF, 173, "hwt_btCtrl(0) = 0\n");
  EXPECT_EQ(phone().parts().state("bluetooth"), "off");
  expect_logged("BT-start open end. return:0.");
  expect_logged("BT-start close end. return:0.");
}

TEST_P(BluetoothAddress, SwitchOn_LibraryFails_IsAnErrorAnswer) {
  start();
  phone().write_file(HWT_CONTROL, "hwt_btCtrl(1 = 9\n");
  expect_failure(172, SWITCH_ON, "hwt_btCtrl(1) = 9\n");
  EXPECT_EQ(phone().parts().state("bluetooth"), "off");
  expect_logged("BT-start open error. call hwt_btCtrl fail: 9");
}

TEST_P(BluetoothAddress, SwitchOff_LibraryFails_IsAnErrorAnswer) {
  start();
  expect_ok(172, SWITCH_ON, 173, "hwt_btCtrl(1) = 0\n");
  phone().write_file(HWT_CONTROL, "hwt_btCtrl(0 = -2\n");
  expect_failure(172, SWITCH_OFF, "hwt_btCtrl(0) = -2\n");
  EXPECT_EQ(phone().parts().state("bluetooth"), "on");
  expect_logged("BT-start close error. call hwt_btCtrl fail: -2");
}

TEST_P(BluetoothAddress, Operation_Unknown_IsAnErrorAnswer) {
  start();
  const std::pair<const char*, const char*> rows[] = {
      {"EE 6E 01 0400 00000000", "unknown operation: 0"},  {"EE 6E 01 0400 04000000", "unknown operation: 4"},
      {"EE 6E 01 0400 09000000", "unknown operation: 9"},  {"EE 6E 01 0400 0C000000", "unknown operation: 12"},
      {"EE 6E 01 0400 FFFFFFFF", "unknown operation: -1"},
  };
  for (const auto& [atoms, line] : rows) {
    expect_failure(172, atoms);
    expect_logged(line);
  }
  expect_logged("FUNC-amt_device_bt_address(), error_code=-101", 5);
}

TEST_P(BluetoothAddress, Operation_Absent_IsZeroAndUnknown) {
  start();
  expect_failure(172, "");
  expect_failure(172, ADDRESS);
  expect_logged("unknown operation: 0", 2);
}

}  // namespace
