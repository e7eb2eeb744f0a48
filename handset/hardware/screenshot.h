// What a phone's screen shows, as a PNG file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace handset {

struct picture {
  std::size_t width = 0;
  std::size_t height = 0;
  std::vector<std::uint8_t> rgb;  // row after row, 3 bytes a pixel
};

// The display as the operator sees it: black while the layer is off. The driver starts at 4 bytes for each pixel above
// yoffset, whatever the pixels' format, and takes one row of pixels of the format after the other.
picture look_at_screen(const std::filesystem::path& devices);
// Both halves of the framebuffer, side by side, whichever is shown.
picture look_at_both_halves(const std::filesystem::path& devices);

// Throws handset::error when the file cannot be written.
void write_png(const picture& what, const std::filesystem::path& path);

}  // namespace handset
