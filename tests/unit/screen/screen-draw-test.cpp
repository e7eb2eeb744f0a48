// Drawing, on memory that ends where the mapping ends: one byte beside it is a page that nobody may touch.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "amt/amt-screen/screen.h"
#include "tests/unit/log-capture.h"

namespace {

constexpr std::uint8_t UNTOUCHED = 0xA5;
constexpr std::int64_t IMAGE_WIDTH = 346;
constexpr std::int64_t IMAGE_HEIGHT = 390;

// A screen of 720 x 1280 pixels: 16 bits each, in a half that has room for 32.
constexpr std::uint32_t SCREEN = 1843200;
constexpr std::uint32_t HALF = 3686400;
constexpr std::uint32_t MEMORY_SIZE = 7372800;

// A byte of the test's picture: never black, and different in neighbouring rows and columns.
std::uint8_t image_byte(std::int64_t at) {
  return static_cast<std::uint8_t>(1 + at % 163);
}

// Memory with a forbidden page after it, and before it when it fills whole pages.
class guarded_memory {
 public:
  explicit guarded_memory(std::size_t size)
      : m_page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
        m_length(2 * m_page + (size + m_page - 1) / m_page * m_page),
        m_mapping(static_cast<std::uint8_t*>(
            mmap(nullptr, m_length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
        m_data(m_mapping + m_length - m_page - size) {
    std::memset(m_mapping, UNTOUCHED, m_length);
    mprotect(m_mapping, m_page, PROT_NONE);
    mprotect(m_mapping + m_length - m_page, m_page, PROT_NONE);
  }
  ~guarded_memory() { munmap(m_mapping, m_length); }
  guarded_memory(const guarded_memory&) = delete;
  guarded_memory& operator=(const guarded_memory&) = delete;

  std::uint8_t* data() const { return m_data; }
  // What lies between the forbidden page before the memory and the memory itself.
  bool is_front_untouched() const {
    for (const auto* at = m_mapping + m_page; at < m_data; ++at) {
      if (*at != UNTOUCHED) return false;
    }
    return true;
  }

 private:
  std::size_t m_page;
  std::size_t m_length;
  std::uint8_t* m_mapping;
  std::uint8_t* m_data;
};

class DrawImage : public testing::Test {
 protected:
  DrawImage() {
    g_screen_image.m_pixels = static_cast<std::uint8_t*>(std::malloc(IMAGE_WIDTH * IMAGE_HEIGHT * 2));
    for (std::int64_t at = 0; at < IMAGE_WIDTH * IMAGE_HEIGHT * 2; ++at) g_screen_image.m_pixels[at] = image_byte(at);
  }
  ~DrawImage() override {
    std::free(g_screen_image.m_pixels);
    g_screen_image.m_pixels = nullptr;
    g_screen = {};
    g_screen.m_fd = -1;
  }

  static void use(const guarded_memory& memory, std::uint32_t size, std::uint32_t width, std::uint32_t height) {
    g_screen.m_base = memory.data();
    g_screen.m_fixed.smem_len = size;
    g_screen.m_width = width;
    g_screen.m_height = height;
  }
};

TEST_F(DrawImage, LargeScreen_IsBlackWithTheImageInItsMiddle) {
  const guarded_memory memory(MEMORY_SIZE);
  use(memory, MEMORY_SIZE, 720, 1280);
  screen_draw_image(HALF);
  std::size_t wrong = 0;
  for (std::int64_t y = 0; y < 1280; ++y) {
    for (std::int64_t x = 0; x < 720; ++x) {
      const bool is_image = x >= 187 && x < 533 && y >= 445 && y < 835;
      const std::int64_t at = ((y - 445) * 346 + x - 187) * 2;
      const std::uint8_t* pixel = memory.data() + HALF + (y * 720 + x) * 2;
      if (pixel[0] != (is_image ? image_byte(at) : 0) || pixel[1] != (is_image ? image_byte(at + 1) : 0)) ++wrong;
    }
  }
  EXPECT_EQ(wrong, 0u);
}

TEST_F(DrawImage, Drawing_IsLogged) {
  const guarded_memory memory(MEMORY_SIZE);
  use(memory, MEMORY_SIZE, 720, 1280);
  const log_capture log;
  screen_draw_image(HALF);
  EXPECT_THAT(log.texts(), testing::ElementsAre("screen_draw_image()"));
}

TEST_F(DrawImage, LargeScreen_LeavesTheRestUntouched) {
  const guarded_memory memory(MEMORY_SIZE);
  use(memory, MEMORY_SIZE, 720, 1280);
  screen_draw_image(HALF);
  std::size_t touched = 0;
  for (std::size_t at = 0; at < HALF; ++at) touched += memory.data()[at] != UNTOUCHED ? 1 : 0;
  for (std::size_t at = HALF + SCREEN; at < MEMORY_SIZE; ++at) touched += memory.data()[at] != UNTOUCHED ? 1 : 0;
  EXPECT_EQ(touched, 0u);
}

struct small_screen {
  std::uint32_t m_width;
  std::uint32_t m_height;
  std::uint32_t m_memory;      // bytes
  std::int64_t m_destination;  // byte offset
};

// Each byte that the rows would set, one by one, with those outside left out.
std::vector<std::uint8_t> expected(const small_screen& screen) {
  std::vector<std::uint8_t> memory(screen.m_memory, UNTOUCHED);
  const std::int64_t width = screen.m_width;
  const std::int64_t height = screen.m_height;
  const auto set = [&memory](std::int64_t at, std::uint8_t value) {
    if (at >= 0 && at < static_cast<std::int64_t>(memory.size())) memory[static_cast<std::size_t>(at)] = value;
  };
  for (std::int64_t at = 0; at < width * height * 2; ++at) set(screen.m_destination + at, 0);
  for (std::int64_t y = 0; y < IMAGE_HEIGHT; ++y) {
    for (std::int64_t x = 0; x < IMAGE_WIDTH * 2; ++x) {
      const std::int64_t start = 2 * ((width - IMAGE_WIDTH) / 2 + width * ((height - IMAGE_HEIGHT) / 2));
      set(screen.m_destination + start + y * width * 2 + x, image_byte(y * IMAGE_WIDTH * 2 + x));
    }
  }
  return memory;
}

TEST_F(DrawImage, SmallScreens_NothingOutsideTheMemory) {
  const std::vector<small_screen> screens = {
      {300, 200, 480000, 0},        // smaller both ways, first half
      {300, 200, 480000, 240000},   // second half
      {300, 200, 120000, 0},        // memory for one screen only
      {300, 200, 120000, 240000},   // the second half lies outside
      {300, 200, 240100, 240000},   // 100 bytes of it lie inside
      {346, 390, 539760, 0},        // exactly the image
      {346, 390, 1079520, 539760},  // the same in the second half
      {345, 389, 536820, 0},        // one less: a division that cuts towards zero
      {1, 1, 8, 4},                 // next to nothing
      {1, 1, 4096, 4},              // the same in a page of memory
      {1, 1, 1, 0},                 // half a pixel
      {0, 0, 16, 0},                // no screen at all
      {4000, 1, 64000, 16000},      // one long row
  };
  for (const auto& screen : screens) {
    const guarded_memory memory(screen.m_memory);
    use(memory, screen.m_memory, screen.m_width, screen.m_height);
    screen_draw_image(screen.m_destination);
    const std::vector<std::uint8_t> drawn(memory.data(), memory.data() + screen.m_memory);
    EXPECT_TRUE(drawn == expected(screen))
        << screen.m_width << "x" << screen.m_height << " at " << screen.m_destination << " of " << screen.m_memory;
    EXPECT_TRUE(memory.is_front_untouched());
  }
}

TEST_F(DrawImage, SenselessGeometry_ClearsWhatItReachesAndNoMore) {
  constexpr std::uint32_t SIZE = 8192;
  const guarded_memory memory(SIZE);
  for (const auto& [width, height] : {std::pair<std::uint32_t, std::uint32_t>{720, UINT32_MAX},
                                      {UINT32_MAX, 1280},
                                      {UINT32_MAX, UINT32_MAX},
                                      {0x80000000, 0x80000000}}) {
    std::memset(memory.data(), UNTOUCHED, SIZE);
    use(memory, SIZE, width, height);
    screen_draw_image(0);
    EXPECT_EQ(memory.data()[0], 0) << width << "x" << height;
    EXPECT_EQ(memory.data()[SIZE - 1], 0) << width << "x" << height;
  }
}

TEST_F(DrawImage, NoMemory_NothingIsWritten) {
  const guarded_memory memory(0);
  use(memory, 0, 720, 1280);
  screen_draw_image(0);
  EXPECT_TRUE(memory.is_front_untouched());
}

}  // namespace
