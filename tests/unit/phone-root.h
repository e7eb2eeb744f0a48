// The files of the phone root in which a test program runs.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace phone_root {

inline constexpr char SYNC_CALLS[] = "/handset/sync-calls";

// Tests make and remove phone files; anywhere but in a phone root these would be somebody's.
inline void require() {
  if (!std::filesystem::exists(SYNC_CALLS)) throw std::runtime_error("this test runs in a phone root only");
}

// Makes the file with its folders, in place of whatever is there.
inline void write(const std::filesystem::path& path, std::string_view content) {
  require();
  std::filesystem::create_directories(path.parent_path());
  std::filesystem::remove_all(path);
  std::ofstream(path, std::ios::binary) << content;
}

inline std::string read(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

inline void remove(const std::filesystem::path& path) {
  require();
  std::filesystem::remove_all(path);
}

// How often the platform's sync ran since the last call of this.
inline int take_sync_calls() {
  const std::string calls = read(SYNC_CALLS);
  std::filesystem::resize_file(SYNC_CALLS, 0);
  return static_cast<int>(std::count(calls.begin(), calls.end(), '\n'));
}

inline void set_property(const std::string& name, std::string_view value) {
  write("/data/property/" + name, value);
}

inline std::string get_property(const std::string& name) {
  return read("/data/property/" + name);
}

inline void remove_properties() {
  remove("/data/property");
  std::filesystem::create_directories("/data/property");
}

}  // namespace phone_root
