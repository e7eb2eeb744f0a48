#include "amt/amt-device/battery.h"

#include <fcntl.h>

#include <future>
#include <tuple>

#include "amt/amt-handle/context/registry.h"
#include "amt/amt-handle/pc/dispatch.h"
#include "tests/unit/device/device-test.h"
#include "tests/unit/failing-calls.h"

namespace {

namespace fs = std::filesystem;

constexpr char VOLTAGE[] = "/sys/class/power_supply/battery/voltage_now";
constexpr char NODE[] = "/proc/driver/zelta_battery";
constexpr char RECORD[] = "/amt/vbatt";

using Battery = device_test;

TEST_F(Battery, Voltage_Read_IsAnsweredUnchanged) {
  write_file(VOLTAGE, "3812000\n");
  EXPECT_EQ(app(9), 0);
  EXPECT_EQ(to_app(), "18 00 BB 0A 12 00 EE 05 01 04 00 A0 2A 3A 00 EE 01 01 04 00 00 00 00 00");
  EXPECT_TRUE(m_log.has("battery_voltage: 3812000"));
}

TEST_F(Battery, Voltage_Negative_IsAnsweredAsASignedNumber) {
  write_file(VOLTAGE, "-5");
  EXPECT_EQ(app(9), 0);
  EXPECT_EQ(to_app(), "18 00 BB 0A 12 00 EE 05 01 04 00 FB FF FF FF EE 01 01 04 00 00 00 00 00");
}

// The request is registered for the test application alone; the handler never wraps.
TEST_F(Battery, Voltage_OnThePcLink_IsABareFrame) {
  write_file(VOLTAGE, "3812000\n");
  EXPECT_EQ(ask_handler(amt_device_battery_voltage, AMT_LINK_PC, 9, ""), 0);
  EXPECT_EQ(to_pc(), "18 00 BB 0A 12 00 EE 05 01 04 00 A0 2A 3A 00 EE 01 01 04 00 00 00 00 00");
}

TEST_F(Battery, Voltage_FileMissing_IsASystemError) {
  EXPECT_EQ(app(9), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(
      log(),
      ElementsAre("amt_device_battery_voltage()", device_failure("amt_device_battery_voltage", ERR_SYSTEM, "2"),
                  "Open file \"/sys/class/power_supply/battery/voltage_now\" fail: 2 - No such file or directory"));
}

TEST_F(Battery, Voltage_NoNumber_IsASystemError) {
  for (const char* content : {"unknown", "-", "\xFF"}) {
    m_log.clear();
    write_file(VOLTAGE, content);
    EXPECT_EQ(app(9), ERR_SYSTEM) << content;
    EXPECT_TRUE(is_silent());
    EXPECT_THAT(log(),
                ElementsAre("amt_device_battery_voltage()", device_failure("amt_device_battery_voltage", ERR_SYSTEM),
                            testing::StartsWith("fscanf() return: 0; ")));
  }
}

// The open succeeds; only the reading after it fails.
TEST_F(Battery, Voltage_FileIsAFolder_IsASystemError) {
  fs::create_directories(VOLTAGE);
  EXPECT_EQ(app(9), ERR_SYSTEM);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(
      log(), ElementsAre("amt_device_battery_voltage()", device_failure("amt_device_battery_voltage", ERR_SYSTEM, "21"),
                         "fscanf() return: -1; 21 - Is a directory"));
}

TEST_F(Battery, Voltage_EmptyFile_IsASystemError) {
  write_file(VOLTAGE, "");
  EXPECT_EQ(app(9), ERR_SYSTEM);
  EXPECT_TRUE(m_log.contains("fscanf() return: -1; "));
}

// The driver's node as a FIFO: takes one command, then gives one answer, each to the end of the file.
class driver {
 public:
  explicit driver(std::string answer) {
    EXPECT_EQ(mkfifo(NODE, 0666), 0);
    m_served = std::async(std::launch::async, [answer = std::move(answer)] {
      const std::string command = read_whole_file(NODE);
      std::ofstream(NODE) << answer;
      return command;
    });
  }
  // The command that it got.
  std::string command() { return m_served.get(); }

 private:
  std::future<std::string> m_served;
};

TEST_F(Battery, ReadAdc_DriverAnswers_ValueIsWrappedForThePc) {
  driver driver("3456\n");
  EXPECT_EQ(pc(224), 0);
  EXPECT_EQ(driver.command(), "amt_get_vbatt\n");
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 20 00 00 00 02 00 00 00 18 00 BB E1 12 00 EE 97 01 04 00 80 0D 00 00 "
            "EE 01 01 04 00 00 00 00 00 5F F3 D7 AB");
  EXPECT_TRUE(m_log.has("system(echo \"amt_get_vbatt\" > /proc/driver/zelta_battery) OK"));
  EXPECT_TRUE(m_log.has("ADC value: 3456"));
}

TEST_F(Battery, ReadAdc_LargestValue_IsUnsigned) {
  driver driver("4294967295");
  std::uint32_t value = 0;
  EXPECT_EQ(amt_read_adc(&value), 0);
  EXPECT_EQ(value, 4294967295u);
}

TEST_F(Battery, ReadAdc_CommandNeverTaken_IsTriedFiveTimes) {
  fs::create_directory(NODE);
  EXPECT_EQ(pc(224), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  for (const char* count : {"1", "2", "3", "4", "5"}) {
    EXPECT_TRUE(m_log.contains(
        std::string("system(echo \"amt_get_vbatt\" > /proc/driver/zelta_battery) FAIL[count = ") + count + "]: "));
  }
  EXPECT_FALSE(m_log.contains("count = 6"));
}

TEST_F(Battery, ReadAdc_ShellCannotBeStarted_LogsWhyFiveTimes) {
  g_outside_calls.m_spawn_error = EAGAIN;
  EXPECT_EQ(pc(224), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_do_command", ERR_SYSTEM, "11")).Times(5));
  EXPECT_EQ(m_log.last(),
            "system(echo \"amt_get_vbatt\" > /proc/driver/zelta_battery) FAIL[count = 5]: 11 - Resource temporarily "
            "unavailable");
}

TEST_F(Battery, ReadAdc_NodeCannotBeRead_Fails) {
  write_file(NODE, "");
  fs::permissions(NODE, fs::perms::owner_write);
  EXPECT_EQ(pc(224), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), ElementsAre("amt_device_battery_voltage_check()", "amt_read_adc()", "amt_device_do_command()",
                                 "system(echo \"amt_get_vbatt\" > /proc/driver/zelta_battery) OK",
                                 "sys call: fopen() failed! errno = 13", device_failure("amt_read_adc", -1, "13")));
}

TEST_F(Battery, ReadAdc_NoNumber_Fails) {
  driver driver("busy");
  EXPECT_EQ(pc(224), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), ElementsAre("amt_device_battery_voltage_check()", "amt_read_adc()", "amt_device_do_command()",
                                 "system(echo \"amt_get_vbatt\" > /proc/driver/zelta_battery) OK", "ADC value: 0",
                                 testing::StartsWith("sys call: fscanf() failed! errno = "),
                                 device_failure("amt_read_adc", -1)));
}

// The driver measures meanwhile.
TEST_F(Battery, ReadAdc_CommandTaken_IsFollowedByAPauseOfTwentyMilliseconds) {
  write_file(NODE, "777\n");
  const noted_sleeps sleeps;
  std::uint32_t value = 0;
  std::ignore = amt_read_adc(&value);
  EXPECT_EQ(sleeps.milliseconds(), std::vector<std::uint32_t>{20});
}

TEST_F(Battery, ReadAdc_NullPointer_Fails) {
  EXPECT_EQ(amt_read_adc(nullptr), ERR_FAIL);
  EXPECT_THAT(log(), ElementsAre("amt_read_adc()", device_failure("amt_read_adc", ERR_FAIL), "Null pointer."));
  EXPECT_FALSE(fs::exists(NODE));
}

std::string calibration(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  return int_atom(146, a) + int_atom(147, b) + int_atom(148, c) + int_atom(149, d);
}

constexpr char CALIBRATED[] =
    "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB E3 09 00 EE 01 01 04 00 00 00 00 00 42 93 94 52";

TEST_F(Battery, Calibrate_FourValues_ReachTheRecordAndTheDriver) {
  EXPECT_EQ(pc(226, calibration(1, 22, 0xFFFFFFFF, 4444)), 0);
  EXPECT_EQ(content_of(RECORD), "amt_set_vbatt[1] [22] [-1] [4444]");
  EXPECT_EQ(content_of(NODE), "amt_set_vbatt[1] [22] [-1] [4444]\n");
  EXPECT_EQ(to_pc(), CALIBRATED);
  EXPECT_EQ(sync_calls(), "sync\nsync\n");
  EXPECT_TRUE(m_log.has_in_a_row({"amt_device_battery_voltage_check()", "amt_write_adc_diff_value()",
                                  "SAVA ADC value: 1 22 -1 4444",
                                  "echo \"amt_set_vbatt[1] [22] [-1] [4444]\" > /proc/driver/zelta_battery"}));
}

TEST_F(Battery, Calibrate_AgainWithShorterValues_ReplacesTheRecordWhole) {
  write_file(RECORD, "amt_set_vbatt[1111] [2222] [3333] [4444]");
  EXPECT_EQ(pc(226, calibration(1, 2, 3, 4)), 0);
  EXPECT_EQ(content_of(RECORD), "amt_set_vbatt[1] [2] [3] [4]");
}

TEST_F(Battery, Calibrate_ShellCannotBeStarted_IsAnsweredAllTheSame) {
  g_outside_calls.m_spawn_error = EAGAIN;
  EXPECT_EQ(pc(226, calibration(1, 2, 3, 4)), 0);
  EXPECT_EQ(to_pc(), CALIBRATED);
  EXPECT_TRUE(m_log.has_in_a_row(
      {"echo \"amt_set_vbatt[1] [2] [3] [4]\" > /proc/driver/zelta_battery", "sys call: system() failed! errno = 11"}));
}

TEST_F(Battery, Calibrate_DriverAsksForTheRecord_FindsItWritten) {
  ASSERT_EQ(mkfifo(NODE, 0666), 0);
  auto record = std::async(std::launch::async, [] {
    read_whole_file(NODE);
    return content_of(RECORD) + sync_calls();
  });
  EXPECT_EQ(pc(226, calibration(1, 2, 3, 4)), 0);
  EXPECT_EQ(record.get(), "amt_set_vbatt[1] [2] [3] [4]sync\nsync\n");
}

TEST_F(Battery, Calibrate_MissingAtoms_AreZero) {
  EXPECT_EQ(pc(226, int_atom(147, 5)), 0);
  EXPECT_EQ(content_of(RECORD), "amt_set_vbatt[0] [5] [0] [0]");
}

TEST_F(Battery, Calibrate_ValuesOf38Characters_FitTheCommand) {
  EXPECT_EQ(pc(226, calibration(0x80000000, 0x80000000, 0x80000000, 12345)), 0);
  EXPECT_EQ(content_of(NODE), "amt_set_vbatt[-2147483648] [-2147483648] [-2147483648] [12345]\n");
}

TEST_F(Battery, Calibrate_ValuesOf39Characters_CutTheCommandAndNotTheRecord) {
  EXPECT_EQ(pc(226, calibration(0x80000000, 0x80000000, 0x80000000, 123456)), 0);
  EXPECT_EQ(content_of(NODE), "(no file)");
  EXPECT_EQ(content_of("/proc/driver/zelta_batter"),
            "amt_set_vbatt[-2147483648] [-2147483648] [-2147483648] [123456]\n");
  EXPECT_EQ(content_of(RECORD), "amt_set_vbatt[-2147483648] [-2147483648] [-2147483648] [123456]");
  EXPECT_EQ(to_pc(), CALIBRATED);
}

TEST_F(Battery, Calibrate_DriverRefuses_IsAnsweredAllTheSameAndNotTriedAgain) {
  fs::create_directory(NODE);
  EXPECT_EQ(pc(226, calibration(1, 2, 3, 4)), 0);
  EXPECT_EQ(to_pc(), CALIBRATED);
  EXPECT_FALSE(m_log.contains("FAIL[count"));
}

TEST_F(Battery, Calibrate_RecordCannotBeMade_DriverGetsNothing) {
  fs::create_directory(RECORD);
  EXPECT_EQ(pc(226, calibration(1, 2, 3, 4)), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_EQ(content_of(NODE), "(no file)");
  EXPECT_EQ(sync_calls(), "");
  EXPECT_THAT(
      log(), ElementsAre("amt_device_battery_voltage_check()", "amt_write_adc_diff_value()",
                         "sys call: fopen() failed! errno = 21", device_failure("amt_write_adc_diff_value", -1, "21")));
}

TEST_F(Battery, Calibrate_RecordCannotBeWritten_DriverGetsNothing) {
  make_full_file(RECORD);
  EXPECT_EQ(pc(226, calibration(1, 2, 3, 4)), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_EQ(content_of(NODE), "(no file)");
  EXPECT_EQ(sync_calls(), "sync\nsync\n");
  EXPECT_THAT(log(), ElementsAre("amt_device_battery_voltage_check()", "amt_write_adc_diff_value()",
                                 "SAVA ADC value: 1 2 3 4", "sys call: fprintf() failed! errno = 28",
                                 device_failure("amt_write_adc_diff_value", -1, "28")));
}

// As the PC sees it: the fixed message that its request arrived, then the error frame.
TEST_F(Battery, Calibrate_RecordCannotBeMade_ThePcGetsTheErrorFrame) {
  std::ignore = amt_handle_reg_handle_func(AMT_LINK_PC, 226, handler_of(AMT_LINK_PC, 226));
  fs::create_directory(RECORD);
  set_message(g_handle_context.m_request, wrapped(frame(226, calibration(1, 2, 3, 4))));
  EXPECT_EQ(handle_amt_pc_req(), 0);
  EXPECT_EQ(to_pc(),
            "AA BB CC DD 08 00 00 00 02 02 00 00 76 4A EE 1D "
            "AA BB CC DD 17 00 00 00 02 00 00 00 0F 00 BB E3 09 00 EE 01 01 04 00 01 00 00 00 74 65 19 CA");
  EXPECT_EQ(content_of(NODE), "(no file)");
}

TEST_F(Battery, VoltageCheck_AnyOtherRequest_Fails) {
  EXPECT_EQ(ask_handler(amt_device_battery_voltage_check, AMT_LINK_PC, 225, ""), ERR_FAIL);
  EXPECT_TRUE(is_silent());
  EXPECT_THAT(log(), Contains(device_failure("amt_device_battery_voltage_check", ERR_FAIL)));
  EXPECT_TRUE(m_log.has("Invalid command id[225]"));
}

TEST_F(Battery, VoltageCheck_LinkClosed_GivesTheSendersResult) {
  close_links();
  EXPECT_EQ(pc(226, calibration(1, 2, 3, 4)), ERR_FAIL);
  EXPECT_EQ(content_of(RECORD), "amt_set_vbatt[1] [2] [3] [4]");
}

}  // namespace
