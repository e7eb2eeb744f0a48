// The battery's voltage and temperature: numbers in files, handed on as they are.
#include "tests/handset/app-device-phone.h"

using namespace handset_test;

namespace {

constexpr char VOLTAGE[] = "/sys/class/power_supply/battery/voltage_now";
constexpr char TEMPERATURE[] = "/sys/class/power_supply/battery/temp";

class BatteryVoltage : public AppDevicePhone {};

TEST_F(BatteryVoltage, Number_IsHandedOnInTheDriversUnit) {
  start();
  expect_values(9, "", "EE 05 01 0400 A02A3A00");  // 3812000
  expect_log(phone(), "battery_voltage: 3812000");
  phone().write_file(VOLTAGE, "4200000\n");
  expect_values(9, "", "EE 05 01 0400 40164000");
  end_with(phone(), SIGTERM);
}

TEST_F(BatteryVoltage, BelowZero_IsHandedOnAsItIs) {
  start();
  phone().write_file(VOLTAGE, "-2\n");
  expect_values(9, "", "EE 05 01 0400 FEFFFFFF");
}

TEST_F(BatteryVoltage, TextAfterTheNumber_IsIgnored) {
  start();
  phone().write_file(VOLTAGE, " 258 uV\n");
  expect_values(9, "", "EE 05 01 0400 02010000");
}

TEST_F(BatteryVoltage, CannotBeOpened_Fails) {
  start();
  phone().parts().fail(VOLTAGE, file_fault::open);
  expect_failure(9);
  expect_log(phone(), "Open file \"/sys/class/power_supply/battery/voltage_now\" fail: 13 - Permission denied");
  phone().parts().heal(VOLTAGE);
  expect_values(9, "", "EE 05 01 0400 A02A3A00");
}

TEST_F(BatteryVoltage, Missing_Fails) {
  start();
  phone().remove(VOLTAGE);
  expect_failure(9);
  expect_log(phone(), "Open file \"/sys/class/power_supply/battery/voltage_now\" fail: 2 - No such file or directory");
}

TEST_F(BatteryVoltage, CannotBeRead_Fails) {
  start();
  phone().parts().fail(VOLTAGE, file_fault::io);
  expect_failure(9);
  expect_log(phone(), "fscanf() return: -1; 5 - Input/output error");
  phone().parts().heal(VOLTAGE);
  expect_values(9, "", "EE 05 01 0400 A02A3A00");
}

TEST_F(BatteryVoltage, NoNumber_Fails) {
  start();
  phone().write_file(VOLTAGE, "");
  expect_failure(9);
  expect_log(phone(), "fscanf() return: -1; ");
  phone().write_file(VOLTAGE, "high\n");
  expect_failure(9);
  expect_log(phone(), "fscanf() return: 0; ");
  EXPECT_EQ(phone().log().count("battery_voltage: "), 0u);
}

class BatteryTemperature : public AppDevicePhone {
 protected:
  // This failure has a frame of its own.
  void expect_unknown() { expect_answer(phone(), frame(55, ""), result_frame(56, "0A000000")); }
};

TEST_F(BatteryTemperature, Number_IsHandedOnAndNoModemIsAsked) {
  start();
  expect_values(55, "", "EE 16 01 0400 1D010000");  // 285
  expect_log(phone(), "Battery temperature: 285");
  EXPECT_EQ(phone().simulated_modem().received(handset::modem_link::at).text(), LINK_STATUS_OFF);
}

TEST_F(BatteryTemperature, BelowZero_IsHandedOnAsItIs) {
  start();
  phone().write_file(TEMPERATURE, "-15\n");
  expect_values(55, "", "EE 16 01 0400 F1FFFFFF");
  expect_log(phone(), "Battery temperature: 4294967281");
}

TEST_F(BatteryTemperature, CannotBeOpened_IsAnErrorOfItsOwn) {
  start();
  phone().parts().fail(TEMPERATURE, file_fault::open);
  expect_unknown();
  expect_log(phone(), "fopen error: errno=13");
  phone().parts().heal(TEMPERATURE);
  expect_values(55, "", "EE 16 01 0400 1D010000");
}

TEST_F(BatteryTemperature, Missing_IsAnErrorOfItsOwn) {
  start();
  phone().remove(TEMPERATURE);
  expect_unknown();
  expect_log(phone(), "fopen error: errno=2");
}

TEST_F(BatteryTemperature, CannotBeRead_IsAnErrorOfItsOwn) {
  start();
  phone().parts().fail(TEMPERATURE, file_fault::io);
  expect_unknown();
  expect_log(phone(), "fscanf error: errno=5");
  phone().parts().heal(TEMPERATURE);
  expect_values(55, "", "EE 16 01 0400 1D010000");
}

TEST_F(BatteryTemperature, NoNumber_IsAnErrorOfItsOwn) {
  start();
  phone().write_file(TEMPERATURE, "warm\n");
  expect_unknown();
  expect_log(phone(), "fscanf error: errno=", 1);
  phone().write_file(TEMPERATURE, "");
  expect_unknown();
  expect_log(phone(), "fscanf error: errno=", 2);
  EXPECT_EQ(phone().log().count("Battery temperature: "), 0u);
}

}  // namespace
