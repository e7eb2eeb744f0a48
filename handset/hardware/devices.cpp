#include "handset/hardware/devices.h"

#include <charconv>
#include <fstream>

#include "handset/wire/error.h"
#include "handset/wire/files.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr const char* LIBRARY = "libhandset-preload.so";
constexpr std::uint32_t MAX_SIDE = 10000;  // pixels; the memory of such a screen still counts in 32 bits
constexpr const char* LIBRARY_INSIDE = "/handset/libhandset-preload.so";

void append_line(const fs::path& path, const std::string& line) {
  std::ofstream stream(path, std::ios::binary | std::ios::app);
  if (!(stream << line << '\n').flush()) throw error("cannot write " + path.string());
}

std::vector<std::string> lines_of(const fs::path& path) {
  std::vector<std::string> lines;
  std::ifstream stream(path);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string screen_text(const screen_size& screen, std::uint64_t memory) {
  return "xres " + std::to_string(screen.width) + "\nyres " + std::to_string(screen.height) +
         "\nyoffset 0\nyres_virtual " + std::to_string(std::uint64_t{screen.height} * 2) +
         "\nbits_per_pixel 32\nlayer 1\nformat 0\nsmem_len " + std::to_string(memory) + "\n";
}

}  // namespace

std::optional<screen_size> read_screen_size(std::string_view text) {
  screen_size size;
  const char* end = text.data() + text.size();
  const auto width = std::from_chars(text.data(), end, size.width);
  if (width.ec != std::errc{} || width.ptr == end || *width.ptr != 'x') return std::nullopt;
  const auto height = std::from_chars(width.ptr + 1, end, size.height);
  if (height.ec != std::errc{} || height.ptr != end) return std::nullopt;
  if (size.width == 0 || size.height == 0 || size.width > MAX_SIDE || size.height > MAX_SIDE) return std::nullopt;
  return size;
}

void make_devices(const fs::path& folder, const screen_size& screen) {
  const std::uint64_t usual = std::uint64_t{screen.width} * screen.height * 4 * 2;
  const std::uint64_t memory = screen.memory.value_or(static_cast<std::uint32_t>(usual));
  write_whole_file(folder / "graphics/fb0", "");
  fs::resize_file(folder / "graphics/fb0", memory);
  write_whole_file(folder / "fb0.screen", screen_text(screen, memory));
  write_whole_file(folder / "tty0", "");
  write_whole_file(folder / "tty0.mode", "0\n");
}

std::vector<bind_mount> device_binds(const fs::path& folder) {
  return {{folder / "graphics", "/dev/graphics", true},
          {folder / "tty0", "/dev/tty0", true},
          {program_folder().parent_path() / "lib" / LIBRARY, LIBRARY_INSIDE}};
}

std::string preload_inside() {
  return LIBRARY_INSIDE;
}

std::vector<std::string> device_calls(const fs::path& folder) {
  return lines_of(folder / "calls");
}

std::vector<std::string> owner_changes(const fs::path& folder) {
  return lines_of(folder / "owners");
}

void fail_device_call(const fs::path& folder, const std::string& words, int error) {
  append_line(folder / "faults", std::to_string(error) + " " + words);
}

void set_device_result(const fs::path& folder, const std::string& words, int result) {
  const std::string older = read_whole_file(folder / "results").value_or("");  // the first line that fits counts
  write_whole_file(folder / "results", std::to_string(result) + " " + words + "\n" + older);
}

void heal_device_calls(const fs::path& folder) {
  fs::remove(folder / "faults");
}

std::string console_mode(const fs::path& folder) {
  const std::string text = read_whole_file(folder / "tty0.mode").value_or("");
  return text.substr(0, text.find('\n'));
}

}  // namespace handset
