#include "station/words/explain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "station/words/words.h"
#include "tests/station/scripted-phone.h"

namespace {

using testing::HasSubstr;

TEST(Explain, Word_ShowsWhatItSendsOnWhichLinkAndItsUnits) {
  EXPECT_EQ(station_explain(*station_find_word("battery")),
            "battery: The battery's voltage or temperature\n"
            "\n"
            "battery voltage\n"
            "  as frame   frame 9 AMT_READ_BATTERY_CMD, on the application's link\n"
            "  answer     voltage: a number in uV, shown in V too\n"
            "\n"
            "battery temperature\n"
            "  as frame   frame 55 AMT_TEMPERATURE_CMD, on the application's link\n"
            "  answer     temperature: a number in 0.1 degC, shown in degC too\n"
            "\n"
            "when it is refused: the driver's file could not be opened, read or written\n");
}

TEST(Explain, Write_ShowsWhatItTakesAndHowItIsReadBack) {
  const std::string text = station_explain(*station_find_word("imei"));
  EXPECT_THAT(text, HasSubstr("  takes      NUMBER must have exactly 15 digits\n"));
  EXPECT_THAT(text, HasSubstr("  as text    \"AT^DCGSNW=<NUMBER>\\r\", on the PC link\n"));
  EXPECT_THAT(text, HasSubstr("  as frame   frame 5 AMT_WRITEIMEI_CMD 21:str=<NUMBER>, on both links\n"));
  EXPECT_THAT(text, HasSubstr("  read back  always; not with --no-verify\n"));
}

TEST(Explain, EveryWord_HasAText) {
  for (const auto& word : station_words()) {
    const auto got = run_station({"explain", word.m_name});
    EXPECT_EQ(got.m_status, 0) << word.m_name;
    EXPECT_THAT(got.m_out, HasSubstr(std::string(word.m_name) + ": ")) << word.m_name;
  }
}

TEST(Explain, UnknownWord_IsWrongUsage) {
  EXPECT_EQ(run_station({"explain", "nosuch"}).m_status, 2);
}

TEST(ExplainUnknown, NearWords_AreNamed) {
  EXPECT_EQ(station_explain_unknown("batery"), "there is no word 'batery'; near: battery");
  EXPECT_THAT(station_explain_unknown("wifi"), HasSubstr("near: wifi-address, wifi-tx, wifi-rx, wifi-rf"));
  EXPECT_EQ(station_explain_unknown("xyzzy"), "there is no word 'xyzzy'; amt-station --help lists them");
  EXPECT_EQ(station_explain_unknown("\x1b"), "there is no word '\\x1B'; amt-station --help lists them");
}

TEST(ExplainUsage, UnknownWord_IsNamedInTheResultToo) {
  const auto got = run_station({"--json", "--port", "x", "dance"});
  EXPECT_EQ(got.m_status, 2);
  EXPECT_THAT(got.m_err, HasSubstr("there is no word 'dance'"));
  EXPECT_EQ(
      got.m_out,
      R"({"kind":"result","schema":2,"exit":2,"message":"there is no word 'dance'; amt-station --help lists them"})"
      "\n");
}

TEST(ExplainUsage, NoWord_IsNamed) {
  EXPECT_THAT(run_station({"--port", "x"}).m_err, HasSubstr("a word is missing"));
  EXPECT_THAT(run_station({"--port", "x", "at", ""}).m_err, HasSubstr("at: there is nothing to send"));
}

TEST(ExplainUsage, Version_IsPrinted) {
  const auto got = run_station({"--version"});
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, testing::ContainsRegex("^amt-station [0-9.]+\n$"));
}

}  // namespace
