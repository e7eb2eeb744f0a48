// The card's size, the device information, and the modem's channel.
#include "tests/handset/app-device-phone.h"

using namespace handset_test;

namespace {

constexpr char STORAGE_CONFIG[] = "/data/etc/storage.config";
constexpr char FIRST_CARD[] = "EE 37 01 0400 0000C000";   // 12582912 KB
constexpr char SECOND_CARD[] = "EE 37 01 0400 0092DB01";  // 31166976 KB
constexpr char NO_CARD[] = "EE 37 01 0400 00000000";

class Card : public AppDevicePhone {};

TEST_F(Card, WithoutStorageConfig_IsTheSecondFolder) {
  start();
  ASSERT_FALSE(phone().exists(STORAGE_CONFIG));
  expect_values(137, "", SECOND_CARD);
  expect_log(phone(), "amt_device_tf_card--->storage config value: 0");
  expect_log(phone(), "amt_device_tf_card--->external sd card path: /storage/sdcard1");
  expect_log(phone(), "external tf card capability: 31166976 KB");
  EXPECT_EQ(phone().log().count("amt_device_tf_card--->getted storage config value: "), 0u);
}

TEST_F(Card, StorageConfigOne_IsTheFirstFolder) {
  start();
  for (const char* config : {"1", "1\n", " 1 2\n"}) {
    SCOPED_TRACE(config);
    phone().write_file(STORAGE_CONFIG, config);
    expect_values(137, "", FIRST_CARD);
  }
  expect_log(phone(), "amt_device_tf_card--->getted storage config value: 1", 3);
  expect_log(phone(), "external tf card capability: 12582912 KB", 3);
  end_with(phone(), SIGTERM);
}

TEST_F(Card, OtherStorageConfig_IsTheSecondFolder) {
  start();
  for (const char* config : {"0\n", "2\n", "11\n", "-1\n", "", "card\n", "x1\n"}) {
    SCOPED_TRACE(config);
    phone().write_file(STORAGE_CONFIG, config);
    expect_values(137, "", SECOND_CARD);
  }
  expect_log(phone(), "amt_device_tf_card--->getted storage config value: ", 4);
}

TEST_F(Card, UnreadableStorageConfig_IsTheSecondFolder) {
  start();
  for (const auto fault : {file_fault::open, file_fault::io}) {
    phone().write_file(STORAGE_CONFIG, "1\n");
    phone().parts().fail(STORAGE_CONFIG, fault);
    expect_values(137, "", SECOND_CARD);
    phone().parts().heal(STORAGE_CONFIG);
    expect_values(137, "", FIRST_CARD);
  }
}

TEST_F(Card, NotMounted_HasNothingAndIsNoError) {
  auto options = platform();
  options.cards = {{"/storage/sdcard0", 12'582'912}};
  start(options);
  expect_values(137, "", NO_CARD);
  expect_log(phone(), "file system \"/storage/sdcard1\" has not been mounted");
  expect_log(phone(), "tf card capability: 0 KB");
  EXPECT_EQ(phone().log().count("external tf card capability: "), 0u);
  phone().write_file(STORAGE_CONFIG, "1\n");
  expect_values(137, "", FIRST_CARD);
}

TEST_F(Card, FirstFolderNotMounted_HasNothingAndIsNoError) {
  auto options = platform();
  options.cards = {{"/storage/sdcard1", 31'166'976}};
  options.files[STORAGE_CONFIG] = "1\n";
  start(options);
  expect_values(137, "", NO_CARD);
  expect_log(phone(), "file system \"/storage/sdcard0\" has not been mounted");
}

// The capacity is a number of 32 bits; how wide the processor's own numbers are makes no difference.
TEST_F(Card, OfTerabytes_GivesTheLow32BitsOfItsKilobytes) {
  auto options = platform();
  options.cards = {{"/storage/sdcard0", 5'368'709'120}, {"/storage/sdcard1", 3'221'225'472}};
  start(options);
  expect_values(137, "", "EE 37 01 0400 000000C0");
  expect_log(phone(), "external tf card capability: 3221225472 KB");
  phone().write_file(STORAGE_CONFIG, "1\n");
  expect_values(137, "", "EE 37 01 0400 00000040");
}

// A mount is looked for by a part of its line.
TEST_F(Card, FolderOfALongerNameMounted_HasNothing) {
  auto options = platform();
  options.cards = {{"/storage/sdcard10", 1000}};
  start(options);
  expect_values(137, "", NO_CARD);
  expect_log(phone(), "sys call: statfs() failed! errno = 2");
}

class DeviceInformation : public AppDevicePhone {};

TEST_F(DeviceInformation, Text_IsTheLibrarys) {
  start();
  const auto before = board_calls();
  expect_values(238, "",
                "EE C8 02 3500 626F6172643D7678353231303B6C63643D37323078313238303B746F7563683D6F6B3B"
                "63616D6572613D384D2B324D3B73696D3D32");
  EXPECT_EQ(board_calls(), before + "create_devinfo(buffer, 4055) = 0\n");
  expect_log(phone(), "will call create_devinfo.");
  expect_log(phone(), "stop call create_devinfo. return value:0.");
  expect_log(phone(), "create_devinfo return OK. board=vx5210;lcd=720x1280;touch=ok;camera=8M+2M;sim=2");
  end_with(phone(), SIGTERM);
}

TEST_F(DeviceInformation, EmptyText_IsAnEmptyAtom) {
  start();
  phone().write_file("/data/board/devinfo", "");
  expect_values(238, "", "EE C8 02 0000");
}

TEST_F(DeviceInformation, TextOf4055Characters_IsWholeAndALongerOneCut) {
  start();
  std::string letters;
  for (int count = 0; count < 4055; ++count) letters += "61";
  phone().write_file("/data/board/devinfo", std::string(4055, 'a'));
  expect_values(238, "", "EE C8 02 D70F" + letters);
  phone().write_file("/data/board/devinfo", std::string(4055, 'a') + "b");
  expect_values(238, "", "EE C8 02 D70F" + letters);
}

TEST_F(DeviceInformation, LibraryRefuses_Fails) {
  start();
  set_board_result("create_devinfo = 5");
  expect_failure(238);
  expect_log(phone(), "stop call create_devinfo. return value:5.");
  set_board_result("create_devinfo = -100");
  expect_failure(238);
  expect_log(phone(), "stop call create_devinfo. return value:-100.");
  EXPECT_EQ(phone().log().count("create_devinfo return OK."), 0u);
}

TEST_F(DeviceInformation, WithoutLibrary_Fails) {
  start(without_board_library());
  expect_failure(238);
  expect_log(phone(), "call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so: cannot open shared object file");
}

TEST_F(DeviceInformation, LibraryWithoutTheOperation_Fails) {
  start(with_empty_board_library());
  expect_failure(238);
  expect_log(phone(), "call dlopen fail: - /system/lib64/hw/amt.vx5210.misc.so: undefined symbol: create_devinfo");
}

TEST_F(DeviceInformation, BoardOfTheOtherModel_AsksItsOwnLibrary) {
  auto options = platform();
  options.properties["ro.board.platform"] = "vx5211-evb";
  start(options);
  expect_failure(238);
  expect_log(phone(), "call dlopen fail: - /system/lib64/hw/amt.vx5211.misc.so: cannot open shared object file");
  phone().write_file("/system/lib64/hw/amt.vx5211.misc.so", content(BOARD_LIBRARY));
  phone().write_file("/data/board/devinfo", "ok");
  expect_values(238, "", "EE C8 02 0200 6F6B");
}

// The twelve characters that always go out hold one digit and the carriage return, or two digits.
class ChannelSwitch : public AppDevicePhone {
 protected:
  std::string asked() {
    return phone().simulated_modem().received(handset::modem_link::at).text().substr(LINK_STATUS_OFF.size());
  }
};

TEST_F(ChannelSwitch, OneDigit_IsAWholeCommand) {
  start();
  expect_done(232, "EE 9F 01 0400 05000000");
  EXPECT_EQ(asked(), "AT^DMPCHN=5\r");
  EXPECT_EQ(phone().simulated_modem().state().channel, "5");
}

TEST_F(ChannelSwitch, TwoDigits_LoseTheCarriageReturnAndTheModemActsAllTheSame) {
  start();
  expect_done(232, "EE 9F 01 0400 0C000000");
  EXPECT_EQ(asked(), "AT^DMPCHN=12");
  EXPECT_EQ(phone().simulated_modem().state().channel, "12");
}

TEST_F(ChannelSwitch, WithoutAChannel_IsChannelZero) {
  start();
  expect_done(232);
  EXPECT_EQ(asked(), "AT^DMPCHN=0\r");
}

TEST_F(ChannelSwitch, ModemRefuses_FailsAndItsWordsAreLogged) {
  start();
  phone().simulated_modem().change_switches([](auto& switches) { switches.refuse = true; });
  expect_failure(232, "EE 9F 01 0400 05000000");
  expect_log(phone(), "amt_channel_switch(), error_code=-100, ");
}

// A modem that the test plays: it hears two characters, or a sign, without the end of the line.
TEST(ChannelSwitchRaw, MoreThanOneCharacter_LosesWhatDoesNotFit) {
  handset::phone phone(platform_with_raw_modem());
  start_app_with_raw_modem(phone);
  const struct {
    const char* m_channel;
    std::string_view m_command;
  } steps[] = {{"0C000000", "AT^DMPCHN=12"}, {"7B000000", "AT^DMPCHN=12"}, {"FFFFFFFF", "AT^DMPCHN=-1"}};
  for (const auto& step : steps) {
    SCOPED_TRACE(step.m_channel);
    ASSERT_TRUE(phone.app().write_all(frame(232, "EE 9F 01 0400" + std::string(step.m_channel))));
    EXPECT_EQ(phone.at_end().read_exactly(12), step.m_command);
    EXPECT_EQ(phone.at_end().read_pending(), "");
    ASSERT_TRUE(phone.at_end().write_all(OK));
    EXPECT_EQ(to_hex(phone.app().read_exactly(15)), to_hex(result_frame(233, "00000000")));
  }
}

TEST(ChannelSwitchRaw, FirstReadWithoutOk_Fails) {
  handset::phone phone(platform_with_raw_modem());
  start_app_with_raw_modem(phone);
  ASSERT_TRUE(phone.app().write_all(frame(232, "EE 9F 01 0400 01000000")));
  ASSERT_EQ(phone.at_end().read_exactly(12), "AT^DMPCHN=1\r");
  ASSERT_TRUE(phone.at_end().write_all("\r\nBUSY\r\n"));
  EXPECT_EQ(to_hex(phone.app().read_exactly(15)), to_hex(result_frame(233, "01000000")));
  expect_log(phone, " \r\nBUSY\r\n\n", 2);  // as what was read, then as what is no confirmation
}

}  // namespace
