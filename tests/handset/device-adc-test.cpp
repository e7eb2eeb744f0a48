// Requests 224 and 226 of the PC: the battery driver's converter is read (atom 151) and gets four numbers (atoms 146 to
// 149), which are recorded first.
#include <gmock/gmock.h>

#include "tests/handset/device-phone.h"

using namespace handset_test;

namespace {

using handset::file_fault;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char NODE[] = "/proc/driver/zelta_battery";
constexpr char RECORD[] = "/amt/vbatt";
constexpr char PREPARE_FAILED[] = "system(echo \"amt_get_vbatt\" > /proc/driver/zelta_battery) FAIL[count = ";

class Adc : public DevicePhone {
 protected:
  // The shell's opening to write, and the service's to read.
  std::vector<std::string> driver_calls() {
    std::vector<std::string> calls;
    for (const auto& call : handset::device_calls(phone().devices())) {
      if (call.starts_with("battery ")) calls.push_back(call);
    }
    return calls;
  }
  void expect_value(std::string_view value) {
    expect(224, "", frame(225, "EE 97 01 0400 " + std::string(value) + DONE));
  }
};

TEST_F(Adc, Read_DriverAnswers_IsItsValue) {
  start();
  expect_value("190B0000");
  EXPECT_EQ(content(NODE), "amt_get_vbatt\n");
  EXPECT_THAT(driver_calls(), ElementsAre("battery open", "battery read"));
  expect_logged("system(echo \"amt_get_vbatt\" > /proc/driver/zelta_battery) OK");
  expect_logged("ADC value: 2841");
}

TEST_F(Adc, Read_EachTime_IsTheValueOfThatTime) {
  start();
  phone().parts().set_adc("0");
  expect_value("00000000");
  phone().parts().set_adc("4294967295");
  expect_value("FFFFFFFF");
}

TEST_F(Adc, Read_NodeMissing_IsAnErrorAnswerAfterFiveTries) {
  start();
  phone().remove(NODE);
  expect_failure(224, "");
  for (const char count : "12345"s) expect_logged(PREPARE_FAILED + std::string(1, count) + "]: ");
  expect_logged(PREPARE_FAILED, 5);
  expect_logged("FUNC-amt_device_do_command(), error_code=-118", 5);
  EXPECT_THAT(driver_calls(), Each("battery open failed 30"));
  EXPECT_THAT(driver_calls(), SizeIs(5));
}

TEST_F(Adc, Read_NodeFailsEachWrite_IsAnErrorAnswerAfterFiveTries) {
  start();
  phone().parts().fail(NODE, file_fault::io);
  expect_failure(224, "");
  expect_logged(PREPARE_FAILED, 5);
  EXPECT_THAT(driver_calls(), Each("battery open"));
}

TEST_F(Adc, Read_NodeLocked_IsAnErrorAnswerUntilItIsOpened) {
  start();
  phone().parts().fail(NODE, file_fault::open);
  expect_failure(224, "");
  phone().parts().heal(NODE);
  expect_value("190B0000");
  expect_logged(PREPARE_FAILED, 5);
}

TEST_F(Adc, Read_NodeUnreadable_IsAnErrorAnswer) {
  start();
  handset::fail_device_call(phone().devices(), "battery read", EACCES);
  expect_failure(224, "");
  EXPECT_EQ(content(NODE), "amt_get_vbatt\n");
  EXPECT_THAT(driver_calls(), ElementsAre("battery open", "battery read failed 13"));
  expect_logged("sys call: fopen() failed! errno = 13");
  expect_not_logged("ADC value: ");
}

TEST_F(Adc, Read_NoNumber_IsAnErrorAnswer) {
  start();
  phone().parts().set_adc("busy");
  expect_failure(224, "");
  phone().parts().set_adc("");
  expect_failure(224, "");
  expect_logged("sys call: fscanf() failed! errno = ", 2);
}

TEST_F(Adc, Calibrate_FourNumbers_ReachTheRecordAndThenTheDriver) {
  auto options = handset::phone_options();
  options.files[RECORD] = "what was there before, and was longer than what comes now";
  start(options);
  expect_flushed([&] {
    expect_ok(226, "EE 92 01 0400 01000000  EE 93 01 0400 16000000  EE 94 01 0400 FFFFFFFF  EE 95 01 0400 5C110000",
              227);
  });
  EXPECT_EQ(content(RECORD), "amt_set_vbatt[1] [22] [-1] [4444]");
  EXPECT_EQ(content(NODE), "amt_set_vbatt[1] [22] [-1] [4444]\n");
  expect_logged("SAVA ADC value: 1 22 -1 4444");
  expect_logged(" echo \"amt_set_vbatt[1] [22] [-1] [4444]\" > /proc/driver/zelta_battery\n");
}

TEST_F(Adc, Calibrate_AtomsInAnotherOrder_AreTakenByTheirIds) {
  start();
  expect_ok(226, "EE 95 01 0400 04000000  EE 94 01 0400 03000000  EE 93 01 0400 02000000  EE 92 01 0400 01000000", 227);
  EXPECT_EQ(content(RECORD), "amt_set_vbatt[1] [2] [3] [4]");
}

TEST_F(Adc, Calibrate_AtomsMissing_AreZero) {
  start();
  expect_ok(226, "EE 93 01 0400 05000000", 227);
  EXPECT_EQ(content(RECORD), "amt_set_vbatt[0] [5] [0] [0]");
  expect_ok(226, "", 227);
  EXPECT_EQ(content(NODE), "amt_set_vbatt[0] [0] [0] [0]\n");
}

TEST_F(Adc, Calibrate_NumbersOf38Characters_FitTheCommand) {
  start();
  expect_ok(226, "EE 92 01 0400 00000080  EE 93 01 0400 00000080  EE 94 01 0400 00000080  EE 95 01 0400 39300000", 227);
  EXPECT_EQ(content(NODE), "amt_set_vbatt[-2147483648] [-2147483648] [-2147483648] [12345]\n");
}

// The cut command names another file, which nobody can make in the driver's folder.
TEST_F(Adc, Calibrate_NumbersOf39Characters_AreCutFromTheCommandAndWholeInTheRecord) {
  start();
  expect_ok(226, "EE 92 01 0400 00000080  EE 93 01 0400 00000080  EE 94 01 0400 00000080  EE 95 01 0400 40E20100", 227);
  EXPECT_EQ(content(RECORD), "amt_set_vbatt[-2147483648] [-2147483648] [-2147483648] [123456]");
  EXPECT_EQ(content(NODE), "");
  expect_logged(
      " echo \"amt_set_vbatt[-2147483648] [-2147483648] [-2147483648] [123456]\" > /proc/driver/zelta_batter\n");
}

TEST_F(Adc, Calibrate_RecordLocked_WritesNothingToTheDriver) {
  start();
  phone().write_file(RECORD, "kept");
  phone().parts().fail(RECORD, file_fault::open);
  expect_failure(226, "EE 92 01 0400 01000000");
  EXPECT_THAT(driver_calls(), IsEmpty());
  expect_logged("FUNC-amt_write_adc_diff_value(), error_code=-1,");
  expect_logged("sys call: fopen() failed! errno = 13");
  expect_not_logged("echo \"amt_set_vbatt");
  phone().parts().heal(RECORD);
  EXPECT_EQ(content(RECORD), "kept");
}

TEST_F(Adc, Calibrate_FileSystemFull_WritesNothingToTheDriver) {
  start();
  fill_up(RECORD);
  expect_flushed([&] { expect_failure(226, "EE 92 01 0400 01000000"); });
  EXPECT_THAT(driver_calls(), IsEmpty());
  expect_logged("sys call: fprintf() failed! errno = 28");
  expect_not_logged("echo \"amt_set_vbatt");
}

TEST_F(Adc, Calibrate_NodeMissing_IsAnsweredAndTriedOnce) {
  start();
  phone().remove(NODE);
  expect_ok(226, "EE 92 01 0400 01000000", 227);
  EXPECT_EQ(content(RECORD), "amt_set_vbatt[1] [0] [0] [0]");
  EXPECT_THAT(driver_calls(), ElementsAre("battery open failed 30"));
  expect_logged("echo \"amt_set_vbatt[1] [0] [0] [0]\"");
  expect_not_logged("FAIL[count");
}

}  // namespace
