// The mode banner on the phone's screen: the picture pixel by pixel, and every step at its devices failing once.
#include "amt/amt-screen/make-banner.h"
#include "handset/hardware/screenshot.h"
#include "tests/handset/serial-phone.h"

using namespace handset_test;

namespace {

handset::phone_options usb_start() {
  auto options = raw_modem();
  options.mode = handset::run_mode::usb;
  return options;
}

// The modem speaks first, the PC answers in time.
void complete_handshake(handset::phone& phone) {
  wait_serving(phone);
  ASSERT_TRUE(phone.modem_end().write_all("\r\n+CREG: 1\r\n"));
  ASSERT_EQ(phone.pc().read_exactly(12), "\r\n+CREG: 1\r\n");
  ASSERT_TRUE(phone.wait_log(", timeMSec:5000. "));
  ASSERT_TRUE(phone.pc().write_all("AT+HELLO\r"));
  ASSERT_EQ(phone.modem_end().read_exactly(9), "AT+HELLO\r");
}

void expect_serving(handset::phone& phone) {
  ASSERT_TRUE(phone.pc().write_all("AT+STILL\r"));
  EXPECT_EQ(phone.modem_end().read_exactly(9), "AT+STILL\r");
}

void wait_device_call(handset::phone& phone, const std::string& last) {
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  for (;;) {
    const auto calls = handset::device_calls(phone.devices());
    if (!calls.empty() && calls.back() == last) return;
    ASSERT_LT(std::chrono::steady_clock::now(), deadline) << phone.log().text();
  }
}

// Pixels that are not what the generator drew, with black around it.
std::size_t wrong_pixels(const handset::picture& seen) {
  const auto banner = draw_banner();
  std::size_t wrong = 0;
  for (std::size_t y = 0; y < seen.height; ++y) {
    for (std::size_t x = 0; x < seen.width; ++x) {
      const bool is_banner = x >= 187 && x < 533 && y >= 445 && y < 835;
      const std::uint8_t expected = is_banner ? banner[((y - 445) * 346 + x - 187) * 2] : 0;
      const auto* rgb = &seen.rgb[(y * seen.width + x) * 3];
      if (rgb[0] != expected || rgb[1] != expected || rgb[2] != expected) ++wrong;
    }
  }
  return wrong;
}

TEST(BannerScreen, AfterTheHandshake_ShowsThePictureInTheSecondHalf) {
  handset::phone phone(usb_start());
  phone.start();
  complete_handshake(phone);
  wait_device_call(phone, "fb0 ZELTAFB_IOCTL_EN_LAYER 1");
  const auto seen = handset::look_at_screen(phone.devices());
  ASSERT_EQ(seen.width, 720u);
  ASSERT_EQ(seen.height, 1280u);
  EXPECT_EQ(wrong_pixels(seen), 0u);
  const auto both = handset::look_at_both_halves(phone.devices());
  std::size_t white_in_the_first = 0;
  for (std::size_t y = 0; y < both.height; ++y) {
    for (std::size_t x = 0; x < 720; ++x) white_in_the_first += both.rgb[(y * both.width + x) * 3] != 0 ? 1 : 0;
  }
  EXPECT_EQ(white_in_the_first, 0u);
  EXPECT_EQ(handset::console_mode(phone.devices()), "1");
}

TEST(BannerScreen, WithoutConsole_ShowsThePicture) {
  handset::phone phone(usb_start());
  handset::fail_device_call(phone.devices(), "tty0 open", ENOENT);
  phone.start();
  complete_handshake(phone);
  wait_device_call(phone, "fb0 ZELTAFB_IOCTL_EN_LAYER 1");
  EXPECT_EQ(wrong_pixels(handset::look_at_screen(phone.devices())), 0u);
}

TEST(BannerScreen, SmallerThanThePicture_LeavesTheServiceAlone) {
  auto options = usb_start();
  options.screen = handset::screen_size{300, 200, {}};
  handset::phone phone(options);
  phone.start();
  complete_handshake(phone);
  wait_device_call(phone, "fb0 ZELTAFB_IOCTL_EN_LAYER 1");
  expect_serving(phone);
}

struct failing_step {
  const char* m_name;
  const char* m_call;
  const char* m_message;
};

void PrintTo(const failing_step& step, std::ostream* stream) {
  *stream << step.m_call;
}

class BannerFailure : public ::testing::TestWithParam<failing_step> {};

TEST_P(BannerFailure, AtAStep_IsLoggedAndTheServiceGoesOn) {
  handset::phone phone(usb_start());
  handset::fail_device_call(phone.devices(), GetParam().m_call, EIO);
  phone.start();
  complete_handshake(phone);
  EXPECT_TRUE(phone.wait_log(GetParam().m_message));
  expect_serving(phone);
}

constexpr failing_step STEPS[] = {
    {"Open", "fb0 open", "fb open failed!"},
    {"Fixed", "fb0 FBIOGET_FSCREENINFO", "fb ioctl FBIOGET_FSCREENINFO failed"},
    {"Variable", "fb0 FBIOGET_VSCREENINFO", "fb ioctl FBIOGET_VSCREENINFO failed"},
    {"Map", "fb0 mmap", "fb mapping failed!"},
    {"LayerOff", "fb0 ZELTAFB_IOCTL_EN_LAYER 0", "fb ioctl ZELTAFB_IOCTL_EN_LAYER failed"},
    {"Format", "fb0 ZELTAFB_IOCTL_SET_LAYER_INPUT_FORMAT", "fb ioctl ZELTAFB_IOCTL_SET_LAYER_INPUT_FORMAT failed"},
    {"LayerOn", "fb0 ZELTAFB_IOCTL_EN_LAYER 1", "fb ioctl ZELTAFB_IOCTL_EN_LAYER failed"},
};

INSTANTIATE_TEST_SUITE_P(Steps, BannerFailure, ::testing::ValuesIn(STEPS),
                         [](const auto& step) { return step.param.m_name; });

}  // namespace
