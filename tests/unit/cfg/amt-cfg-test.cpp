#include "amt/amt-cfg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "pub/result.h"
#include "tests/unit/failing-calls.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/temp-folder.h"

namespace {

using testing::ElementsAre;

class AmtCfg : public testing::Test {
 protected:
  AmtCfg() { std::memset(&g_amt_cfg, 0x55, sizeof g_amt_cfg); }

  std::int32_t read(std::string_view content) { return amt_cfg_init(m_folder.write("amt.cfg", content).c_str()); }

  static void expect_reset() {
    EXPECT_STREQ(g_amt_cfg.m_tty_pc_a, "");
    EXPECT_STREQ(g_amt_cfg.m_tty_app_a, "");
    EXPECT_STREQ(g_amt_cfg.m_tty_modem_a, "");
    EXPECT_STREQ(g_amt_cfg.m_tty_at_mux_a, "");
    EXPECT_STREQ(g_amt_cfg.m_audio_file_a, "");
    EXPECT_EQ(g_amt_cfg.m_audio_sample_rate, 0);
    EXPECT_EQ(g_amt_cfg.m_audio_format, 0);
    EXPECT_EQ(g_amt_cfg.m_audio_frame_count, 0);
    EXPECT_STREQ(g_amt_cfg.m_mode_file_a, "");
    EXPECT_EQ(g_amt_cfg.m_modem_uart_at_baudrate, 115200);
    EXPECT_EQ(g_amt_cfg.m_modem_uart_amt_baudrate, 115200);
  }

