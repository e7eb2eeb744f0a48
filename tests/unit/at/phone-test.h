// As at_test, in a phone root whose record files each test starts without.
#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tests/unit/at/at-test.h"
#include "tests/unit/failure-line.h"

namespace fs = std::filesystem;

class phone_test : public at_test {
 protected:
  phone_test() {
    // Only a phone root has this file; anywhere else the folders below are somebody's.
    if (!fs::exists("/handset/sync-calls")) throw std::runtime_error("this test runs in a phone root only");
    for (const char* path : {"/amt", "/mnt", "/data/misc/wifi", "/system/etc/wifi", "/data/hwt", "/system/lib64"}) {
      fs::remove_all(path);
    }
    for (const char* path : {"/amt/BT", "/amt/WIFI", "/data/misc/wifi", "/system/etc/wifi"}) {
      fs::create_directories(path);
    }
    fs::resize_file("/handset/sync-calls", 0);
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
    const std::string lines = read("/handset/sync-calls").value_or("");
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

  // Whether a line is there and the error-trace line of a function stands right in front of it.
  testing::AssertionResult has_failure(const std::string& function, std::int32_t code, const std::string& line,
                                       const std::string& error = "-?[0-9]+") const {
    const auto texts = m_log.texts();
    const testing::Matcher<const std::string&> trace = failure_line("amt/[a-z-]+", function, code, error);
    for (std::size_t at = 1; at < texts.size(); ++at) {
      if (texts[at] == line && trace.Matches(texts[at - 1])) return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "in " << testing::PrintToString(texts);
  }
};
