#include "handset/hardware/hardware.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <charconv>
#include <fstream>

#include "handset/wire/error.h"
#include "handset/wire/files.h"
#include "pub/util/fd.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr char SCREEN_LIGHT[] = "/sys/class/leds/lcd-backlight/brightness";
constexpr char KEY_LIGHT[] = "/sys/class/leds/button-backlight/brightness";
constexpr char VIBRATOR[] = "/sys/class/timed_output/vibrator/enable";
constexpr char VOLTAGE[] = "/sys/class/power_supply/battery/voltage_now";
constexpr char TEMPERATURE[] = "/sys/class/power_supply/battery/temp";
constexpr char DRIVER_NODE[] = "/proc/driver/zelta_battery";
constexpr char ADC[] = "/handset/devices/battery.adc";
constexpr char VIDEO[] = "/handset/devices/video0";
constexpr char RECORDS[] = "/amt";
constexpr char FULL_PLACES[] = "/handset/devices/full";
constexpr char PLAYER[] = "/system/bin/amt-audio";
constexpr char PLAYED_SOUND[] = "/handset/audio";
constexpr char SOUND[] = "/system/media/amt-loop.pcm";
constexpr std::uintmax_t SOUND_SIZE = std::uintmax_t{44100} * 2 * 60;  // bytes: a minute of it
// A file of the kernel whose reads and writes at its beginning give EIO.
constexpr char FAILING_FILE[] = "/proc/self/mem";
// One that nobody may open who could not trace the sandbox's first process (EACCES): not even the phone's root.
constexpr char CLOSED_FILE[] = "/proc/1/mem";

struct initial_file {
  const char* path;
  const char* content;
};
constexpr initial_file FILES[] = {
    {SCREEN_LIGHT, "102\n"},
    {"/sys/class/leds/lcd-backlight/max_brightness", "255\n"},
    {KEY_LIGHT, "0\n"},
    {"/sys/class/leds/button-backlight/max_brightness", "255\n"},
    {VIBRATOR, "0\n"},
    {VOLTAGE, "3812000\n"},
    {TEMPERATURE, "285\n"},
    {DRIVER_NODE, ""},
    {ADC, "2841\n"},
    {PLAYED_SOUND, ""},
    {SOUND, ""},
    {VIDEO, ""},
};
constexpr const char* FOLDERS[] = {"/data/local/wifi", "/data/etc"};

std::string first_line(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

std::string on_or_off(int value) {
  return value != 0 ? "on" : "off";
}

// Whether a player holds its lock on the file.
bool is_locked(const fs::path& path) {
  const pub_fd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return file && ::flock(file.get(), LOCK_EX | LOCK_NB) != 0;
}

fs::path aside(const fs::path& path) {
  return path.string() + ".healthy";
}

}  // namespace

std::optional<storage_card> read_storage_card(std::string_view text) {
  const auto equals = text.rfind('=');
  if (equals == text.npos) return std::nullopt;
  const char* end = text.data() + text.size();
  storage_card card{std::string(text.substr(0, equals)), 0};
  std::uint32_t size = 0;
  const auto [stop, failed] = std::from_chars(text.data() + equals + 1, end, size);
  if (failed != std::errc{} || stop != end || size == 0) return std::nullopt;
  if (card.folder.size() < 2 || card.folder.front() != '/') return std::nullopt;
  card.size = size;
  return card;
}

void hardware::install() {
  for (const auto& file : FILES) write_whole_file(at(file.path), file.content);
  for (const char* folder : FOLDERS) fs::create_directories(at(folder));
  fs::resize_file(at(SOUND), SOUND_SIZE);
  std::error_code missing;  // a program copied out of its build tree may have no player beside it
  fs::copy_file(program_folder().parent_path() / "lib/phone/amt-audio", at(PLAYER), missing);
}

std::vector<bind_mount> hardware::binds() const {
  std::vector<bind_mount> binds = {{at(VIDEO), "/dev/video0", true}};
  // As in procfs, nobody may make files in its folder, which is read-only.
  if (fs::is_directory("/proc/driver")) binds.push_back({at(DRIVER_NODE), DRIVER_NODE, true});
  return binds;
}

// The content lies aside meanwhile, and a link to a file of the kernel stands in its place.
void hardware::break_file(const fs::path& path, file_fault fault) const {
  if (!fs::is_regular_file(fs::symlink_status(at(path)))) throw error("there is no file " + path.string());
  fs::rename(at(path), aside(at(path)));
  fs::create_symlink(fault == file_fault::open ? CLOSED_FILE : FAILING_FILE, at(path));
}

// The preloaded library reads them at each opening.
void hardware::write_full_places() const {
  std::string places;
  for (const auto& [path, fault] : m_faults) {
    if (fault == file_fault::full) places += path.string() + "\n";
  }
  write_whole_file(at(FULL_PLACES), places);
}

void hardware::fail(const fs::path& wanted, file_fault fault) {
  const fs::path path = wanted.lexically_normal();
  if (m_faults.contains(path)) heal(path);
  if (fault != file_fault::full) {
    break_file(path, fault);
  } else if (path.string() != RECORDS && !path.string().starts_with(std::string(RECORDS) + "/")) {
    throw error("only " + std::string(RECORDS) + ", the file system of the records, and what is in it can be full");
  } else if (!fs::exists(fs::symlink_status(at(path)))) {
    throw error("there is no file or folder " + path.string());
  }
  m_faults[path] = fault;
  write_full_places();
}

