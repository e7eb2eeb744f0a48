#include "tests/unit/device/device-test.h"

namespace {

constexpr char LCD[] = "/sys/class/leds/lcd-backlight/brightness";
constexpr char BUTTON[] = "/sys/class/leds/button-backlight/brightness";
constexpr char VIBRATOR[] = "/sys/class/timed_output/vibrator/enable";

constexpr char COLOR_OK[] = "0F 00 BB 1E 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char VIBRATOR_OK[] = "0F 00 BB 24 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char BUTTON_OK[] = "0F 00 BB 26 09 00 EE 01 01 04 00 00 00 00 00";
constexpr char BRIGHTNESS_OK[] = "0F 00 BB 3A 09 00 EE 01 01 04 00 00 00 00 00";

using Display = device_test;

TEST_F(Display, LcdColor_Asked_IsAnsweredWithoutADevice) {
  EXPECT_EQ(app(29), 0);
  EXPECT_EQ(to_app(), COLOR_OK);
  EXPECT_TRUE(std::filesystem::is_empty("/sys/class"));
}

TEST_F(Display, LcdColor_LinkClosed_GivesTheSendersResult) {
  close_links();
  EXPECT_EQ(app(29), ERR_FAIL);
}

TEST_F(Display, LcdBrightness_LevelUpTo255_IsWritten) {
  for (const std::uint32_t level : {0u, 100u, 255u}) {
    write_file(LCD, "80");
    EXPECT_EQ(app(57, int_atom(26, level)), 0);
    EXPECT_EQ(content_of(LCD), std::to_string(level));
    EXPECT_EQ(to_app(), BRIGHTNESS_OK);
  }
  EXPECT_TRUE(m_log.has_in_a_row({"amt_device_lcd_brightness lcd_brightness: 100",
                                  "amt_device_lcd_brightness src_lcd_brightness: 80", "lcd_brightness: 100"}));
}

TEST_F(Display, LcdBrightness_LevelAbove255_RestoresWhatThePhoneHadFirst) {
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

TEST_F(Display, LcdBrightness_PhoneHadMoreThan255_RestoreGives200) {
  write_file(LCD, "1023");
  EXPECT_EQ(app(57, int_atom(26, 300)), 0);
  EXPECT_EQ(content_of(LCD), "200");
}

TEST_F(Display, LcdBrightness_NeverReadable_RestoreGives200AndReadingIsTriedAgain) {
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

TEST_F(Display, LcdBrightness_NoAtom_WritesZero) {
  write_file(LCD, "80");
  EXPECT_EQ(app(57), 0);
  EXPECT_EQ(content_of(LCD), "0");
}

// What a file holds that names no brightness to go back to; a number that an int cannot hold is none either.
TEST_F(Display, LcdBrightness_FileOfNoUse_RestoreGives200) {
  for (const char* content : {"", " ", "-", "bright", "\xFF\xFE", "-5", "256", "2147483647", "99999999999999999999"}) {
    g_src_lcd_brightness = -1;
    write_file(LCD, content);
    EXPECT_EQ(app(57, int_atom(26, 300)), 0);
    EXPECT_EQ(content_of(LCD), "200") << content;
    EXPECT_EQ(to_app(), BRIGHTNESS_OK);
  }
}

TEST_F(Display, LcdBrightness_ReadAsNegativeAndThenNotReadable_StaysAsItWas) {
  write_file(LCD, "-5");
  app(57, int_atom(26, 300));
  write_file(LCD, "bright");
  app(57, int_atom(26, 300));
  EXPECT_EQ(m_log.count("amt_device_lcd_brightness src_lcd_brightness: -5"), 2u);
}

TEST_F(Display, LcdBrightness_AtomOfAnotherLength_IsItsFirstFourBytes) {
  const std::pair<std::string, const char*> rows[] = {
      {"", "0"}, {"\x07", "7"}, {std::string("\x07\x01", 2), "80"}, {std::string("\x07\0\0\0\x09", 5), "7"}};
  for (const auto& [value, written] : rows) {
    write_file(LCD, "80");
    EXPECT_EQ(app(57, atom(26, 1, value)), 0);
    EXPECT_EQ(content_of(LCD), written) << to_hex(value);
  }
}

TEST_F(Display, LcdBrightness_FileMissing_GivesZeroAndNoAnswerAtAll) {
  EXPECT_EQ(app(57, int_atom(26, 100)), 0);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(is_clear(g_handle_context.m_response));
  const auto trace = device_failure("amt_device_lcd_brightness", ERR_SYSTEM, "2");
  const char* missing = "Open file \"/sys/class/leds/lcd-backlight/brightness\" fail: 2 - No such file or directory";
  EXPECT_THAT(
      log(), ElementsAre("amt_device_lcd_brightness()", trace, missing, "amt_device_lcd_brightness lcd_brightness: 100",
                         "amt_device_lcd_brightness src_lcd_brightness: -1", "lcd_brightness: 100", trace, missing));
}

TEST_F(Display, LcdBrightness_MayOnlyBeRead_GivesZeroAndNoAnswerAtAll) {
  write_file(LCD, "80");
  std::filesystem::permissions(LCD, std::filesystem::perms::owner_read);
  EXPECT_EQ(app(57, int_atom(26, 100)), 0);
  EXPECT_TRUE(is_silent());
  EXPECT_EQ(content_of(LCD), "80");
  EXPECT_THAT(log(),
              ElementsAre("amt_device_lcd_brightness()", "amt_device_lcd_brightness lcd_brightness: 100",
                          "amt_device_lcd_brightness src_lcd_brightness: 80", "lcd_brightness: 100",
                          device_failure("amt_device_lcd_brightness", ERR_SYSTEM, "13"),
                          "Open file \"/sys/class/leds/lcd-backlight/brightness\" fail: 13 - Permission denied"));
}

TEST_F(Display, LcdBrightness_WriteFails_GivesZeroAndNoAnswerAtAll) {
  make_full_file(LCD);
  g_src_lcd_brightness = 80;
  EXPECT_EQ(app(57, int_atom(26, 100)), 0);
  EXPECT_TRUE(is_silent());
  EXPECT_TRUE(is_clear(g_handle_context.m_response));
  EXPECT_THAT(log(), ElementsAre("amt_device_lcd_brightness()", "amt_device_lcd_brightness lcd_brightness: 100",
                                 "amt_device_lcd_brightness src_lcd_brightness: 80", "lcd_brightness: 100",
                                 device_failure("amt_device_lcd_brightness", ERR_SYSTEM, "28"),
                                 "fprintf() return: -1; 28 - No space left on device"));
}

TEST_F(Display, LcdBrightness_LinkClosed_GivesZero) {
  write_file(LCD, "80");
  close_links();
  EXPECT_EQ(app(57, int_atom(26, 100)), 0);
  EXPECT_EQ(content_of(LCD), "100");
}

TEST_F(Display, Vibrator_Start_GetsAThreeSecondPulse) {
  write_file(VIBRATOR, "0");
  EXPECT_EQ(app(35, flag_atom(15, 1)), 0);
  EXPECT_EQ(content_of(VIBRATOR), "3000");
  EXPECT_EQ(to_app(), VIBRATOR_OK);
  EXPECT_TRUE(m_log.has("start vibrator"));
}

TEST_F(Display, Vibrator_NoFlag_Starts) {
  write_file(VIBRATOR, "0");
  EXPECT_EQ(app(35), 0);
  EXPECT_EQ(content_of(VIBRATOR), "3000");
  EXPECT_TRUE(m_log.has("start vibrator"));
}

TEST_F(Display, Vibrator_FlagAboveOne_StartsAndIsLoggedAsStop) {
  for (const std::uint8_t flag : {2, 128, 255}) {
    write_file(VIBRATOR, "0");
    m_log.clear();
    EXPECT_EQ(app(35, flag_atom(15, flag)), 0);
    EXPECT_EQ(content_of(VIBRATOR), "3000");
    EXPECT_EQ(to_app(), VIBRATOR_OK);
    EXPECT_TRUE(m_log.has("stop vibrator"));
    EXPECT_FALSE(m_log.has("start vibrator"));
  }
}

// A flag is its atom's first four bytes, whatever type and length the atom has; without a byte it is 0.
TEST_F(Display, Vibrator_FlagOfAnotherLength_IsItsNumber) {
  const std::tuple<std::uint8_t, std::string, const char*> rows[] = {
      {4, "", "0"}, {4, std::string("\0\x01", 2), "3000"}, {1, std::string(4, '\0'), "0"}, {2, "0", "3000"}};
  for (const auto& [type, value, written] : rows) {
    write_file(VIBRATOR, "9");
    EXPECT_EQ(app(35, atom(15, type, value)), 0);
    EXPECT_EQ(content_of(VIBRATOR), written) << to_hex(value);
    EXPECT_EQ(to_app(), VIBRATOR_OK);
  }
}

TEST_F(Display, Vibrator_Stop_WritesZero) {
  write_file(VIBRATOR, "3000");
  EXPECT_EQ(app(35, flag_atom(15, 0)), 0);
  EXPECT_EQ(content_of(VIBRATOR), "0");
  EXPECT_EQ(to_app(), VIBRATOR_OK);
  EXPECT_TRUE(m_log.has("stop vibrator"));
}

TEST_F(Display, Vibrator_FileMissing_IsASystemError) {
  for (const std::uint8_t operation : {0, 1}) EXPECT_EQ(app(35, flag_atom(15, operation)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_vibrator", ERR_SYSTEM, "2")).Times(2));
  EXPECT_TRUE(m_log.has("Open file \"/sys/class/timed_output/vibrator/enable\" fail: 2 - No such file or directory"));
}

TEST_F(Display, Vibrator_WriteFails_IsASystemError) {
  make_full_file(VIBRATOR);
  EXPECT_EQ(app(35, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), ElementsAre("amt_device_vibrator()", device_failure("amt_device_vibrator", ERR_SYSTEM, "28"),
                                 "fprintf() return: -1; 28 - No space left on device"));
}

TEST_F(Display, ButtonBacklight_Flag_IsWrittenAsItIs) {
  const std::pair<std::uint8_t, const char*> rows[] = {{0, "close button backlight"},
                                                       {1, "open button backlight"},
                                                       {2, "close button backlight"},
                                                       {255, "close button backlight"}};
  for (const auto& [value, line] : rows) {
    write_file(BUTTON, "9");
    m_log.clear();
    EXPECT_EQ(app(37, flag_atom(15, value)), 0);
    EXPECT_EQ(content_of(BUTTON), std::to_string(value));
    EXPECT_EQ(to_app(), BUTTON_OK);
    EXPECT_TRUE(m_log.has(line));
  }
}

TEST_F(Display, ButtonBacklight_NoFlag_SwitchesOn) {
  write_file(BUTTON, "0");
  EXPECT_EQ(app(37), 0);
  EXPECT_EQ(content_of(BUTTON), "1");
}

TEST_F(Display, ButtonBacklight_FileMissing_IsASystemError) {
  EXPECT_EQ(app(37, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_button_backlight", ERR_SYSTEM, "2")));
  EXPECT_TRUE(
      m_log.has("Open file \"/sys/class/leds/button-backlight/brightness\" fail: 2 - No such file or directory"));
}

TEST_F(Display, ButtonBacklight_WriteFails_IsASystemError) {
  make_full_file(BUTTON);
  EXPECT_EQ(app(37, flag_atom(15, 1)), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), ElementsAre("amt_device_button_backlight()",
                                 device_failure("amt_device_button_backlight", ERR_SYSTEM, "28"),
                                 "fprintf() return: -1; 28 - No space left on device"));
}

}  // namespace
