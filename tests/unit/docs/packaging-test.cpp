// packaging/vx-kro-amt.cfg: the service understands each line of it.
#include <gtest/gtest.h>

#include "amt/amt-cfg.h"
#include "pub/result.h"
#include "tests/unit/log-capture.h"

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
