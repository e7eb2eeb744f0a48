// packaging/ against the CMake build: a phone's image is built from the same sources, with the phone's platform.
#include "amt/amt-cfg.h"
#include "pub/result.h"
#include "tests/unit/docs/text.h"
#include "tests/unit/log-capture.h"

namespace {

std::set<std::string> sources_of_image() {
  std::set<std::string> result;
  for (const auto& path : matches(project_text("packaging/Android.bp"), "\"([^\"]+\\.cpp)\"")) {
    EXPECT_TRUE(result.insert(path).second) << path << " is there twice";
  }
  return result;
}

// The sources that a CMake target of a folder lists.
std::set<std::string> sources_of_target(const std::string& folder, const std::string& declaration) {
  std::set<std::string> result;
  const auto list = between(project_text(folder + "/CMakeLists.txt"), declaration, ")");
  for (const auto& path : matches(list, "([a-z0-9/_-]+\\.cpp)")) result.insert(folder + "/" + path);
  return result;
}

std::set<std::string> sources_of_service() {
  auto result = sources_of_target("amt", "add_library(amt-codec STATIC");
  result.merge(sources_of_target("amt", "add_library(amt-service STATIC"));
  result.merge(sources_of_target("amt", "add_executable(vx-kro-amt "));
  result.merge(sources_of_target("amt/amt-screen", "add_library(amt-screen STATIC"));
  result.merge(sources_of_target("pub", "add_library(vx-kro-pub STATIC"));
  return result;
}

}  // namespace

TEST(Packaging, SourcesOfTheImage_AreThoseOfTheBuildWithThePhonesPlatform) {
  auto expected = sources_of_service();
  for (const auto& path : project_files("platform/phone", {".cpp"})) expected.insert(path);
  EXPECT_EQ(sources_of_image(), expected);
}

TEST(Packaging, InitFile_StartsTheProgramInBothWays) {
  const auto init = project_text("packaging/vx-kro-amt.rc");
  EXPECT_EQ(matches(init, "\nservice [a-z-]+ ([^\n]*)"),
            (std::vector<std::string>{"/system/bin/vx-kro-amt", "/system/bin/vx-kro-amt -u"}));
}

TEST(Packaging, SampleConfiguration_FillsEachFieldThatIsUsed) {
  const log_capture log;
  ASSERT_EQ(amt_cfg_init(PROJECT_FOLDER "/packaging/vx-kro-amt.cfg"), ERR_NONE);
  EXPECT_STREQ(g_amt_cfg.m_tty_pc_a, "/dev/ttyGS0");
  EXPECT_STREQ(g_amt_cfg.m_tty_app_a, "/tmp/vx-kro-amt-app");
  EXPECT_STREQ(g_amt_cfg.m_tty_modem_a, "/dev/ttyACM0");
  EXPECT_STREQ(g_amt_cfg.m_tty_at_mux_a, "/dev/ttyACM1");
  EXPECT_STREQ(g_amt_cfg.m_audio_file_a, "/system/media/amt-loop.pcm");
  EXPECT_EQ(g_amt_cfg.m_audio_sample_rate, 44100);
  EXPECT_EQ(g_amt_cfg.m_audio_format, 1);
  EXPECT_EQ(g_amt_cfg.m_audio_frame_count, 1024);
  EXPECT_EQ(g_amt_cfg.m_modem_uart_amt_baudrate, 921600);
  EXPECT_EQ(g_amt_cfg.m_modem_uart_at_baudrate, 115200);
}
