// The phone's hardware as the service sees it: drivers' files, sound player, cards; and how it is reported outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handset/hardware/devices.h"
#include "handset/phone/phone.h"
#include "handset/wire/files.h"

namespace {

using handset::file_fault;
using handset::phone;
using handset::phone_options;
using testing::HasSubstr;

constexpr char KEY_LIGHT[] = "/sys/class/leds/button-backlight/brightness";
constexpr char VIBRATOR[] = "/sys/class/timed_output/vibrator/enable";
constexpr char VOLTAGE[] = "/sys/class/power_supply/battery/voltage_now";

std::string shell(phone& phone, const std::string& script) {
  const auto result = phone.exec({"/bin/sh", "-c", script});
  return result.out + result.err;
}

// What a program of the phone that uses the played devices prints.
std::string use_device(const char* step, const std::string& fault = "", int error = 0, int result = 0) {
  phone_options options;
  options.service = handset::program_folder() / "handset-device-user";
  options.arguments = {{step}};
  phone phone(options);
  if (error != 0) handset::fail_device_call(phone.devices(), fault, error);
  if (result != 0) handset::set_device_result(phone.devices(), fault, result);
  phone.start();
  EXPECT_EQ(phone.wait_exit(), handset::exited(0));
  return phone.out().text();
}

TEST(HardwareFile, Written_IsTheValueRead) {
  phone phone;
  EXPECT_EQ(shell(phone, std::string("printf 100 >") + KEY_LIGHT + "; cat " + KEY_LIGHT), "100");
  EXPECT_EQ(phone.parts().state("key light"), "on");
  EXPECT_EQ(shell(phone, std::string("printf 0 >") + KEY_LIGHT), "");
  EXPECT_EQ(phone.parts().state("key light"), "off");
}

TEST(HardwareFile, WornLamp_ShowsWhatIsSeenOfTheLight) {
  phone phone;
  EXPECT_EQ(phone.parts().state("screen light"), "102");
  phone.parts().set_screen_light(10);
  EXPECT_EQ(phone.parts().state("screen light"), "10, 102 is set");
  EXPECT_EQ(shell(phone, "cat /sys/class/leds/lcd-backlight/brightness"), "102\n");
  phone.parts().set_screen_light(100);
  EXPECT_EQ(phone.parts().state("screen light"), "102");
}

TEST(HardwareFile, FailingToOpen_IsDeniedUntilHealed) {
  phone phone;
  phone.parts().fail(VOLTAGE, file_fault::open);
  EXPECT_THAT(shell(phone, std::string("cat ") + VOLTAGE), HasSubstr("Permission denied"));
  phone.parts().heal(VOLTAGE);
  EXPECT_EQ(shell(phone, std::string("cat ") + VOLTAGE), "3812000\n");
}

TEST(HardwareFile, FailingInUse_OpensAndGivesAnInputOutputErrorUntilHealed) {
  phone phone;
  phone.parts().fail(KEY_LIGHT, file_fault::io);
  EXPECT_THAT(shell(phone, std::string("printf 1 >") + KEY_LIGHT), HasSubstr("I/O error"));
  EXPECT_THAT(shell(phone, std::string("cat ") + KEY_LIGHT), HasSubstr("Input/output error"));
  EXPECT_EQ(phone.parts().state("key light"), "off");  // what it held before
  phone.parts().heal(KEY_LIGHT);
  EXPECT_EQ(shell(phone, std::string("cat ") + KEY_LIGHT), "0\n");
}

TEST(HardwareFile, FailedTwice_TakesTheLastFault) {
  phone phone;
  phone.parts().fail(KEY_LIGHT, file_fault::io);
  phone.parts().fail(KEY_LIGHT, file_fault::open);
  EXPECT_THAT(shell(phone, std::string("cat ") + KEY_LIGHT), HasSubstr("Permission denied"));
  phone.parts().heal(KEY_LIGHT);
  EXPECT_THROW(phone.parts().heal(KEY_LIGHT), handset::error);  // nothing to heal
  EXPECT_EQ(shell(phone, std::string("cat ") + KEY_LIGHT), "0\n");
}

TEST(HardwareFile, Missing_CannotFail) {
  phone phone;
  EXPECT_THROW(phone.parts().fail("/sys/class/leds/none/brightness", file_fault::io), handset::error);
  EXPECT_THROW(phone.parts().state("toaster"), handset::error);
}

TEST(HardwareVibrator, Pulse_RunsDownByItself) {
  phone phone;
  EXPECT_EQ(phone.parts().state("vibrator"), "still");
  shell(phone, std::string("printf 3600000 >") + VIBRATOR);
  EXPECT_THAT(phone.parts().state("vibrator"), testing::MatchesRegex("3[0-9]{6} ms to go"));
  shell(phone, std::string("printf 1 >") + VIBRATOR);
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  while (phone.parts().state("vibrator") != "still") ASSERT_LT(std::chrono::steady_clock::now(), deadline);
}

TEST(HardwareVibrator, FailingInUse_ShowsThePulseBefore) {
  phone phone;
  phone.write_file(VIBRATOR, "3600000");
  std::filesystem::last_write_time(phone.host_path(VIBRATOR),
                                   std::filesystem::file_time_type::clock::now() - std::chrono::hours(2));
  phone.parts().fail(VIBRATOR, file_fault::io);
  EXPECT_EQ(phone.parts().state("vibrator"), "still");
}

TEST(HardwarePlayer, Started_PlaysInTheBackgroundUntilKilled) {
  phone phone;
  EXPECT_EQ(phone.parts().state("sound"), "silent");
  EXPECT_EQ(shell(phone, "/system/bin/amt-audio 44100 1 1024 /system/media/amt-loop.pcm"), "");
  EXPECT_EQ(phone.parts().state("sound"), "playing /system/media/amt-loop.pcm (44100 Hz, format 1, 1024 frames)");
  EXPECT_EQ(shell(phone, "tr '\\0' ' ' </proc/$(cat /tmp/amt-audio.pid)/cmdline"),
            "/system/bin/amt-audio 44100 1 1024 /system/media/amt-loop.pcm ");
  EXPECT_EQ(shell(phone, "kill -9 $(cat /tmp/amt-audio.pid)"), "");
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  while (phone.parts().state("sound") != "silent") ASSERT_LT(std::chrono::steady_clock::now(), deadline);
}

TEST(HardwarePlayer, AtTheEndOfTheFile_Ends) {
  phone phone;
  EXPECT_EQ(shell(phone, "printf 1234 >/tmp/short.pcm; /system/bin/amt-audio 44100 1 1024 /tmp/short.pcm"), "");
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  while (phone.exists("/tmp/amt-audio.pid")) ASSERT_LT(std::chrono::steady_clock::now(), deadline);
}

TEST(HardwarePlayer, WrongArguments_AreRefused) {
  phone phone;
  for (const char* wrong : {"", "44100 1 1024", "44100 1 1024 /none", "0 1 1024 /system/media/amt-loop.pcm",
                            "44100 4 1024 /system/media/amt-loop.pcm", "44100 x 1024 /system/media/amt-loop.pcm"}) {
    EXPECT_THAT(shell(phone, std::string("/system/bin/amt-audio ") + wrong), HasSubstr("usage:")) << wrong;
    EXPECT_EQ(phone.parts().state("sound"), "silent") << wrong;
  }
}

TEST(HardwareCard, OfAGivenSize_IsAMountOfThatSize) {
  phone_options options;
  options.cards = {{"/storage/sdcard1", 123'456}};
  phone phone(options);
  EXPECT_EQ(shell(phone, "df -k --output=size,target /storage/sdcard1 | tail -n 1"), "   123456 /storage/sdcard1\n");
  EXPECT_EQ(shell(phone, "grep -c /storage/sdcard0 /proc/mounts"), "0\n");
}

TEST(HardwareVideo, EachRequest_IsKept) {
  EXPECT_EQ(use_device("video"), "open 0\nselect 0\ninput 0\ncontrol 0\nbad control 22\n");
}

TEST(HardwareVideo, ResultOfAControl_IsTheOneThatWasSet) {
  EXPECT_EQ(use_device("video", "video0 CONTROL_CAMERA 1", 0, 7),
            "open 0\nselect 0\ninput 0\ncontrol 7\nbad control 22\n");
}

TEST(HardwareVideo, WithoutAnInput_ReportsIt) {
  EXPECT_EQ(use_device("video", "video0 VIDIOC_S_INPUT", ENODEV),
            "open 0\nselect 0\ninput 19\ncontrol 0\nbad control 22\n");
}

TEST(HardwareBatteryDriver, AskedFirst_AnswersWithinTheReadersOwnCall) {
  EXPECT_EQ(use_device("battery"), "unprepared -\nprepared 2841\ntold -\n");
}

TEST(HardwareBatteryDriver, Unreadable_ReportsIt) {
  EXPECT_EQ(use_device("battery", "battery read", EIO), "unprepared 5\nprepared 5\ntold 5\n");
}

TEST(HardwareBatteryDriver, Removed_IsNotMadeByWhoeverWritesToIt) {
  phone phone;
  phone.remove("/proc/driver/zelta_battery");
  EXPECT_THAT(shell(phone, "echo amt_get_vbatt >/proc/driver/zelta_battery"), HasSubstr("Read-only file system"));
}

}  // namespace
