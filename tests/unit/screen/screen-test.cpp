// The steps at the devices, in order, and the state after each failure.
#include "amt/amt-screen/screen.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

#include "amt/amt-screen/banner.h"
#include "tests/unit/log-capture.h"
#include "tests/unit/screen/fake-framebuffer.h"

namespace {

using calls = std::vector<std::string>;

constexpr std::uint32_t MEMORY = 7372800;     // two halves of 720 x 1280 32-bit pixels
constexpr std::size_t SECOND_HALF = 3686400;  // four bytes for each pixel of the first, though the pixels have two
constexpr std::size_t FOOT_OF_A = 898954;     // a white pixel: (445 + 179) rows and 187 + 10 pixels, two bytes each

class Screen : public testing::Test {
 protected:
  Screen() : m_framebuffer(720, 1280, MEMORY) {}

  calls& happened() { return m_framebuffer.m_calls; }
  // What was written without the program's tag, less the picture's entry line.
  std::vector<std::string> said() const {
    std::vector<std::string> result;
    for (const auto& line : m_log.lines()) {
      if (line.m_tag != "vx-kro-amt" && line.m_text != "screen_load_image()") result.push_back(line.m_text);
    }
    return result;
  }
  void init() {
    ASSERT_EQ(screen_init(), 0);
    happened().clear();
    m_log.clear();
  }

