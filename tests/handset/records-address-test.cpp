// The Bluetooth and WiFi address, from the station's command to the bytes in the record.
#include "tests/handset/records-phone.h"

using namespace handset_test;

namespace {

constexpr char OLD_ADDRESS[] = "AA:AA:AA:AA:AA:AA\n";

using AddressRecord = RecordPhone;

handset::phone_options with_bt_record() {
  handset::phone_options options;
  options.files[BT_RECORD] = OLD_ADDRESS;
  return options;
}

TEST_F(AddressRecord, Bluetooth_WrittenAndReadBack_IsInTheRecordAndFlushed) {
  start(with_bt_record());
  expect_reply("AT^DBTADDR?\r", "\r\n^DBTADDR: \"AA:AA:AA:AA:AA:AA\"\r\n\r\nOK\r\n");
  expect_flushed(true, [&] { expect_reply("AT^DBTADDR=\"00:11:22:33:44:55\"\r", REPLY_OK); });
  EXPECT_EQ(record(BT_RECORD), "00:11:22:33:44:55\n");
  EXPECT_EQ(record(SECOND_BT_RECORD), NOTHING);
  expect_flushed(false, [&] { expect_reply("AT^DBTADDR=?\r", REPLY_OK); });
  expect_reply("AT^DBTADDR?\r", "\r\n^DBTADDR: \"00:11:22:33:44:55\"\r\n\r\nOK\r\n");
  expect_logged("write BT address: 00:11:22:33:44:55");
  EXPECT_EQ(phone().log().count("read BT address: 00:11:22:33:44:55"), 1u);
  end_with(phone(), SIGTERM);
}

TEST_F(AddressRecord, Bluetooth_WithoutRecord_IsRefusedAndNoneIsMade) {
  start();
  expect_flushed(false, [&] {
    expect_reply("AT^DBTADDR?\r", REPLY_CME_ERROR);
    expect_reply("AT^DBTADDR=\"00:11:22:33:44:55\"\r", REPLY_CME_ERROR);
  });
  EXPECT_EQ(record(BT_RECORD), NOTHING);
  EXPECT_EQ(record(SECOND_BT_RECORD), NOTHING);
  expect_logged("can not access file \"/amt/BT/BT_Address.txt\" or \"/mnt/opl/nvm/BT_Address.txt\"", 2);
}

TEST_F(AddressRecord, Bluetooth_SecondPlaceOnly_IsUsed) {
  handset::phone_options options;
  options.files[SECOND_BT_RECORD] = OLD_ADDRESS;
  start(std::move(options));
  expect_reply("AT^DBTADDR=\"00:11:22:33:44:55\"\r", REPLY_OK);
  EXPECT_EQ(record(SECOND_BT_RECORD), "00:11:22:33:44:55\n");
  EXPECT_EQ(record(BT_RECORD), NOTHING);
  expect_reply("AT^DBTADDR?\r", "\r\n^DBTADDR: \"00:11:22:33:44:55\"\r\n\r\nOK\r\n");
}

TEST_F(AddressRecord, Bluetooth_BothPlaces_FirstIsUsed) {
  auto options = with_bt_record();
  options.files[SECOND_BT_RECORD] = "BB:BB:BB:BB:BB:BB\n";
  start(std::move(options));
  expect_reply("AT^DBTADDR?\r", "\r\n^DBTADDR: \"AA:AA:AA:AA:AA:AA\"\r\n\r\nOK\r\n");
  expect_reply("AT^DBTADDR=\"00:11:22:33:44:55\"\r", REPLY_OK);
  EXPECT_EQ(record(BT_RECORD), "00:11:22:33:44:55\n");
  EXPECT_EQ(record(SECOND_BT_RECORD), "BB:BB:BB:BB:BB:BB\n");
}

TEST_F(AddressRecord, Bluetooth_EmptyAddress_LeavesTheRecordAlone) {
  start(with_bt_record());
  expect_flushed(false, [&] { expect_reply("AT^DBTADDR=\"\"\r", REPLY_CME_ERROR); });
  EXPECT_EQ(record(BT_RECORD), OLD_ADDRESS);
}

TEST_F(AddressRecord, Bluetooth_LongAndUnquotedAddresses_AreCutAtNineteen) {
  start(with_bt_record());
  expect_reply("AT^DBTADDR=\"1234567890123456789\"\r", REPLY_OK);
  EXPECT_EQ(record(BT_RECORD), "1234567890123456789\n");
  expect_reply("AT^DBTADDR=\"abcdefghijklmnopqrst\"\r", REPLY_OK);
  EXPECT_EQ(record(BT_RECORD), "abcdefghijklmnopqrs\n");
  expect_reply("AT^DBTADDR=\"" + std::string(1000, 'A') + "\"\r", REPLY_OK);
  EXPECT_EQ(record(BT_RECORD), "AAAAAAAAAAAAAAAAAAA\n");
  expect_reply("AT^DBTADDR=\"00:11\r", REPLY_OK);  // no closing quote: the carriage return is part of it
  EXPECT_EQ(record(BT_RECORD), "00:11\r\n");
}

TEST_F(AddressRecord, Bluetooth_OddRecords_FirstWordOrRefusal) {
  start(with_bt_record());
  phone().write_file(BT_RECORD, "  one two\n");
  expect_reply("AT^DBTADDR?\r", "\r\n^DBTADDR: \"one\"\r\n\r\nOK\r\n");
  phone().write_file(BT_RECORD, "123456789012345678901234567890");
  expect_reply("AT^DBTADDR?\r", "\r\n^DBTADDR: \"1234567890123456789\"\r\n\r\nOK\r\n");
  phone().write_file(BT_RECORD, "");
  expect_reply("AT^DBTADDR?\r", REPLY_CME_ERROR);
  expect_logged("read not completed");
}

TEST_F(AddressRecord, Bluetooth_WithoutCarriageReturn_GoesToTheModem) {
  start(with_bt_record());
  ASSERT_TRUE(phone().pc().write_all("AT^DBTADDR?"));
  EXPECT_TRUE(phone().simulated_modem().received().wait_for("AT^DBTADDR?"));
  EXPECT_EQ(record(BT_RECORD), OLD_ADDRESS);
}

TEST_F(AddressRecord, Bluetooth_Locked_IsRefusedAndKept) {
  start();
  lock(BT_RECORD, OLD_ADDRESS);
  expect_flushed(false, [&] {
    expect_reply("AT^DBTADDR?\r", REPLY_CME_ERROR);
    expect_reply("AT^DBTADDR=\"00:11:22:33:44:55\"\r", REPLY_CME_ERROR);
  });
  expect_logged("open(\"/amt/BT/BT_Address.txt\") fail: 13 - Permission denied", 2);
  EXPECT_EQ(phone().log().count("FUNC-bt_addr_write(), error_code=-118, errno=13"), 1u) << phone().log().text();
  unlock(BT_RECORD);
  EXPECT_EQ(record(BT_RECORD), OLD_ADDRESS);
}

TEST_F(AddressRecord, Bluetooth_FileSystemFull_IsRefusedAndFlushed) {
  start();
  fill_up(BT_RECORD);
  expect_flushed(true, [&] { expect_reply("AT^DBTADDR=\"00:11:22:33:44:55\"\r", REPLY_CME_ERROR); });
  expect_logged("sys call: fputs() failed! errno = 28");
  EXPECT_EQ(phone().log().count("FUNC-bt_addr_write(), error_code=-1, errno=28"), 1u) << phone().log().text();
  expect_reply("AT^DBTADDR=?\r", REPLY_OK);  // nothing else is harmed
}

TEST_F(AddressRecord, Bluetooth_ReadOnlyFileSystem_IsReadButNotWritten) {
  const read_only_record record(BT_RECORD, OLD_ADDRESS);
  start(record.options());
  expect_reply("AT^DBTADDR=\"00:11:22:33:44:55\"\r", REPLY_CME_ERROR);
  expect_reply("AT^DBTADDR?\r", "\r\n^DBTADDR: \"AA:AA:AA:AA:AA:AA\"\r\n\r\nOK\r\n");
  expect_logged("open(\"/amt/BT/BT_Address.txt\") fail: 30 - Read-only file system");
  EXPECT_EQ(record.content(), OLD_ADDRESS);
}

TEST_F(AddressRecord, Wifi_WrittenAndReadBack_ReachesTheDriverAtTheNextStart) {
  handset::phone_options options;
  options.files["/system/etc/wifi/nvram.txt"] = "boardtype=1\nmacaddr=00:90:4c:c5:12:38\nsromrev=11\n";
  start(std::move(options));
  expect_reply("AT^DWIFIADDR?\r", REPLY_CME_ERROR);
  expect_reply("AT^DWIFIADDR=?\r", REPLY_OK);
  expect_flushed(true, [&] { expect_reply("AT^DWIFIADDR=\"AA:BB:CC:DD:EE:FF\"\r", REPLY_OK); });
  EXPECT_EQ(record(WIFI_RECORD), "AA:BB:CC:DD:EE:FF\n");
  expect_reply("AT^DWIFIADDR?\r", "\r\n^DWIFIADDR: \"AA:BB:CC:DD:EE:FF\"\r\n\r\nOK\r\n");
  EXPECT_EQ(record("/data/misc/wifi/nvram.txt"), "boardtype=1\nmacaddr=00:90:4c:c5:12:38\nsromrev=11\n");
  end_with(phone(), SIGTERM);

  phone().unplug_pc();
  phone().plug_pc();
  start_serving(phone());
  EXPECT_EQ(record("/data/misc/wifi/nvram.txt"), "boardtype=1\nmacaddr=AA:BB:CC:DD:EE:FF\nsromrev=11\n");
  const auto mode = std::filesystem::status(phone().host_path("/data/misc/wifi/nvram.txt")).permissions();
  EXPECT_EQ(mode, std::filesystem::perms(0666));
  expect_reply("AT^DWIFIADDR?\r", "\r\n^DWIFIADDR: \"AA:BB:CC:DD:EE:FF\"\r\n\r\nOK\r\n");
}

TEST_F(AddressRecord, Wifi_LongEmptyAndUnquotedAddresses_AreCutOrRefused) {
  start();
  expect_reply("AT^DWIFIADDR=\"1234567890123456789\"\r", REPLY_OK);
  EXPECT_EQ(record(WIFI_RECORD), "1234567890123456789\n");
  expect_flushed(false, [&] { expect_reply("AT^DWIFIADDR=\"\"\r", REPLY_CME_ERROR); });
  EXPECT_EQ(record(WIFI_RECORD), "1234567890123456789\n");
  expect_reply("AT^DWIFIADDR=\"" + std::string(1000, 'W') + "\"\r", REPLY_OK);
  EXPECT_EQ(record(WIFI_RECORD), "WWWWWWWWWWWWWWWWWWW\n");
  expect_reply("AT^DWIFIADDR=\"00:11\r", REPLY_OK);
  EXPECT_EQ(record(WIFI_RECORD), "00:11\r\n");
  phone().write_file(WIFI_RECORD, "no line end");  // the last character goes, whatever it is
  expect_reply("AT^DWIFIADDR?\r", "\r\n^DWIFIADDR: \"no line en\"\r\n\r\nOK\r\n");
  phone().write_file(WIFI_RECORD, "");
  expect_reply("AT^DWIFIADDR?\r", REPLY_CME_ERROR);
}

TEST_F(AddressRecord, Wifi_Locked_IsRefusedAndKept) {
  start();
  lock(WIFI_RECORD, OLD_ADDRESS);
  expect_flushed(false, [&] {
    expect_reply("AT^DWIFIADDR?\r", REPLY_CME_ERROR);
    expect_reply("AT^DWIFIADDR=\"00:11:22:33:44:55\"\r", REPLY_CME_ERROR);
  });
  expect_logged("open /amt/WIFI/WIFI_nvram.txt fail", 2);
  EXPECT_EQ(phone().log().count("FUNC-amt_write_wifi_address(), error_code=-100, errno=13"), 1u);
  unlock(WIFI_RECORD);
  EXPECT_EQ(record(WIFI_RECORD), OLD_ADDRESS);
}

TEST_F(AddressRecord, Wifi_FileSystemFull_IsRefusedAndFlushed) {
  start();
  fill_up(WIFI_RECORD);
  expect_flushed(true, [&] { expect_reply("AT^DWIFIADDR=\"00:11:22:33:44:55\"\r", REPLY_CME_ERROR); });
  expect_logged("sys call: fputs() failed! errno = 28");
  expect_reply("AT^DWIFIADDR=?\r", REPLY_OK);
}

TEST_F(AddressRecord, Wifi_ReadOnlyFileSystem_IsReadButNotWritten) {
  const read_only_record record(WIFI_RECORD, OLD_ADDRESS);
  start(record.options());
  expect_reply("AT^DWIFIADDR=\"00:11:22:33:44:55\"\r", REPLY_CME_ERROR);
  expect_reply("AT^DWIFIADDR?\r", "\r\n^DWIFIADDR: \"AA:AA:AA:AA:AA:AA\"\r\n\r\nOK\r\n");
  expect_logged("FUNC-amt_write_wifi_address(), error_code=-100, errno=30");
  EXPECT_EQ(record.content(), OLD_ADDRESS);
}

// As requests 172 and 185 leave them; nobody on a phone may pass over modes.
TEST_F(AddressRecord, OfMode555WithFewerRights_AreWrittenAndKeepIt) {
  auto options = with_bt_record();
  options.files[WIFI_RECORD] = OLD_ADDRESS;
  options.user = handset::phone_user::system;
  start(std::move(options));
  for (const char* path : {BT_RECORD, WIFI_RECORD}) {
    std::filesystem::permissions(phone().host_path(path), std::filesystem::perms(0555));
  }
  expect_reply("AT^DBTADDR=\"00:11:22:33:44:55\"\r", REPLY_OK);
  expect_reply("AT^DWIFIADDR=\"AA:BB:CC:DD:EE:FF\"\r", REPLY_OK);
  EXPECT_EQ(record(BT_RECORD), "00:11:22:33:44:55\n");
  EXPECT_EQ(record(WIFI_RECORD), "AA:BB:CC:DD:EE:FF\n");
  for (const char* path : {BT_RECORD, WIFI_RECORD}) {
    EXPECT_EQ(std::filesystem::status(phone().host_path(path)).permissions(), std::filesystem::perms(0555)) << path;
  }
}

// A shell has a part in every write of a record.
TEST_F(AddressRecord, TextForAShell_IsOnlyRecorded) {
  start(with_bt_record());
  for (const std::string text : {"`id>/tmp/owned`", "$(id>/tmp/owned)", ";id>/tmp/owned;", "'|id>/tmp/owned|'"}) {
    expect_reply("AT^DBTADDR=\"" + text + "\"\r", REPLY_OK);
    expect_reply("AT^DWIFIADDR=\"" + text + "\"\r", REPLY_OK);
    EXPECT_EQ(record(BT_RECORD), text + "\n");
    EXPECT_EQ(record(WIFI_RECORD), text + "\n");
  }
  EXPECT_FALSE(phone().exists("/tmp/owned"));
}

TEST_F(AddressRecord, FoldersMissing_AreRefusedUntilTheNextStartMakesThem) {
  start();
  phone().remove("/amt/BT");
  phone().remove("/amt/WIFI");
  expect_reply("AT^DBTADDR=\"00:11:22:33:44:55\"\r", REPLY_CME_ERROR);
  expect_reply("AT^DWIFIADDR=\"00:11:22:33:44:55\"\r", REPLY_CME_ERROR);
  expect_logged("FUNC-amt_write_wifi_address(), error_code=-100, errno=2");
  EXPECT_FALSE(phone().exists("/amt/WIFI"));
  end_with(phone(), SIGTERM);

  phone().unplug_pc();
  phone().plug_pc();
  start_serving(phone());
  expect_reply("AT^DWIFIADDR=\"00:11:22:33:44:55\"\r", REPLY_OK);
  EXPECT_EQ(record(WIFI_RECORD), "00:11:22:33:44:55\n");
}

}  // namespace
