// The host's side of the devices that libhandset-preload.so plays: their files, which lie in the phone's tree under
// /handset/devices, and what a person who holds the phone would see of them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "handset/wire/mounts.h"

namespace handset {

struct screen_size {
  std::uint32_t width = 720;
  std::uint32_t height = 1280;
  std::optional<std::uint32_t> memory;  // what the framebuffer reports; none: two screens of 32-bit pixels
};

// Reads "720x1280"; none for any other text.
std::optional<screen_size> read_screen_size(std::string_view text);

// Makes the files: an all black screen, its layer on, the console in text mode.
void make_devices(const std::filesystem::path& folder, const screen_size& screen);
// The mounts that put them under /dev, and the library into the phone.
std::vector<bind_mount> device_binds(const std::filesystem::path& folder);
// The value of LD_PRELOAD for a process of the phone.
std::string preload_inside();

// The calls made so far, one a line: "fb0 ZELTAFB_IOCTL_EN_LAYER 1"; " failed 5" follows when it failed with errno 5.
// The names are those of handset/hardware/preload; besides requests there are "open" and "mmap SIZE", and "read" and
// "write" for a stream that is opened.
std::vector<std::string> device_calls(const std::filesystem::path& folder);
// Which files the service and its commands gave away, one a line: "/dev/ttyAPP 1000 1001", the path, the user's number
// and the group's; -1 for one that stays.
std::vector<std::string> owner_changes(const std::filesystem::path& folder);
// From now on calls that begin with these words ("fb0 open", "fb0 ZELTAFB_IOCTL_EN_LAYER 1") fail with that errno.
void fail_device_call(const std::filesystem::path& folder, const std::string& words, int error);
// From now on such calls return that number when they work, as a camera driver's control does.
void set_device_result(const std::filesystem::path& folder, const std::string& words, int result);
void heal_device_calls(const std::filesystem::path& folder);
// "0" text, "1" graphics.
std::string console_mode(const std::filesystem::path& folder);

}  // namespace handset
