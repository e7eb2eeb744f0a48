#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "amt/amt-screen/make-banner.h"
#include "amt/amt-screen/screen.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/screen/fake-framebuffer.h"

namespace {

class LoadImage : public testing::Test {
 protected:
  LoadImage() : m_framebuffer(720, 1280, 4096) {}

  // The tag and text of the last line.
  std::string said() const {
    const auto lines = m_log.lines();
    return lines.empty() ? "" : lines.back().m_tag + ": " + lines.back().m_text;
  }

  fake_framebuffer m_framebuffer;
  log_capture m_log;
};

TEST_F(LoadImage, BuiltInRecord_GivesAllPixelsAndTheScreensSize) {
  EXPECT_EQ(g_screen_image.m_width, 346u);
  EXPECT_EQ(g_screen_image.m_height, 390u);
  EXPECT_EQ(g_screen_image.m_length, 1968u);
  EXPECT_EQ(screen_load_image(720, 1280), 0);
  ASSERT_NE(g_screen_image.m_pixels, nullptr);
  EXPECT_EQ(std::memcmp(g_screen_image.m_pixels, draw_banner().data(), 269880), 0);
  EXPECT_EQ(g_screen.m_width, 720u);
  EXPECT_EQ(g_screen.m_height, 1280u);
  EXPECT_EQ(g_screen.m_is_loaded, 1);
}

TEST_F(LoadImage, WholeMember_FailsAndDropsTheEarlierImage) {
  ASSERT_EQ(screen_load_image(720, 1280), 0);
  g_screen_image.m_length = 1969;
  EXPECT_EQ(screen_load_image(480, 800), -1);
  EXPECT_EQ(said(), "CHARGE_ONLY_MODE: Unexpected inflate error\n");
  EXPECT_EQ(g_screen_image.m_pixels, nullptr);
  EXPECT_EQ(g_screen.m_width, 720u);
}

TEST_F(LoadImage, EntryLine_CarriesThePicturesTag) {
  ASSERT_EQ(screen_load_image(720, 1280), 0);
  EXPECT_EQ(said(), "CHARGE_ONLY_MODE: screen_load_image()");
  EXPECT_EQ(m_log.lines().size(), 1u);
}

TEST_F(LoadImage, NoData_Fails) {
  g_screen_image.m_length = 0;
  EXPECT_EQ(screen_load_image(720, 1280), -1);
  EXPECT_EQ(said(), "CHARGE_ONLY_MODE: Unexpected inflate error\n");
  EXPECT_EQ(g_screen.m_is_loaded, 0);
}

TEST_F(LoadImage, NotGzip_Fails) {
  static constexpr std::uint8_t ZLIB_WRAPPED[] = {0x78, 0x9C, 0x63, 0x00, 0x00, 0x00, 0x01, 0x00};
  const auto* built_in = g_screen_image.m_data;
  g_screen_image.m_data = ZLIB_WRAPPED;
  g_screen_image.m_length = std::size(ZLIB_WRAPPED);
  EXPECT_EQ(screen_load_image(720, 1280), -1);
  EXPECT_EQ(said(), "CHARGE_ONLY_MODE: Unexpected inflate error\n");
  g_screen_image.m_data = built_in;
}

TEST_F(LoadImage, NoMemory_Fails) {
  ASSERT_EQ(screen_load_image(720, 1280), 0);
  {
    const no_memory none;
    EXPECT_EQ(screen_load_image(720, 1280), -1);
  }
  EXPECT_EQ(said(), "CHARGE_ONLY_MODE: Out of memory\n");
  EXPECT_EQ(g_screen_image.m_pixels, nullptr);
}

}  // namespace
