// Lights and the vibrator: what the application asks for, what the drivers' files then hold, and what comes back.
#include "tests/handset/app-device-phone.h"

using namespace handset_test;

namespace {

constexpr char SCREEN_LIGHT[] = "/sys/class/leds/lcd-backlight/brightness";
constexpr char KEY_LIGHT[] = "/sys/class/leds/button-backlight/brightness";
constexpr char VIBRATOR[] = "/sys/class/timed_output/vibrator/enable";

class ScreenColour : public AppDevicePhone {};

TEST_F(ScreenColour, AnyRequest_IsAcknowledgedAndTouchesNothing) {
  start();
  const auto before = phone().parts().state();
  const auto calls = device_calls();
  const auto board = board_calls();
  expect_done(29);
  expect_done(29, "EE 0F 04 0100 01  EE 1A 01 0400 64000000");
  EXPECT_EQ(phone().parts().state(), before);
  EXPECT_EQ(device_calls(), calls);
  EXPECT_EQ(board_calls(), board);
}

TEST_F(ScreenColour, WithoutAnyHardware_IsAcknowledged) {
  auto options = without_board_library();
  options.has_hardware = false;
  options.screen = std::nullopt;
  start(options);
  expect_done(29);
}

class ScreenLight : public AppDevicePhone {
 protected:
  // Sends levels that get no answer: the first answer is that to the request after them.
  void expect_silence(std::string_view line, std::size_t times) {
    ASSERT_TRUE(phone().app().write_all(frame(57, "EE 1A 01 0400 64000000")));
    // Two requests in one read would be taken as one: the second waits for the end of the first.
    ASSERT_TRUE(phone().log().wait_count(line, times)) << phone().log().text();
    expect_done(29);
    EXPECT_EQ(phone().log().count(line), times);
  }
};

TEST_F(ScreenLight, Level100_IsWritten) {
  start();
  expect_done(57, "EE 1A 01 0400 64000000");
  EXPECT_EQ(content(SCREEN_LIGHT), "100");
  EXPECT_EQ(state("screen light"), "100");
  expect_log(phone(), "amt_device_lcd_brightness lcd_brightness: 100");
  expect_log(phone(), "amt_device_lcd_brightness src_lcd_brightness: 102");
  end_with(phone(), SIGTERM);
}

TEST_F(ScreenLight, LowestAndHighestLevel_AreWritten) {
  start();
  expect_done(57, "EE 1A 01 0400 FF000000");
  EXPECT_EQ(content(SCREEN_LIGHT), "255");
  expect_done(57, "EE 1A 01 0400 00000000");
  EXPECT_EQ(content(SCREEN_LIGHT), "0");
}

TEST_F(ScreenLight, WithoutALevel_IsSwitchedOff) {
  start();
  expect_done(57);
  EXPECT_EQ(content(SCREEN_LIGHT), "0");
}

TEST_F(ScreenLight, LevelAbove255_RestoresWhatThePhoneHadAtFirst) {
  start();
  for (const char* level : {"2C010000", "00010000", "FFFFFFFF"}) {
    SCOPED_TRACE(level);
    expect_done(57, "EE 1A 01 0400 64000000");
    expect_done(57, "EE 1A 01 0400 07000000");
    expect_done(57, "EE 1A 01 0400" + std::string(level));
    EXPECT_EQ(content(SCREEN_LIGHT), "102");
  }
}

TEST_F(ScreenLight, Level300First_ReadsAndWritesTheSameValue) {
  start();
  phone().write_file(SCREEN_LIGHT, "31\n");
  expect_done(57, "EE 1A 01 0400 2C010000");
  EXPECT_EQ(content(SCREEN_LIGHT), "31");
  expect_log(phone(), "src_lcd_brightness: 31", 2);  // as the value that is known, then as the one that is chosen
}

TEST_F(ScreenLight, Level300WithNothingToRead_Is200) {
  start();
  phone().write_file(SCREEN_LIGHT, "");
  expect_done(57, "EE 1A 01 0400 2C010000");
  EXPECT_EQ(content(SCREEN_LIGHT), "200");
  expect_log(phone(), "fscanf() return: -1; ");
  expect_log(phone(), "amt_device_lcd_brightness src_lcd_brightness: -1");
}

TEST_F(ScreenLight, Level300WithNoNumberToRead_Is200) {
  start();
  phone().write_file(SCREEN_LIGHT, "bright\n");
  expect_done(57, "EE 1A 01 0400 2C010000");
  EXPECT_EQ(content(SCREEN_LIGHT), "200");
  expect_log(phone(), "fscanf() return: 0; ");
}

TEST_F(ScreenLight, FirstReadFailed_IsReadAgainAtTheNextRequest) {
  start();
  phone().write_file(SCREEN_LIGHT, "");
  expect_done(57, "EE 1A 01 0400 64000000");
  EXPECT_EQ(content(SCREEN_LIGHT), "100");
  phone().write_file(SCREEN_LIGHT, "77\n");
  expect_done(57, "EE 1A 01 0400 05000000");
  expect_done(57, "EE 1A 01 0400 2C010000");
  EXPECT_EQ(content(SCREEN_LIGHT), "77");
}

TEST_F(ScreenLight, Level300WithMoreThan255OrLessThan0ToRead_Is200) {
  start();
  phone().write_file(SCREEN_LIGHT, "-5\n");
  expect_done(57, "EE 1A 01 0400 2C010000");
  EXPECT_EQ(content(SCREEN_LIGHT), "200");
  phone().write_file(SCREEN_LIGHT, "256\n");
  expect_done(57, "EE 1A 01 0400 2C010000");
  EXPECT_EQ(content(SCREEN_LIGHT), "200");
  expect_log(phone(), "amt_device_lcd_brightness src_lcd_brightness: 256");
}

TEST_F(ScreenLight, CannotBeOpened_GivesNoAnswerAtAll) {
  start();
  phone().parts().fail(SCREEN_LIGHT, file_fault::open);
  // It is tried for reading, then for writing.
  expect_silence("Open file \"/sys/class/leds/lcd-backlight/brightness\" fail: 13 - Permission denied", 2);
  phone().parts().heal(SCREEN_LIGHT);
  expect_done(57, "EE 1A 01 0400 64000000");
  EXPECT_EQ(content(SCREEN_LIGHT), "100");
}

TEST_F(ScreenLight, Missing_GivesNoAnswerAtAll) {
  start();
  phone().remove("/sys/class/leds/lcd-backlight");
  expect_silence("Open file \"/sys/class/leds/lcd-backlight/brightness\" fail: 2 - No such file or directory", 2);
}

TEST_F(ScreenLight, CannotBeWritten_GivesNoAnswerAtAll) {
  start();
  expect_done(57, "EE 1A 01 0400 05000000");
  phone().parts().fail(SCREEN_LIGHT, file_fault::io);
  expect_silence("fprintf() return: -1; 5 - Input/output error", 1);
  expect_silence("fprintf() return: -1; 5 - Input/output error", 2);
  EXPECT_EQ(state("screen light"), "5");
  phone().parts().heal(SCREEN_LIGHT);
  expect_done(57, "EE 1A 01 0400 64000000");
  EXPECT_EQ(content(SCREEN_LIGHT), "100");
}

class KeyLight : public AppDevicePhone {};

TEST_F(KeyLight, FlagOne_SwitchesOn) {
  start();
  expect_done(37, "EE 0F 04 0100 01");
  EXPECT_EQ(content(KEY_LIGHT), "1");
  EXPECT_EQ(state("key light"), "on");
  expect_log(phone(), "open button backlight");
}

TEST_F(KeyLight, FlagZero_SwitchesOff) {
  start();
  phone().write_file(KEY_LIGHT, "1");
  expect_done(37, "EE 0F 04 0100 00");
  EXPECT_EQ(content(KEY_LIGHT), "0");
  EXPECT_EQ(state("key light"), "off");
  expect_log(phone(), "close button backlight");
}

TEST_F(KeyLight, WithoutAFlag_SwitchesOn) {
  start();
  expect_done(37, "EE 1A 01 0400 00000000");
  EXPECT_EQ(content(KEY_LIGHT), "1");
}

TEST_F(KeyLight, OtherValues_AreWrittenAsTheyAre) {
  start();
  expect_done(37, "EE 0F 04 0100 FF");
  EXPECT_EQ(content(KEY_LIGHT), "255");
  expect_done(37, "EE 0F 01 0400 E8030000  EE 0F 04 0100 00");  // the first of two atoms counts
  EXPECT_EQ(content(KEY_LIGHT), "1000");
  expect_log(phone(), "close button backlight", 2);
}

TEST_F(KeyLight, CannotBeOpened_Fails) {
  start();
  phone().parts().fail(KEY_LIGHT, file_fault::open);
  expect_failure(37, "EE 0F 04 0100 01");
  expect_log(phone(), "Open file \"/sys/class/leds/button-backlight/brightness\" fail: 13 - Permission denied");
  EXPECT_EQ(phone().log().count("button backlight"), 0u);
  phone().parts().heal(KEY_LIGHT);
  expect_done(37, "EE 0F 04 0100 01");
}

TEST_F(KeyLight, CannotBeWritten_Fails) {
  start();
  phone().parts().fail(KEY_LIGHT, file_fault::io);
  expect_failure(37, "EE 0F 04 0100 01");
  expect_log(phone(), "fprintf() return: -1; 5 - Input/output error");
  EXPECT_EQ(phone().log().count("button backlight"), 0u);
  phone().parts().heal(KEY_LIGHT);
  expect_done(37, "EE 0F 04 0100 01");
}

class Vibrator : public AppDevicePhone {};

TEST_F(Vibrator, FlagOne_StartsAPulseOfThreeSeconds) {
  start();
  expect_done(35, "EE 0F 04 0100 01");
  EXPECT_EQ(content(VIBRATOR), "3000");
  expect_log(phone(), "start vibrator");
}

TEST_F(Vibrator, WithoutAFlag_Starts) {
  start();
  expect_done(35);
  EXPECT_EQ(content(VIBRATOR), "3000");
  expect_log(phone(), "start vibrator");
}

TEST_F(Vibrator, FlagTwo_StartsAndIsLoggedAsAStop) {
  start();
  expect_done(35, "EE 0F 04 0100 02");
  EXPECT_EQ(content(VIBRATOR), "3000");
  expect_log(phone(), "stop vibrator");
  EXPECT_EQ(phone().log().count("start vibrator"), 0u);
}

TEST_F(Vibrator, FlagZero_StopsIt) {
  start();
  expect_done(35, "EE 0F 04 0100 01");
  expect_done(35, "EE 0F 04 0100 00");
  EXPECT_EQ(content(VIBRATOR), "0");
  EXPECT_EQ(state("vibrator"), "still");
  expect_log(phone(), "stop vibrator");
}

TEST_F(Vibrator, CannotBeOpened_Fails) {
  start();
  phone().parts().fail(VIBRATOR, file_fault::open);
  unsigned failures = 0;
  for (const char* flag : {"00", "01"}) {
    expect_failure(35, "EE 0F 04 0100" + std::string(flag));
    expect_log(phone(), "Open file \"/sys/class/timed_output/vibrator/enable\" fail: 13 - Permission denied",
               ++failures);
  }
  phone().parts().heal(VIBRATOR);
  expect_done(35, "EE 0F 04 0100 01");
}

TEST_F(Vibrator, CannotBeWritten_Fails) {
  start();
  phone().parts().fail(VIBRATOR, file_fault::io);
  expect_failure(35, "EE 0F 04 0100 01");
  expect_log(phone(), "fprintf() return: -1; 5 - Input/output error");
  EXPECT_EQ(phone().log().count("start vibrator"), 0u);
  phone().parts().heal(VIBRATOR);
  expect_done(35, "EE 0F 04 0100 01");
}

}  // namespace
