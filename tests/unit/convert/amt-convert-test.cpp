#include "amt/amt-convert/amt-convert.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "pub/result.h"
#include "tests/unit/convert/frames.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"
#include "tests/wire.h"

namespace {

using testing::ElementsAre;

class AmtConvert : public testing::Test {
 protected:
  AmtConvert() { errno = 5; }
  log_capture m_log;
};

TEST_F(AmtConvert, AppToPc_WrapsAndLogsItsEntry) {
  const auto message = message_of(bytes_from_hex("0600 BB 2D 0000"), 0);
  EXPECT_EQ(amt_convert_app_2_pc(message.get()), ERR_NONE);
  EXPECT_EQ(first_bytes(message->m_buf_a, 22), bytes_from_hex("AABBCCDD 0E000000 02000000  0600BB2D0000  3A2CF7D4"));
  EXPECT_THAT(m_log.texts(), ElementsAre("amt_convert_app_2_pc()"));
  EXPECT_EQ(m_log.lines()[0].m_tag, "vx-kro-amt");
  EXPECT_EQ(m_log.lines()[0].m_priority, ANDROID_LOG_DEBUG);
}

TEST_F(AmtConvert, AppToPcNull_LogsTheFlag) {
  EXPECT_EQ(amt_convert_app_2_pc(nullptr), ERR_ARGUMENT);
  EXPECT_THAT(m_log.texts(), ElementsAre("amt_convert_app_2_pc()",
                                         failure_line("amt/amt-convert", "amt_convert_app_2_pc", -101, "5"), "1"));
}

TEST_F(AmtConvert, AppToPcEmpty_LogsTheFlag) {
  EXPECT_EQ(amt_convert_app_2_pc(message_of({}, 0).get()), ERR_ARGUMENT);
  EXPECT_THAT(m_log.texts(), ElementsAre("amt_convert_app_2_pc()",
                                         failure_line("amt/amt-convert", "amt_convert_app_2_pc", -101), "1"));
}

TEST_F(AmtConvert, PcToApp_UnwrapsAndLogsItsEntry) {
  const auto message = message_of(VERSION_REQUEST);
  EXPECT_EQ(amt_convert_pc_2_app(message.get()), ERR_NONE);
  EXPECT_EQ(message->m_buf_len, 15u);
  EXPECT_THAT(m_log.texts(), ElementsAre("amt_convert_pc_2_app()"));
}

// Callers ask this function whether they hold a frame or text, so the answer "text" is no failure to log.
TEST_F(AmtConvert, PcToAppText_FailsWithoutALine) {
  EXPECT_EQ(amt_convert_pc_2_app(message_of(bytes_from_text("AT\r")).get()), ERR_FAIL);
  EXPECT_EQ(amt_convert_pc_2_app(message_of(PRE_RESPONSE).get()), ERR_FAIL);
  EXPECT_THAT(m_log.texts(), ElementsAre("amt_convert_pc_2_app()", "amt_convert_pc_2_app()"));
}

TEST_F(AmtConvert, PcToAppNull_LogsTheFlags) {
  EXPECT_EQ(amt_convert_pc_2_app(nullptr), ERR_ARGUMENT);
  EXPECT_THAT(m_log.texts(), ElementsAre("amt_convert_pc_2_app()",
                                         failure_line("amt/amt-convert", "amt_convert_pc_2_app", -101, "5"), "1, 0"));
}

TEST_F(AmtConvert, PcToAppEmpty_LogsTheFlags) {
  EXPECT_EQ(amt_convert_pc_2_app(message_of(VERSION_REQUEST, 0).get()), ERR_ARGUMENT);
  EXPECT_THAT(m_log.texts(), ElementsAre("amt_convert_pc_2_app()",
                                         failure_line("amt/amt-convert", "amt_convert_pc_2_app", -101), "0, 1"));
}

}  // namespace