  fake_framebuffer m_framebuffer;
  log_capture m_log;
};

const std::string GET_FIXED = "FBIOGET_FSCREENINFO";
const std::string GET_VARIABLE = "FBIOGET_VSCREENINFO";
const std::string MAP = "mmap 7372800 rw shared";
const std::string CLOSE = "close /dev/graphics/fb0";

calls opened(const calls& more) {
  calls all = {"open /dev/tty0 rw sync", "KDSETMODE 1", "close /dev/tty0", "open /dev/graphics/fb0 rw"};
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

TEST_F(Screen, Init_AllSteps_InOrder) {
  EXPECT_EQ(screen_init(), 0);
  EXPECT_EQ(happened(), opened({GET_FIXED, GET_VARIABLE, MAP}));
  EXPECT_EQ(said(), std::vector<std::string>());
  EXPECT_GE(g_screen.m_fd, 0);
  EXPECT_EQ(g_screen.m_width, 720u);
  EXPECT_EQ(g_screen.m_height, 1280u);
}

TEST_F(Screen, Init_NoConsole_GoesOn) {
  m_framebuffer.m_failing = {"open /dev/tty0 rw sync"};
  EXPECT_EQ(screen_init(), 0);
  EXPECT_EQ(happened(), (calls{"open /dev/tty0 rw sync", "open /dev/graphics/fb0 rw", GET_FIXED, GET_VARIABLE, MAP}));
  EXPECT_EQ(said(), std::vector<std::string>());
}

TEST_F(Screen, Init_ConsoleRefusesGraphics_GoesOn) {
  m_framebuffer.m_failing = {"KDSETMODE 1"};
  EXPECT_EQ(screen_init(), 0);
  EXPECT_EQ(happened(), opened({GET_FIXED, GET_VARIABLE, MAP}));
  EXPECT_EQ(said(), std::vector<std::string>());
}

struct failing_step {
  std::string m_call;
  calls m_happened;  // after the opening
  std::string m_message;
};

TEST_F(Screen, Init_FailingStep_IsLoggedAndClosesTheDevice) {
  const std::vector<failing_step> steps = {
      {"open /dev/graphics/fb0 rw", {}, "fb open failed!\n"},
      {GET_FIXED, {GET_FIXED, CLOSE}, "fb ioctl FBIOGET_FSCREENINFO failed \n"},
      {GET_VARIABLE, {GET_FIXED, GET_VARIABLE, CLOSE}, "fb ioctl FBIOGET_VSCREENINFO failed \n"},
      {MAP, {GET_FIXED, GET_VARIABLE, MAP, CLOSE}, "fb mapping failed!\n"},
  };
  for (const auto& step : steps) {
    happened().clear();
    m_log.clear();
    m_framebuffer.m_failing = {step.m_call};
    EXPECT_EQ(screen_init(), -1) << step.m_call;
    EXPECT_EQ(happened(), opened(step.m_happened));
    EXPECT_EQ(said(), std::vector<std::string>{step.m_message});
    EXPECT_EQ(g_screen.m_fd, -1);
  }
}

TEST_F(Screen, Init_FailingStep_LogsWithoutTag) {
  m_framebuffer.m_failing = {GET_FIXED};
  EXPECT_EQ(screen_init(), -1);
  EXPECT_EQ(m_log.lines().back().m_tag, "");
}

TEST_F(Screen, Init_ImageDoesNotLoad_UnmapsOneScreenOf16BitPixels) {
  g_screen_image.m_length = 1969;
  EXPECT_EQ(screen_init(), -1);
  EXPECT_EQ(happened(), opened({GET_FIXED, GET_VARIABLE, MAP, "munmap 1843200", CLOSE}));
  EXPECT_EQ(said(), std::vector<std::string>{"Unexpected inflate error\n"});
}

TEST_F(Screen, Init_ImageDoesNotLoadOnAHugeScreen_UnmapsNoMoreThanWasMapped) {
  g_screen_image.m_length = 1969;
  m_framebuffer.m_variable.yres = UINT32_MAX;
  EXPECT_EQ(screen_init(), -1);
  EXPECT_EQ(happened(), opened({GET_FIXED, GET_VARIABLE, MAP, "munmap 7372800", CLOSE}));
}

TEST_F(Screen, Init_DeviceWithoutMemory_CannotBeMapped) {
  m_framebuffer.m_fixed.smem_len = 0;
  EXPECT_EQ(screen_init(), -1);
  EXPECT_EQ(said(), std::vector<std::string>{"fb mapping failed!\n"});
}

TEST_F(Screen, Update_First_ShowsTheSecondHalfAndEnablesTheLayer) {
  init();
  EXPECT_EQ(screen_update(), 0);
  EXPECT_EQ(happened(), (calls{"EN_LAYER 0", "SET_LAYER_INPUT_FORMAT 1",
                               "FBIOPUT_VSCREENINFO yoffset=1280 yres_virtual=2560 bits_per_pixel=16", "EN_LAYER 1"}));
  EXPECT_EQ(g_screen.m_enabled_layers, 1u);
  EXPECT_EQ(m_framebuffer.byte(SECOND_HALF + FOOT_OF_A), 0xFF);
  EXPECT_EQ(m_framebuffer.byte(FOOT_OF_A), 0x00);
}

TEST_F(Screen, Update_Second_FlipsBackAndLeavesTheLayerAlone) {
  init();
  ASSERT_EQ(screen_update(), 0);
  happened().clear();
  EXPECT_EQ(screen_update(), 0);
  EXPECT_EQ(happened(), calls{"FBIOPUT_VSCREENINFO yoffset=0 yres_virtual=2560 bits_per_pixel=16"});
  EXPECT_EQ(g_screen.m_enabled_layers, 1u);
  EXPECT_EQ(m_framebuffer.byte(FOOT_OF_A), 0xFF);
}

TEST_F(Screen, Update_SecondHalfIsShown_DrawsIntoTheFirst) {
  m_framebuffer.m_variable.yoffset = 7;
  init();
  EXPECT_EQ(screen_update(), 0);
  EXPECT_EQ(happened().at(2), "FBIOPUT_VSCREENINFO yoffset=0 yres_virtual=2560 bits_per_pixel=16");
}

TEST_F(Screen, Update_PanFails_IsNotLookedAt) {
  init();
  m_framebuffer.m_failing = {"FBIOPUT_VSCREENINFO yoffset=1280 yres_virtual=2560 bits_per_pixel=16"};
  EXPECT_EQ(screen_update(), 0);
  EXPECT_EQ(g_screen.m_enabled_layers, 1u);
}

TEST_F(Screen, Update_LayerCannotBeDisabled_Ends) {
  init();
  m_framebuffer.m_failing = {"EN_LAYER 0"};
  EXPECT_EQ(screen_update(), -1);
  EXPECT_EQ(happened(), calls{"EN_LAYER 0"});
  EXPECT_EQ(said(), std::vector<std::string>{"fb ioctl ZELTAFB_IOCTL_EN_LAYER failed \n"});
}

TEST_F(Screen, Update_FormatIsRefused_EnablesTheLayerAgain) {
  init();
  m_framebuffer.m_failing = {"SET_LAYER_INPUT_FORMAT 1"};
  EXPECT_EQ(screen_update(), -1);
  EXPECT_EQ(happened(), (calls{"EN_LAYER 0", "SET_LAYER_INPUT_FORMAT 1", "EN_LAYER 1"}));
  EXPECT_EQ(said(), std::vector<std::string>{"fb ioctl ZELTAFB_IOCTL_SET_LAYER_INPUT_FORMAT failed \n"});
  EXPECT_EQ(g_screen.m_enabled_layers, 0u);
}

TEST_F(Screen, Update_LayerCannotBeEnabled_TriesOnceMore) {
  init();
  m_framebuffer.m_failing = {"EN_LAYER 1"};
  EXPECT_EQ(screen_update(), -1);
  EXPECT_EQ(happened(), (calls{"EN_LAYER 0", "SET_LAYER_INPUT_FORMAT 1",
                               "FBIOPUT_VSCREENINFO yoffset=1280 yres_virtual=2560 bits_per_pixel=16", "EN_LAYER 1",
                               "EN_LAYER 1"}));
  EXPECT_EQ(said(), std::vector<std::string>{"fb ioctl ZELTAFB_IOCTL_EN_LAYER failed \n"});
  EXPECT_EQ(g_screen.m_enabled_layers, 0u);
}

TEST_F(Screen, Update_AfterAFailedOne_PreparesTheLayerAgain) {
  init();
  m_framebuffer.m_failing = {"EN_LAYER 1"};
  ASSERT_EQ(screen_update(), -1);
  m_framebuffer.m_failing = {};
  happened().clear();
  EXPECT_EQ(screen_update(), 0);
  EXPECT_EQ(happened(), (calls{"EN_LAYER 0", "SET_LAYER_INPUT_FORMAT 1",
                               "FBIOPUT_VSCREENINFO yoffset=0 yres_virtual=2560 bits_per_pixel=16", "EN_LAYER 1"}));
}

TEST_F(Screen, Update_SenselessGeometry_DrawsNothingOutsideAndGoesOn) {
  m_framebuffer.m_variable.xres = UINT32_MAX;
  m_framebuffer.m_variable.yres = UINT32_MAX;
  init();
  EXPECT_EQ(screen_update(), 0);
  EXPECT_EQ(m_framebuffer.byte(MEMORY - 1), 0x00);
}

TEST_F(Screen, Banner_NoScreen_IsNotShown) {
  m_framebuffer.m_failing = {"open /dev/graphics/fb0 rw"};
  amt_handle_load_image_for_handshake();
  EXPECT_EQ(happened(), opened({}));
  EXPECT_EQ(m_log.lines().back().m_tag, "vx-kro-amt");
  EXPECT_EQ(m_log.lines().back().m_text, "screen_init return error, not update screen.");
}

TEST_F(Screen, Banner_Screen_IsShownAfterThreeSeconds) {
  const auto start = std::chrono::steady_clock::now();
  amt_handle_load_image_for_handshake();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(3000));
  ASSERT_FALSE(happened().empty());
  EXPECT_EQ(happened().back(), "EN_LAYER 1");
  EXPECT_EQ(said(), std::vector<std::string>());
}

}  // namespace
