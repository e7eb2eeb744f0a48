#include "amt/amt-handle/service/pc-link.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

amt_probe_en recognise(std::string_view text) {
  return amt_recognise_probe(std::vector<std::uint8_t>(text.begin(), text.end()));
}

TEST(Probe, AtAndReturn_IsTheProbe) {
  EXPECT_EQ(recognise("AT\r"), amt_probe_en::SHORT);
}

TEST(Probe, AnyCase_IsTheProbe) {
  for (const char* text : {"at\r", "aT\r", "At\r", "at\r\n", "aT\r\nAt\r"}) {
    EXPECT_NE(recognise(text), amt_probe_en::NONE) << text;
  }
}

TEST(Probe, UpToTwoMoreBytes_AreStillTheShortProbe) {
  EXPECT_EQ(recognise("AT\r\n"), amt_probe_en::SHORT);
  EXPECT_EQ(recognise("AT\r\nA"), amt_probe_en::SHORT);
  EXPECT_EQ(recognise("AT\rzz"), amt_probe_en::SHORT);
  EXPECT_EQ(recognise(std::string_view("AT\r\0\0", 5)), amt_probe_en::SHORT);
}

TEST(Probe, SixBytes_AreNoProbe) {
  EXPECT_EQ(recognise("AT\r\nAT"), amt_probe_en::NONE);
  EXPECT_EQ(recognise("AT\rAT\r"), amt_probe_en::NONE);
}

TEST(Probe, Doubled_IsTheProbeWhateverStandsBetweenAndBehind) {
  EXPECT_EQ(recognise("AT\r\nAT\r"), amt_probe_en::DOUBLED);
  EXPECT_EQ(recognise("at\r\nat\r"), amt_probe_en::DOUBLED);
  EXPECT_EQ(recognise("AT\rxAT\r"), amt_probe_en::DOUBLED);
  EXPECT_EQ(recognise("AT\r\nAT\r\nAT^DSVER\r"), amt_probe_en::DOUBLED);
}

TEST(Probe, SevenBytesWithAnotherCommandBehind_AreNoProbe) {
  EXPECT_EQ(recognise("AT\r\nATI"), amt_probe_en::NONE);
  EXPECT_EQ(recognise("AT\r\n\nAT\r"), amt_probe_en::NONE);
  EXPECT_EQ(recognise("AT\rATI\r"), amt_probe_en::NONE);
}

TEST(Probe, OtherText_IsNoProbe) {
  for (const char* text : {"", "A", "AT", "AT+X\r", "ATI\r", "AT\n", " AT\r", "BT\r", "AU\r", "AT^DSVER\r"}) {
    EXPECT_EQ(recognise(text), amt_probe_en::NONE) << text;
  }
}

TEST(Probe, BytesThatOnlyLookUpperCase_AreNoProbe) {
  EXPECT_EQ(recognise("\xC1T\r"), amt_probe_en::NONE);
  EXPECT_EQ(recognise("\xE1\xF4\r"), amt_probe_en::NONE);
  EXPECT_EQ(recognise(std::string(4095, '\xFF')), amt_probe_en::NONE);
}

}  // namespace
