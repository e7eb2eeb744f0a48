#include "handset/hardware/screenshot.h"

#include <png.h>

#include <fstream>
#include <map>
#include <string>

#include "handset/wire/error.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

struct screen {
  std::map<std::string, std::uint32_t> value;  // the lines of fb0.screen
  std::ifstream memory;

  explicit screen(const fs::path& devices) : memory(devices / "graphics/fb0", std::ios::binary) {
    std::ifstream stream(devices / "fb0.screen");
    std::string name;
    for (std::uint32_t number = 0; stream >> name >> number;) value[name] = number;
    if (!memory || value["xres"] == 0 || value["yres"] == 0) throw error("the phone has no screen");
  }

  // One row of pixels; black where the memory has ended.
  std::vector<std::uint8_t> row(std::uint64_t at) {
    std::vector<std::uint8_t> bytes(std::size_t{value["xres"]} * pixel_size());
    memory.clear();
    memory.seekg(static_cast<std::streamoff>(at));
    memory.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes;
  }

  std::size_t pixel_size() { return value["bits_per_pixel"] == 16 ? 2 : 4; }
};

// Five or six bits stretched to eight.
std::uint8_t stretched(unsigned value, unsigned bits) {
  return static_cast<std::uint8_t>(value << (8 - bits) | value >> (2 * bits - 8));
}

void put_565(std::uint8_t* rgb, const std::uint8_t* pixel) {
  const unsigned value = pixel[0] | unsigned{pixel[1]} << 8;
  rgb[0] = stretched(value >> 11, 5);
  rgb[1] = stretched(value >> 5 & 63, 6);
  rgb[2] = stretched(value & 31, 5);
}

void put_8888(std::uint8_t* rgb, const std::uint8_t* pixel) {
  rgb[0] = pixel[2];
  rgb[1] = pixel[1];
  rgb[2] = pixel[0];
}

void draw_half(picture& to, std::size_t column, screen& from, std::uint64_t yoffset) {
  const std::size_t width = from.value["xres"];
  const std::size_t size = from.pixel_size();
  const std::uint64_t start = std::uint64_t{4} * width * yoffset;
  for (std::size_t y = 0; y < from.value["yres"]; ++y) {
    const auto row = from.row(start + y * width * size);
    for (std::size_t x = 0; x < width; ++x) {
      auto* rgb = &to.rgb[(y * to.width + column + x) * 3];
      (size == 2 ? put_565 : put_8888)(rgb, &row[x * size]);
    }
  }
}

picture black(std::size_t width, std::size_t height) {
  return {width, height, std::vector<std::uint8_t>(width * height * 3)};
}

}  // namespace

picture look_at_screen(const fs::path& devices) {
  screen from(devices);
  picture result = black(from.value["xres"], from.value["yres"]);
  if (from.value["layer"] != 0) draw_half(result, 0, from, from.value["yoffset"]);
  return result;
}

picture look_at_both_halves(const fs::path& devices) {
  screen from(devices);
  const std::size_t width = from.value["xres"];
  picture result = black(2 * width, from.value["yres"]);
  draw_half(result, 0, from, 0);
  draw_half(result, width, from, from.value["yres"]);
  return result;
}

void write_png(const picture& what, const fs::path& path) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(what.width);
  image.height = static_cast<png_uint_32>(what.height);
  image.format = PNG_FORMAT_RGB;
  if (png_image_write_to_file(&image, path.c_str(), 0, what.rgb.data(), 0, nullptr) == 0) {
    throw error("cannot write " + path.string() + ": " + image.message);
  }
}

}  // namespace handset