  log_capture m_log;
  temp_folder m_folder;
};

TEST_F(AmtCfg, EmptyFile_GivesTheDefaults) {
  EXPECT_EQ(read(""), ERR_NONE);
  expect_reset();
  EXPECT_THAT(m_log.texts(), ElementsAre("amt_cfg_init()", "parse_amt_cfg()"));
}

TEST_F(AmtCfg, EveryKey_IsStoredAndLogged) {
  EXPECT_EQ(read("vx.tty.pc=/dev/ttyPC\n"
                 "vx.tty.app=/dev/ttyAPP\n"
                 "vx.tty.modem=/dev/ttyS1\n"
                 "vx.tty.at.mux=/dev/ttyAT\n"
                 "vx.audio.file=/system/media/test.wav\n"
                 "vx.audio.sample.rate=8000\n"
                 "vx.audio.format=2\n"
                 "vx.audio.frame.count=-160\n"
                 "vx.mode.file=/amt/mode\n"
                 "vx.modem.uart.amt.default.baudrate=921600\n"
                 "vx.modem.uart.at.default.baudrate=460800\n"),
            ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_tty_pc_a, "/dev/ttyPC");
  EXPECT_STREQ(g_amt_cfg.m_tty_app_a, "/dev/ttyAPP");
  EXPECT_STREQ(g_amt_cfg.m_tty_modem_a, "/dev/ttyS1");
  EXPECT_STREQ(g_amt_cfg.m_tty_at_mux_a, "/dev/ttyAT");
  EXPECT_STREQ(g_amt_cfg.m_audio_file_a, "/system/media/test.wav");
  EXPECT_EQ(g_amt_cfg.m_audio_sample_rate, 8000);
  EXPECT_EQ(g_amt_cfg.m_audio_format, 2);
  EXPECT_EQ(g_amt_cfg.m_audio_frame_count, -160);
  EXPECT_STREQ(g_amt_cfg.m_mode_file_a, "/amt/mode");
  EXPECT_EQ(g_amt_cfg.m_modem_uart_amt_baudrate, 921600);
  EXPECT_EQ(g_amt_cfg.m_modem_uart_at_baudrate, 460800);
  EXPECT_THAT(
      m_log.texts(),
      ElementsAre("amt_cfg_init()", "parse_amt_cfg()", "[cfg]vx.tty.pc = /dev/ttyPC", "[cfg]vx.tty.app = /dev/ttyAPP",
                  "[cfg]vx.tty.modem = /dev/ttyS1", "[cfg]vx.tty.at.mux = /dev/ttyAT",
                  "[cfg]vx.audio.file = /system/media/test.wav", "[cfg]vx.audio.sample.rate = 8000",
                  "[cfg]vx.audio.format = 2", "[cfg]vx.audio.frame.count = -160", "[cfg]vx.mode.file = /amt/mode",
                  "[cfg]vx.modem.uart.amt.default.baudrate = 921600",
                  "[cfg]vx.modem.uart.at.default.baudrate = 460800"));
  EXPECT_EQ(m_log.lines()[0].m_tag, "vx-kro-amt");
}

TEST_F(AmtCfg, BlanksAndLineEnd_AreNotPartOfTheDevice) {
  EXPECT_EQ(read("  vx.tty.pc =  /dev/ttyGS0  \r\n"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_tty_pc_a, "/dev/ttyGS0");
}

TEST_F(AmtCfg, TabBehindTheKey_MakesItUnknown) {
  EXPECT_EQ(read("vx.tty.pc\t=/dev/ttyGS0\n"), ERR_NONE);
  expect_reset();
}

TEST_F(AmtCfg, TabInTheValue_IsKept) {
  EXPECT_EQ(read("vx.tty.pc= \t/dev/tty\t\n"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_tty_pc_a, "\t/dev/tty\t");
}

TEST_F(AmtCfg, Comments_AreSkipped) {
  EXPECT_EQ(read("#vx.tty.pc=/dev/a\n   # vx.tty.app=/dev/b\n#\n"), ERR_NONE);
  expect_reset();
}

TEST_F(AmtCfg, LinesWithoutKeyValueOrEqualsSign_AreSkipped) {
  EXPECT_EQ(read("vx.tty.pc=\nvx.tty.app=   \r\n=/dev/a\nvx.tty.modem /dev/b\n\n   \n"), ERR_NONE);
  expect_reset();
}

TEST_F(AmtCfg, KeyWithEmptyValue_LeavesTheValueOfALineBefore) {
  EXPECT_EQ(read("vx.tty.pc=/dev/a\nvx.audio.format=2\nvx.tty.pc=  \nvx.audio.format=\r\n"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_tty_pc_a, "/dev/a");
  EXPECT_EQ(g_amt_cfg.m_audio_format, 2);
}

TEST_F(AmtCfg, FurtherEqualsSigns_BelongToTheValue) {
  EXPECT_EQ(read("vx.mode.file=a=b=\n"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_mode_file_a, "a=b=");
}

TEST_F(AmtCfg, UnknownKeys_AreSkippedWithoutALine) {
  EXPECT_EQ(read("vx.tty=/dev/a\nvx.tty.pcx=/dev/b\nVX.TTY.PC=/dev/c\nvx.tty.p=/dev/d\n"), ERR_NONE);
  expect_reset();
  EXPECT_THAT(m_log.texts(), ElementsAre("amt_cfg_init()", "parse_amt_cfg()"));
}

TEST_F(AmtCfg, SameKeyTwice_TheLaterWinsWhole) {
  EXPECT_EQ(read("vx.tty.pc=/dev/a-long-name\nvx.tty.pc=/dev/b\n"), ERR_NONE);
  EXPECT_EQ(std::string(g_amt_cfg.m_tty_pc_a, 28), std::string("/dev/b") + std::string(22, '\0'));
}

TEST_F(AmtCfg, DeviceOf27Characters_IsStoredWhole) {
  EXPECT_EQ(read("vx.tty.pc=123456789012345678901234567\n"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_tty_pc_a, "123456789012345678901234567");
}

TEST_F(AmtCfg, DeviceOf40Characters_IsCutTo27AndLoggedSo) {
  EXPECT_EQ(read("vx.tty.modem=1234567890123456789012345678901234567890\n"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_tty_modem_a, "123456789012345678901234567");
  EXPECT_STREQ(g_amt_cfg.m_tty_at_mux_a, "");
  EXPECT_TRUE(m_log.has("[cfg]vx.tty.modem = 123456789012345678901234567"));
}

TEST_F(AmtCfg, EveryDeviceField_IsCutTo27) {
  const std::string name(40, 'x');
  EXPECT_EQ(read("vx.tty.pc=" + name + "\nvx.tty.app=" + name + "\nvx.tty.at.mux=" + name + "\nvx.mode.file=" + name),
            ERR_NONE);
  const std::string cut(27, 'x');
  EXPECT_EQ(g_amt_cfg.m_tty_pc_a, cut);
  EXPECT_EQ(g_amt_cfg.m_tty_app_a, cut);
  EXPECT_EQ(g_amt_cfg.m_tty_at_mux_a, cut);
  EXPECT_EQ(g_amt_cfg.m_mode_file_a, cut);
}

TEST_F(AmtCfg, AudioFileOf60Characters_IsCutTo47) {
  EXPECT_EQ(read("vx.audio.file=" + std::string(60, 'x') + "\n"), ERR_NONE);
  EXPECT_EQ(g_amt_cfg.m_audio_file_a, std::string(47, 'x'));
  EXPECT_EQ(g_amt_cfg.m_audio_sample_rate, 0);
}

TEST_F(AmtCfg, DigitsThenLetters_StoreTheDigits) {
  EXPECT_EQ(read("vx.audio.sample.rate=44100Hz\nvx.audio.format= 2 channels\n"), ERR_NONE);
  EXPECT_EQ(g_amt_cfg.m_audio_sample_rate, 44100);
  EXPECT_EQ(g_amt_cfg.m_audio_format, 2);
}

TEST_F(AmtCfg, LettersOnly_StoreZero) {
  EXPECT_EQ(read("vx.audio.sample.rate=fast\nvx.modem.uart.at.default.baudrate=x115200\n"), ERR_NONE);
  EXPECT_EQ(g_amt_cfg.m_audio_sample_rate, 0);
  EXPECT_EQ(g_amt_cfg.m_modem_uart_at_baudrate, 0);
  EXPECT_TRUE(m_log.has("[cfg]vx.modem.uart.at.default.baudrate = 0"));
}

TEST_F(AmtCfg, Numbers_AreDecimalAndSigned) {
  EXPECT_EQ(read("vx.audio.sample.rate=0x10\nvx.audio.format=010\nvx.audio.frame.count=+7\n"), ERR_NONE);
  EXPECT_EQ(g_amt_cfg.m_audio_sample_rate, 0);
  EXPECT_EQ(g_amt_cfg.m_audio_format, 10);
  EXPECT_EQ(g_amt_cfg.m_audio_frame_count, 7);
}

TEST_F(AmtCfg, LargestAndSmallestNumber_AreStored) {
  EXPECT_EQ(read("vx.audio.sample.rate=2147483647\nvx.audio.format=-2147483648\n"), ERR_NONE);
  EXPECT_EQ(g_amt_cfg.m_audio_sample_rate, 2147483647);
  EXPECT_EQ(g_amt_cfg.m_audio_format, -2147483647 - 1);
}

TEST_F(AmtCfg, NumberBeyond32Bits_IsLoggedAsStored) {
  EXPECT_EQ(read("vx.audio.frame.count=99999999999\n"), ERR_NONE);
  EXPECT_TRUE(m_log.has("[cfg]vx.audio.frame.count = " + std::to_string(g_amt_cfg.m_audio_frame_count)));
}

TEST_F(AmtCfg, LineOf98Characters_IsOneLine) {
  EXPECT_EQ(read("vx.mode.file=" + std::string(83, ' ') + "m1"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_mode_file_a, "m1");
}

TEST_F(AmtCfg, LineOf99Characters_LosesTheLast) {
  EXPECT_EQ(read("vx.mode.file=" + std::string(83, ' ') + "m12"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_mode_file_a, "m1");
}

TEST_F(AmtCfg, LineOf200Characters_ItsTailIsALineOfItsOwn) {
  const std::string padding(84, ' ');
  const std::string line = "vx.mode.file=m" + padding + "vx.tty.pc=/dev/tail" + std::string(79, ' ') + "#xx\n";
  ASSERT_EQ(line.size(), 200u);
  EXPECT_EQ(read(line + "vx.tty.app=/dev/next\n"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_mode_file_a, "m");
  EXPECT_STREQ(g_amt_cfg.m_tty_pc_a, "/dev/tail");
  EXPECT_STREQ(g_amt_cfg.m_tty_app_a, "/dev/next");
}

TEST_F(AmtCfg, LastLineWithoutLineFeed_IsRead) {
  EXPECT_EQ(read("vx.tty.pc=/dev/a\nvx.tty.app=/dev/b"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_tty_app_a, "/dev/b");
}

TEST_F(AmtCfg, BinaryFile_GivesTheDefaults) {
  std::string noise;
  for (int n = 0; n < 4096; ++n) noise += static_cast<char>(n * 7 + n / 256);
  EXPECT_EQ(read(noise), ERR_NONE);
  expect_reset();
}

TEST_F(AmtCfg, LinesBehindNoise_AreRead) {
  EXPECT_EQ(read(std::string("\0\0=\0\xFF\xFE=\x01\nvx.tty.pc=/dev/a\n", 26)), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_tty_pc_a, "/dev/a");
}

TEST_F(AmtCfg, Folder_CannotBeRead) {
  EXPECT_EQ(amt_cfg_init(m_folder.path("").c_str()), ERR_SYSTEM);
  expect_reset();
  EXPECT_THAT(m_log.texts(), ElementsAre("amt_cfg_init()", "parse_amt_cfg()", "sys call: fgets() failed! errno = 21",
                                         failure_line("amt/amt-cfg", "parse_amt_cfg", ERR_SYSTEM, "21"),
                                         "fail to read file: " + m_folder.path("")));
}

// Half a configuration would name half of the devices.
TEST_F(AmtCfg, FileThatBreaks_CountsAsUnreadableWithTheDefaults) {
  const std::string path = m_folder.write("amt.cfg", "vx.tty.pc=/dev/a\n" + std::string(100'000, '#'));
  const breaking_file broken(1);
  EXPECT_EQ(amt_cfg_init(path.c_str()), ERR_SYSTEM);
  EXPECT_TRUE(m_log.has("[cfg]vx.tty.pc = /dev/a"));
  EXPECT_EQ(m_log.last(), "fail to read file: " + path);
  expect_reset();
}

TEST_F(AmtCfg, SecondRead_ForgetsTheFirst) {
  EXPECT_EQ(read("vx.tty.pc=/dev/a\nvx.modem.uart.at.default.baudrate=9600\n"), ERR_NONE);
  EXPECT_EQ(read("vx.tty.app=/dev/b\n"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_tty_pc_a, "");
  EXPECT_EQ(g_amt_cfg.m_modem_uart_at_baudrate, 115200);
}

TEST_F(AmtCfg, MissingFile_FailsWithTheDefaults) {
  const std::string path = m_folder.path("missing.cfg");
  EXPECT_EQ(amt_cfg_init(path.c_str()), ERR_SYSTEM);
  expect_reset();
  EXPECT_THAT(m_log.texts(),
              ElementsAre("amt_cfg_init()", "parse_amt_cfg()", "sys call: fopen() failed! errno = 2",
                          failure_line("amt/amt-cfg", "parse_amt_cfg", -1, "2"),
                          failure_line("amt/amt-cfg", "parse_amt_cfg", -118, "2"), "fail to open file: " + path));
}

TEST_F(AmtCfg, NullPath_LogsItsSiteAndFlag) {
  errno = 0;
  EXPECT_EQ(amt_cfg_init(nullptr), ERR_ARGUMENT);
  EXPECT_THAT(
      m_log.texts(),
      ElementsAre("amt_cfg_init()", "FILE-amt/amt-cfg, LINE-231, FUNC-amt_cfg_init(), error_code=-101, errno=0", "1"));
}

}  // namespace
