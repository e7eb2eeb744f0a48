// Framebuffer and console of a phone: answered, written down, failing on demand, and seen from outside.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handset/hardware/call-names.h"
#include "handset/hardware/devices.h"
#include "handset/hardware/screenshot.h"
#include "handset/phone/phone.h"
#include "handset/wire/files.h"

namespace {

using handset::exited;
using handset::phone;
using handset::phone_options;
using handset::picture;
using testing::ElementsAre;
using testing::HasSubstr;

phone_options device_user(std::vector<std::string> arguments = {}) {
  phone_options options;
  options.service = handset::program_folder() / "handset-device-user";
  options.arguments = std::move(arguments);
  options.screen = handset::screen_size{6, 4, {}};
  return options;
}

// What the program in the phone printed.
std::string use_devices(phone& phone) {
  phone.start();
  EXPECT_EQ(phone.wait_exit(), exited(0));
  return phone.out().text();
}

std::string colour(const picture& what, std::size_t x, std::size_t y) {
  const auto* rgb = &what.rgb[(y * what.width + x) * 3];
  return std::to_string(rgb[0]) + " " + std::to_string(rgb[1]) + " " + std::to_string(rgb[2]);
}

TEST(DeviceCalls, EachStep_IsAnswered) {
  phone phone(device_user());
  EXPECT_EQ(use_devices(phone),
            "open 0\nmode 0\nbad mode 22\nunknown 25\n"
            "open 0\nfixed 0\nvariable 0\n6x4 of 8, 192 bytes\nmap 0\n"
            "early format 16\noff 0\nformat 0\npan 0\non 0\npan too far 22\n");
  EXPECT_EQ(handset::console_mode(phone.devices()), "1");
}

TEST(DeviceCalls, EachStep_IsWrittenDown) {
  phone phone(device_user());
  use_devices(phone);
  EXPECT_THAT(
      handset::device_calls(phone.devices()),
      ElementsAre("tty0 open", "tty0 KDSETMODE 1", "tty0 KDSETMODE 9 failed 22", "fb0 open", "fb0 FBIOGET_FSCREENINFO",
                  "fb0 FBIOGET_VSCREENINFO", "fb0 mmap 192", "fb0 ZELTAFB_IOCTL_SET_LAYER_INPUT_FORMAT 1 failed 16",
                  "fb0 ZELTAFB_IOCTL_EN_LAYER 0", "fb0 ZELTAFB_IOCTL_SET_LAYER_INPUT_FORMAT 1",
                  "fb0 FBIOPUT_VSCREENINFO yoffset=4 yres_virtual=8 bits_per_pixel=16", "fb0 ZELTAFB_IOCTL_EN_LAYER 1",
                  "fb0 FBIOPUT_VSCREENINFO yoffset=5 yres_virtual=8 bits_per_pixel=16 failed 22"));
}

TEST(DeviceFault, OfOneCall_FailsThatCallOnly) {
  struct row {
    std::string words;
    int error;
    std::string printed;
  };
  const std::vector<row> rows = {
      {"tty0 open", ENOENT, "open 2\nmode 9\n"},
      {"tty0 KDSETMODE", EPERM, "open 0\nmode 1\nbad mode 1\n"},
      {"fb0 open", EACCES, "open 13\nfixed 9\n"},
      {"fb0 FBIOGET_FSCREENINFO", EIO, "open 0\nfixed 5\nvariable 0\n"},
      {"fb0 FBIOGET_VSCREENINFO", EIO, "fixed 0\nvariable 5\n"},
      {"fb0 mmap", ENOMEM, "map 12\n"},
      {"fb0 ZELTAFB_IOCTL_EN_LAYER", EIO, "off 5\n"},
      {"fb0 ZELTAFB_IOCTL_EN_LAYER 1", EIO, "off 0\nformat 0\npan 0\non 5\n"},
      {"fb0 ZELTAFB_IOCTL_SET_LAYER_INPUT_FORMAT", EIO, "early format 5\noff 0\nformat 5\n"},
      {"fb0 FBIOPUT_VSCREENINFO", EINVAL, "format 0\npan 22\non 0\n"},
      {"fb0 FBIOPUT", EIO, "pan 0\n"},  // half a word is no word
  };
  phone phone(device_user());
  for (const auto& row : rows) {
    handset::heal_device_calls(phone.devices());
    handset::fail_device_call(phone.devices(), row.words, row.error);
    EXPECT_THAT(use_devices(phone), HasSubstr(row.printed)) << row.words;
  }
}

TEST(DeviceFault, Healed_IsGone) {
  phone phone(device_user());
  handset::heal_device_calls(phone.devices());
  handset::fail_device_call(phone.devices(), "fb0 mmap", ENOMEM);
  handset::fail_device_call(phone.devices(), "tty0 open", ENOENT);
  EXPECT_THAT(use_devices(phone), HasSubstr("map 12\n"));
  handset::heal_device_calls(phone.devices());
  EXPECT_THAT(use_devices(phone), HasSubstr("map 0\n"));
}

TEST(DeviceScreen, DrawnSecondHalf_IsWhatOneSees) {
  phone phone(device_user());
  use_devices(phone);
  const picture seen = handset::look_at_screen(phone.devices());
  ASSERT_EQ(seen.width, 6u);
  ASSERT_EQ(seen.height, 4u);
  EXPECT_EQ(colour(seen, 5, 0), "255 0 0");
  EXPECT_EQ(colour(seen, 5, 1), "0 255 0");
  EXPECT_EQ(colour(seen, 4, 0), "0 0 0");
  EXPECT_EQ(colour(seen, 5, 2), "0 0 0");
}

TEST(DeviceScreen, LayerOff_IsBlack) {
  phone phone(device_user({"dark"}));
  use_devices(phone);
  EXPECT_EQ(colour(handset::look_at_screen(phone.devices()), 5, 0), "0 0 0");
}

TEST(DeviceScreen, BothHalves_LieSideBySide) {
  phone phone(device_user({"dark"}));
  use_devices(phone);
  const picture both = handset::look_at_both_halves(phone.devices());
  ASSERT_EQ(both.width, 12u);
  ASSERT_EQ(both.height, 4u);
  EXPECT_EQ(colour(both, 5, 0), "0 0 0");
  EXPECT_EQ(colour(both, 11, 0), "255 0 0");
  EXPECT_EQ(colour(both, 11, 1), "0 255 0");
}

TEST(DeviceScreen, Png_IsWritten) {
  phone phone(device_user());
  const auto file = phone.host_path("/data/shot.png");
  handset::write_png(handset::look_at_screen(phone.devices()), file);
  const std::string png = phone.read_file("/data/shot.png").value_or("");
  EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
  EXPECT_EQ(png.substr(16, 8), std::string("\0\0\0\x06\0\0\0\x04", 8));
  EXPECT_THROW(handset::write_png({}, phone.host_path("/no/such/folder.png")), handset::error);
}

TEST(DeviceScreen, MemoryOfAnotherSize_IsWhatTheDeviceGives) {
  auto options = device_user();
  options.screen->memory = 0;
  phone phone(options);
  EXPECT_THAT(use_devices(phone), HasSubstr("6x4 of 8, 0 bytes\nmap 22\n"));
  EXPECT_EQ(colour(handset::look_at_screen(phone.devices()), 0, 0), "0 0 0");
}

TEST(DeviceScreen, None_NoDevicesAndNothingPreloaded) {
  auto options = device_user();
  options.screen = std::nullopt;
  phone phone(options);
  EXPECT_THAT(use_devices(phone), testing::StartsWith("open 2\n"));
  EXPECT_THROW(handset::look_at_screen(phone.devices()), handset::error);
  EXPECT_EQ(phone.exec({"test", "-e", "/dev/graphics"}).status, exited(1));
}

TEST(DeviceScreenSize, Text_IsReadOrRefused) {
  const auto size = handset::read_screen_size("480x800");
  ASSERT_TRUE(size);
  EXPECT_EQ(size->width, 480u);
  EXPECT_EQ(size->height, 800u);
  for (const char* text : {"", "none", "480", "480x", "x800", "0x800", "480x0", "480x800x", "-1x800", "10001x1"}) {
    EXPECT_FALSE(handset::read_screen_size(text)) << text;
  }
}

// The functions that a library of the build gives out, with these beginnings.
std::string exported(const std::string& library, const std::string& names) {
  const auto folder = handset::program_folder().parent_path();
  const std::string command = "nm -D --defined-only -f just-symbols " + (folder / library).string() + " | grep -E '" +
                              names + "' | LC_ALL=C sort | tr '\\n' ' '";
  std::FILE* pipe = ::popen(command.c_str(), "r");
  std::string text;
  for (int c; pipe != nullptr && (c = std::fgetc(pipe)) != EOF;) text += static_cast<char>(c);
  EXPECT_EQ(::pclose(pipe), 0);
  return text;
}

std::string listed(const std::string& library, std::size_t functions) {
  const auto calls = handset::simulated_calls(library);
  std::vector<std::string> names(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(functions));
  std::sort(names.begin(), names.end());
  std::string text;
  for (const auto& name : names) text += name + " ";
  return text;
}

TEST(SimulatedCalls, Lists_AreThoseOfTheLibraries) {
  EXPECT_EQ(listed("hwt", 8), exported("lib/libhwt.so", "^hwt_"));
  EXPECT_EQ(listed("board", 6), exported("lib/board/amt.vx5210.misc.so", "^(IsCharge|amt_|enter_|codec_|create_)"));
}

}  // namespace
