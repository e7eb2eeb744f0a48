#include "tests/unit/device-tests/device-test.h"

namespace {

constexpr char LCD[] = "/sys/class/leds/lcd-backlight/brightness";
constexpr char BUTTON[] = "/sys/class/leds/button-backlight/brightness";
constexpr char VIBRATOR[] = "/sys/class/timed_output/vibrator/enable";

constexpr char COLOR_OK[] = "0F 00 BB 1E 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char VIBRATOR_OK[] = "0F 00 BB 24 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char BUTTON_OK[] = "0F 00 BB 26 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char BRIGHTNESS_OK[] = "0F 00 BB 3A 09 00 EE 01 01 04 00 00 00 00 00";

using display_test = device_test;

TEST_F(display_test, LcdColor_Asked_IsAnsweredWithoutADevice) {
  EXPECT_EQ(app(29), 0);
  EXPECT_EQ(to_app(), COLOR_OK);
  EXPECT_TRUE(std::filesystem::is_empty("/sys/class"));
}

TEST_F(display_test, LcdColor_LinkClosed_GivesTheSendersResult) {
  close_links();
  EXPECT_EQ(app(29), ERR_FAIL);
}

TEST_F(display_test, LcdBrightness_LevelUpTo255_IsWritten) {
  for (const std::uint32_t level : {0u, 100u, 255u}) {
    write_file(LCD, "80");
    EXPECT_EQ(app(57, int_atom(26, level)), 0);
    EXPECT_EQ(content_of(LCD), std::to_string(level));
    EXPECT_EQ(to_app(), BRIGHTNESS_OK);
  }
  EXPECT_TRUE(m_log.has_in_a_row({"amt_device_lcd_brightness lcd_brightness: 100",
                                  "amt_device_lcd_brightness src_lcd_brightness: 80", "lcd_brightness: 100"}));
}

TEST_F(display_test, LcdBrightness_LevelAbove255_RestoresWhatThePhoneHadFirst) {
  write_file(LCD, "80");
  app(57, int_atom(26, 100));
  for (const std::uint32_t level : {256u, 300u, 0xFFFFFFFFu}) {
    write_file(LCD, "100");
    EXPECT_EQ(app(57, int_atom(26, level)), 0);
    EXPECT_EQ(content_of(LCD), "80");
  }
  EXPECT_TRUE(m_log.has_in_a_row({"amt_device_lcd_brightness lcd_brightness: 300",
                                  "amt_device_lcd_brightness src_lcd_brightness: 80", "src_lcd_brightness: 80"}));
}

TEST_F(display_test, LcdBrightness_PhoneHadMoreThan255_RestoreGives200) {
  write_file(LCD, "1023");
  EXPECT_EQ(app(57, int_atom(26, 300)), 0);
  EXPECT_EQ(content_of(LCD), "200");
}

TEST_F(display_test, LcdBrightness_NeverReadable_RestoreGives200AndReadingIsTriedAgain) {
  write_file(LCD, "bright");
  EXPECT_EQ(app(57, int_atom(26, 300)), 0);
  EXPECT_EQ(content_of(LCD), "200");
  EXPECT_EQ(to_app(), BRIGHTNESS_OK);
  EXPECT_TRUE(m_log.contains("fscanf() return: 0; "));
  EXPECT_TRUE(m_log.has_in_a_row({"amt_device_lcd_brightness src_lcd_brightness: -1", "lcd_brightness: 200"}));

  write_file(LCD, "70");
  EXPECT_EQ(app(57, int_atom(26, 300)), 0);
  EXPECT_EQ(content_of(LCD), "70");
}

TEST_F(display_test, LcdBrightness_NoAtom_WritesZero) {
  write_file(LCD, "80");
  EXPECT_EQ(app(57), 0);
  EXPECT_EQ(content_of(LCD), "0");
}

TEST_F(display_test, LcdBrightness_FileMissing_GivesZeroAndNoAnswerAtAll) {
  EXPECT_EQ(app(57, int_atom(26, 100)), 0);
  EXPECT_TRUE(is_silent());
  EXPECT_EQ(m_log.count("Open file \"/sys/class/leds/lcd-backlight/brightness\" fail: 2 - No such file or directory"),
            2u);
}

TEST_F(display_test, LcdBrightness_WriteFails_GivesZeroAndNoAnswerAtAll) {
  make_full_file(LCD);
  EXPECT_EQ(app(57, int_atom(26, 100)), 0);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.has("fprintf() return: -1; 28 - No space left on device"));
}