void hardware::heal(const fs::path& wanted) {
  const fs::path path = wanted.lexically_normal();
  const auto fault = m_faults.find(path);
  if (fault == m_faults.end()) throw error(path.string() + " does not fail");
  if (fault->second != file_fault::full) fs::rename(aside(at(path)), at(path));
  m_faults.erase(fault);
  write_full_places();
}

void hardware::set_adc(std::string_view text) {
  write_whole_file(at(ADC), std::string(text) + "\n");
}

// Where the file's content lies, also while the file fails.
fs::path hardware::content(const fs::path& path) const {
  const auto fault = m_faults.find(path);
  return fault != m_faults.end() && fault->second != file_fault::full ? aside(at(path)) : at(path);
}

std::string hardware::text(const fs::path& path) const {
  return first_line(read_whole_file(content(path)).value_or(""));
}

// Reads lines of a name, a separator and a number.
std::map<std::string, int> hardware::numbers(const fs::path& path, char separator) const {
  std::map<std::string, int> values;
  std::ifstream stream(at(path));
  for (std::string line; std::getline(stream, line);) {
    const auto end = line.find(separator);
    if (end != line.npos) values[line.substr(0, end)] = std::atoi(line.c_str() + end + 1);
  }
  return values;
}

// The driver switches the motor off by itself, so many ms after the value was written.
std::string hardware::vibrator() const {
  struct stat status {};
  timespec now{};
  const long pulse = std::atol(text(VIBRATOR).c_str());
  if (::stat(content(VIBRATOR).c_str(), &status) != 0 || ::clock_gettime(CLOCK_REALTIME, &now) != 0) return "gone";
  const long age = (now.tv_sec - status.st_mtim.tv_sec) * 1000 + (now.tv_nsec - status.st_mtim.tv_nsec) / 1'000'000;
  return pulse > age ? std::to_string(pulse - std::max(age, 0L)) + " ms to go" : "still";
}

std::string hardware::sound() const {
  return is_locked(at(PLAYED_SOUND)) ? "playing " + text(PLAYED_SOUND) : "silent";
}

void hardware::add_battery(report& parts) const {
  const std::string told = text(DRIVER_NODE);
  auto board = numbers("/data/board/state", '=');
  parts.emplace_back("battery", "voltage " + text(VOLTAGE) + ", temperature " + text(TEMPERATURE));
  parts.emplace_back("battery driver", told.empty() ? "got nothing" : "got " + told);
  parts.emplace_back("converter", text(ADC));
  parts.emplace_back("charging from USB",
                     board.contains("usb_charging") ? on_or_off(board["usb_charging"]) : "as ever");
}

void hardware::add_camera(report& parts) const {
  auto video = numbers("/handset/devices/video0.state", ' ');
  static constexpr const char* CAMERAS[] = {"none", "second", "main"};
  parts.emplace_back("camera", CAMERAS[std::clamp(video["camera"], 0, 2)]);
  parts.emplace_back("camera control", video["control"] == 0 ? "none"
                                                             : std::to_string(video["control"] - 1) + " on input " +
                                                                   std::to_string(video["input"]));
}

void hardware::add_radios(report& parts) const {
  auto radio = numbers("/data/hwt/state", '=');
  const auto tuned = [&radio](const std::string& name) {
    return "channel " + std::to_string(radio[name + "_channel"]) + ", rate " + std::to_string(radio[name + "_rate"]);
  };
  parts.emplace_back("bluetooth", on_or_off(radio["bt"]));
  parts.emplace_back("wifi", on_or_off(radio["wifi"]));
  parts.emplace_back("wifi transmitter",
                     radio["tx"] == 0 ? "off" : tuned("tx") + ", power " + std::to_string(radio["tx_power"]));
  parts.emplace_back("wifi receiver", radio["rx"] == 0 ? "off" : tuned("rx"));
  parts.emplace_back("gps", on_or_off(radio["gps"]));
}

// What an eye sees, and beside it what was asked of a lamp that gives less.
std::string hardware::screen_light() const {
  std::string set = text(SCREEN_LIGHT);
  if (m_light_percent == 100) return set;
  return std::to_string(std::atoi(set.c_str()) * m_light_percent / 100) + ", " + set + " is set";
}

hardware::report hardware::state() const {
  auto board = numbers("/data/board/state", '=');
  report parts;
  parts.emplace_back("screen light", screen_light());
  parts.emplace_back("key light", on_or_off(std::atoi(text(KEY_LIGHT).c_str())));
  parts.emplace_back("vibrator", vibrator());
  parts.emplace_back("sound", sound());
  const bool is_looping = board.contains("codec_loop") && board["codec_loop"] >= 0;
  parts.emplace_back("sound loop", is_looping ? "type " + std::to_string(board["codec_loop"]) : "off");
  add_battery(parts);
  add_camera(parts);
  add_radios(parts);
  parts.emplace_back("idle", board["idle"] != 0 ? "yes" : "no");
  return parts;
}

std::string hardware::state(std::string_view part) const {
  for (const auto& [name, value] : state()) {
    if (name == part) return value;
  }
  throw error("the hardware has no " + std::string(part));
}

}  // namespace handset
