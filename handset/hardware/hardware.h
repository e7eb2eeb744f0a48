// Room `hardware`: parts that a sandbox lacks. This folder is the host's side of them: files, played devices, the
// screen. Its subfolders run in the phone: preload/ plays devices, hwt/ and board/ are simulated libraries, audio/ is
// the sound player.
//
// The phone's hardware as its files: lights, vibrator, battery, sound, cards. A driver's file takes a value and keeps
// it, as in the kernel, and fails on demand; the rest is read from what the played devices and the simulated libraries
// keep.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "handset/wire/mounts.h"

namespace handset {

// Reads "/storage/sdcard1=2048"; none for any other text.
std::optional<storage_card> read_storage_card(std::string_view text);

//   open  cannot be opened (EACCES)
//   io    opens, but every read and write fails (EIO)
//   full  a file or folder of /amt: its file system has no room left (ENOSPC), for the service and what it starts. The
//         content stays as it is until somebody empties it.
enum class file_fault { open, io, full };

class hardware {
 public:
  explicit hardware(std::filesystem::path root) : m_root(std::move(root)) {}

  // Makes the files that a working phone has.
  void install();
  // The mounts for those that belong under /dev and /proc.
  std::vector<bind_mount> binds() const;

  // Makes a file of the phone fail from now on; heal() brings it back with its content. Both throw error for a path
  // that cannot fail so, or does not fail.
  void fail(const std::filesystem::path& path, file_fault fault);
  void heal(const std::filesystem::path& path);
  // What the battery driver reads from its converter: a number, or any other text.
  void set_adc(std::string_view text);
  // How much of the screen's light is to be seen, 0 to 100: a worn lamp. No request of the service measures it.
  void set_screen_light(int percent) { m_light_percent = percent; }

  // What the hardware now does, part by part in a fixed order, e.g. {"vibrator", "2950 ms to go"}.
  using report = std::vector<std::pair<std::string, std::string>>;
  report state() const;
  // One part of it; throws error when there is no such part.
  std::string state(std::string_view part) const;

 private:
  std::filesystem::path at(const std::filesystem::path& path) const { return m_root / path.relative_path(); }
  void break_file(const std::filesystem::path& path, file_fault fault) const;
  void write_full_places() const;
  std::filesystem::path content(const std::filesystem::path& path) const;
  std::string text(const std::filesystem::path& path) const;
  std::map<std::string, int> numbers(const std::filesystem::path& path, char separator) const;
  std::string screen_light() const;
  std::string vibrator() const;
  std::string sound() const;
  void add_battery(report& parts) const;
  void add_camera(report& parts) const;
  void add_radios(report& parts) const;

  std::filesystem::path m_root;
  std::map<std::filesystem::path, file_fault> m_faults;
  int m_light_percent = 100;
};

}  // namespace handset