TEST_F(display_test, LcdBrightness_LinkClosed_GivesZero) {
  write_file(LCD, "80");
  close_links();
  EXPECT_EQ(app(57, int_atom(26, 100)), 0);
  EXPECT_EQ(content_of(LCD), "100");
}

TEST_F(display_test, Vibrator_Start_GetsAThreeSecondPulse) {
  write_file(VIBRATOR, "0");
  EXPECT_EQ(app(35, flag_atom(15, 1)), 0);
  EXPECT_EQ(content_of(VIBRATOR), "3000");
  EXPECT_EQ(to_app(), VIBRATOR_OK);
  EXPECT_TRUE(m_log.has("start vibrator"));
}

TEST_F(display_test, Vibrator_NoFlag_Starts) {
  write_file(VIBRATOR, "0");
  EXPECT_EQ(app(35), 0);
  EXPECT_EQ(content_of(VIBRATOR), "3000");
  EXPECT_TRUE(m_log.has("start vibrator"));
}

TEST_F(display_test, Vibrator_FlagTwo_StartsAndIsLoggedAsStop) {
  write_file(VIBRATOR, "0");
  EXPECT_EQ(app(35, flag_atom(15, 2)), 0);
  EXPECT_EQ(content_of(VIBRATOR), "3000");
  EXPECT_TRUE(m_log.has("stop vibrator"));
}

TEST_F(display_test, Vibrator_Stop_WritesZero) {
  write_file(VIBRATOR, "3000");
  EXPECT_EQ(app(35, flag_atom(15, 0)), 0);
  EXPECT_EQ(content_of(VIBRATOR), "0");
  EXPECT_EQ(to_app(), VIBRATOR_OK);
  EXPECT_TRUE(m_log.has("stop vibrator"));
}

TEST_F(display_test, Vibrator_FileMissing_IsASystemError) {
  for (const std::uint8_t operation : {0, 1}) EXPECT_EQ(app(35, flag_atom(15, operation)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_vibrator", ERR_SYSTEM)));
  EXPECT_TRUE(m_log.has("Open file \"/sys/class/timed_output/vibrator/enable\" fail: 2 - No such file or directory"));
}

TEST_F(display_test, Vibrator_WriteFails_IsASystemError) {
  make_full_file(VIBRATOR);
  EXPECT_EQ(app(35, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.has("fprintf() return: -1; 28 - No space left on device"));
}

TEST_F(display_test, ButtonBacklight_Flag_IsWrittenAsItIs) {
  const std::pair<std::uint8_t, const char*> rows[] = {
      {0, "close button backlight"}, {1, "open button backlight"}, {7, "close button backlight"}};
  for (const auto& [value, line] : rows) {
    write_file(BUTTON, "9");
    m_log.clear();
    EXPECT_EQ(app(37, flag_atom(15, value)), 0);
    EXPECT_EQ(content_of(BUTTON), std::to_string(value));
    EXPECT_EQ(to_app(), BUTTON_OK);
    EXPECT_TRUE(m_log.has(line));
  }
}

TEST_F(display_test, ButtonBacklight_NoFlag_SwitchesOn) {
  write_file(BUTTON, "0");
  EXPECT_EQ(app(37), 0);
  EXPECT_EQ(content_of(BUTTON), "1");
}

TEST_F(display_test, ButtonBacklight_FileMissing_IsASystemError) {
  EXPECT_EQ(app(37, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_button_backlight", ERR_SYSTEM)));
  EXPECT_TRUE(
      m_log.has("Open file \"/sys/class/leds/button-backlight/brightness\" fail: 2 - No such file or directory"));
}

TEST_F(display_test, ButtonBacklight_WriteFails_IsASystemError) {
  make_full_file(BUTTON);
  EXPECT_EQ(app(37, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(m_log.has("fprintf() return: -1; 28 - No space left on device"));
}

}  // namespace
