// The record files of the phone root in which a test program runs, for a fixture to inherit: each test starts without
// them.
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "tests/unit/phone-root.h"

namespace fs = std::filesystem;

class record_files {
 protected:
  record_files() {
    phone_root::require();
    for (const char* path : {"/amt", "/mnt", "/data/misc/wifi", "/system/etc/wifi", "/data/hwt", "/system/lib64"}) {
      fs::remove_all(path);
    }
    for (const char* path : {"/amt/BT", "/amt/WIFI", "/data/misc/wifi", "/system/etc/wifi"}) {
      fs::create_directories(path);
    }
    fs::resize_file(phone_root::SYNC_CALLS, 0);
  }

  static void write(const fs::path& path, std::string_view content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
  }
  // None when there is no such file.
  static std::optional<std::string> read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
  // How often the platform's sync ran.
  static int syncs() {
    const std::string lines = read(phone_root::SYNC_CALLS).value_or("");
    return static_cast<int>(std::count(lines.begin(), lines.end(), '\n'));
  }
  // Ways in which a record cannot be written. Each replaces what lies at the path.
  static void make_full(const fs::path& path) {
    fs::remove_all(path);
    fs::create_symlink("/dev/full", path);
  }
  static void make_read_only_system(const fs::path& path) {
    fs::remove_all(path);
    fs::create_symlink("/usr/no-such-record", path);
  }
  static void make_forbidden(const fs::path& path, std::string_view content = "") {
    write(path, content);
    chmod(path.c_str(), 0);
  }
};
