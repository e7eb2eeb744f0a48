// The picture: from the gzip member into memory, and from there onto the screen.
#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "amt/amt-screen/banner-data.h"
#include "amt/amt-screen/geometry.h"
#include "amt/amt-screen/log-module.h"
#include "amt/amt-screen/screen.h"

screen_image_st g_screen_image = {.m_width = BANNER_WIDTH,
                                  .m_height = BANNER_HEIGHT,
                                  .m_data = BANNER_MEMBER.data(),
                                  .m_length = BANNER_LENGTH,
                                  .m_pixels = nullptr};

namespace {

constexpr std::int64_t BYTES_PER_PIXEL = 2;
constexpr int GZIP_WINDOW_BITS = 31;        // the largest window, in a gzip wrapper
constexpr char ZLIB_INTERFACE[] = "1.2.8";  // the version that the phone's image is built with

std::size_t image_size() {
  return static_cast<std::size_t>(BYTES_PER_PIXEL) * g_screen_image.m_width * g_screen_image.m_height;
}

// One call that must neither fail nor reach the member's end: see BANNER_LENGTH.
bool inflate_image(std::uint8_t* pixels) {
  z_stream stream = {};
  stream.next_in = const_cast<Bytef*>(g_screen_image.m_data);  // zlib's interface; it only reads
  stream.avail_in = g_screen_image.m_length;
  stream.next_out = pixels;
  stream.avail_out = static_cast<uInt>(image_size());
  if (inflateInit2_(&stream, GZIP_WINDOW_BITS, ZLIB_INTERFACE, static_cast<int>(sizeof stream)) != Z_OK) return false;
  const int result = inflate(&stream, Z_PARTIAL_FLUSH);
  return inflateEnd(&stream) == Z_OK && result == Z_OK;
}

std::uint8_t* load_pixels() {
  auto* pixels = static_cast<std::uint8_t*>(std::malloc(image_size()));
  if (pixels == nullptr) {
    log_message(k_image_log, "Out of memory\n");
    return nullptr;
  }
  if (inflate_image(pixels)) return pixels;
  log_message(k_image_log, "Unexpected inflate error\n");
  std::free(pixels);
  return nullptr;
}

// Bytes at a position relative to the mapped memory; those that would fall outside of it are left out.
class mapped_window {
 public:
  mapped_window(std::uint8_t* base, std::int64_t length) : m_base(base), m_length(length) {}

  void clear(std::int64_t position, std::int64_t count) const {
    const std::int64_t first = inside(position);
    const std::int64_t last = inside(position + count);
    if (first < last) std::memset(m_base + first, 0, static_cast<std::size_t>(last - first));
  }

  void copy(std::int64_t position, const std::uint8_t* source, std::int64_t count) const {
    const std::int64_t first = inside(position);
    const std::int64_t last = inside(position + count);
    if (first < last) std::memcpy(m_base + first, source + (first - position), static_cast<std::size_t>(last - first));
  }

 private:
  std::int64_t inside(std::int64_t position) const { return std::clamp<std::int64_t>(position, 0, m_length); }

  std::uint8_t* m_base;
  std::int64_t m_length;
};

}  // namespace

result_code_en screen_load_image(std::uint32_t width, std::uint32_t height) {
  pub_log_entry(k_image_log);
  std::uint8_t* pixels = load_pixels();
  std::free(g_screen_image.m_pixels);
  g_screen_image.m_pixels = pixels;
  if (pixels == nullptr) return ERR_WRITE;
  g_screen.m_width = width;
  g_screen.m_height = height;
  g_screen.m_is_loaded = 1;
  return ERR_NONE;
}

void screen_draw_image(std::int64_t destination) {
  pub_log_entry(k_log);
  const std::int64_t screen_width = g_screen.m_width;
  const std::int64_t screen_height = g_screen.m_height;
  const std::int64_t width = g_screen_image.m_width;
  const std::int64_t height = g_screen_image.m_height;
  const mapped_window memory(g_screen.m_base, g_screen.m_fixed.smem_len);

  memory.clear(destination, BYTES_PER_PIXEL * screen_distance(screen_width, screen_height));
  const std::int64_t start_column = (screen_width - width) / 2;  // negative on a screen smaller than the picture
  const std::int64_t start_row = (screen_height - height) / 2;
  std::int64_t position = destination + BYTES_PER_PIXEL * (start_column + screen_distance(screen_width, start_row));
  const std::uint8_t* source = g_screen_image.m_pixels;
  for (std::int64_t row = 0; row < height; ++row) {
    memory.copy(position, source, width * BYTES_PER_PIXEL);
    position += screen_width * BYTES_PER_PIXEL;
    source += width * BYTES_PER_PIXEL;
  }
}
