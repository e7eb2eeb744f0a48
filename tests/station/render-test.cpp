#include "station/wire/render.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "tests/wire.h"

namespace {

// 1970-01-02 12:34:56.789 UTC.
const std::chrono::system_clock::time_point NOON{
    std::chrono::milliseconds{(86400 + 12 * 3600 + 34 * 60 + 56) * 1000LL + 789}};

class Render : public testing::Test {
 protected:
  void SetUp() override {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
  }
};

station_entry_st entry(stream_kind_en kind, const byte_string& bytes, stream_fault_en fault = stream_fault_en::NONE,
                       bool is_sent = false) {
  return {NOON, is_sent, {kind, fault, bytes}};
}

std::string line(stream_kind_en kind, const byte_string& bytes, stream_fault_en fault = stream_fault_en::NONE) {
  return station_render_text(entry(kind, bytes, fault), {});
}

TEST_F(Render, SentFrame_ShowsIdNameAndAtoms) {
  EXPECT_EQ(station_render_text(entry(stream_kind_en::FRAME, VERSION_REQUEST, stream_fault_en::NONE, true), {}),
            "12:34:56.789 -> frame 45 (0x2D) AMT_VERSION_CMD 19:int=64");
}

TEST_F(Render, LocalTime_IsShownToPeople) {
  ::setenv("TZ", "XYZ-2", 1);
  ::tzset();
  EXPECT_EQ(line(stream_kind_en::PRE_RESPONSE, PRE_RESPONSE), "14:34:56.789 <- pre-response");
}

TEST_F(Render, EveryAtomType_IsShownWithItsValue) {
  const byte_string all = bytes_from_hex(
      "AABBCCDD 2E000000 02000000 2600BB022000 EE010104009CFFFFFF EE1502040061 22620D EE0503030000 01FF EE0704010001 "
      "FF2FEF4D");
  EXPECT_EQ(line(stream_kind_en::FRAME, all),
            "12:34:56.789 <- frame 2 (0x02) AMT_READFLASH_RSPCMD 1:int=4294967196 (-100) 21:str=\"a\\\"b\\r\" "
            "5:bytes=0001FF 7:flag=1");
}

TEST_F(Render, PaddedTextInBytes_IsShownAsTextToo) {
  EXPECT_EQ(line(stream_kind_en::FRAME, VERSION_TEXT),
            "12:34:56.789 <- frame 46 (0x2E) AMT_VERSION_RSPCMD 19:int=16 18:bytes=0D56312E300A0A \"V1.0\" 1:int=0");
}

TEST_F(Render, LongValue_IsCutInTheLine) {
  byte_string bytes = bytes_from_hex("AABBCCDD 55000000 02000000 4D00BB2E4700 EE12034200") + byte_string(66, 0) +
                      bytes_from_hex("00000000");
  EXPECT_EQ(line(stream_kind_en::FRAME, bytes),
            "12:34:56.789 <- frame 46 (0x2E) AMT_VERSION_RSPCMD 18:bytes=" + std::string(128, '0') + "... (66 bytes)");
}

TEST_F(Render, AtomLongerThanItsFrame_IsMarkedCut) {
  const byte_string bytes = bytes_from_hex("AABBCCDD 15000000 02000000 0D00BB2E0700 EE15020A004142 CC6CFC6B");
  EXPECT_EQ(line(stream_kind_en::FRAME, bytes),
            "12:34:56.789 <- frame 46 (0x2E) AMT_VERSION_RSPCMD 21:str=\"AB\" (cut: 2 of 10 bytes)");
}

TEST_F(Render, BytesAfterTheAtoms_AreCounted) {
  const byte_string bytes = bytes_from_hex("AABBCCDD 19000000 02000000 1100BB2E0B00 EE0101040000000000 0011 2F0C23A8");
  EXPECT_EQ(line(stream_kind_en::FRAME, bytes),
            "12:34:56.789 <- frame 46 (0x2E) AMT_VERSION_RSPCMD 1:int=0 + 2 bytes that are no atom");
}

TEST_F(Render, DamagedFrames_ShowWhatIsWrong) {
  EXPECT_EQ(line(stream_kind_en::FRAME, NO_ATOMS, stream_fault_en::CHECKSUM),
            "12:34:56.789 <- frame, bad checksum: 46 (0x2E) AMT_VERSION_RSPCMD");
  EXPECT_EQ(line(stream_kind_en::FRAME, bytes_from_hex("AABBCCDD00000000"), stream_fault_en::LENGTH),
            "12:34:56.789 <- frame, bad length: 8 bytes AABBCCDD00000000");
  EXPECT_EQ(line(stream_kind_en::FRAME, bytes_from_hex("AABBCCDD 0D000000 02000000 0500BB2E00 B39C08FB"),
                 stream_fault_en::HEAD),
            "12:34:56.789 <- frame, bad frame head: 21 bytes AABBCCDD0D000000020000000500BB2E00B39C08FB");
  EXPECT_EQ(line(stream_kind_en::FRAME, bytes_from_hex("AABBCCDD 20000000 02000000 1800BB2E1200 EE13"),
                 stream_fault_en::INCOMPLETE),
            "12:34:56.789 <- frame, incomplete: 46 (0x2E) AMT_VERSION_RSPCMD + 2 bytes that are no atom");
}

TEST_F(Render, SentText_ShowsItsLineEnd) {
  EXPECT_EQ(
      station_render_text(entry(stream_kind_en::TEXT, bytes_from_text("AT^DSVER\r"), stream_fault_en::NONE, true), {}),
      "12:34:56.789 -> text \"AT^DSVER\\r\"");
}

TEST_F(Render, ReceivedText_IsShownWithoutLineEnds) {
  EXPECT_EQ(line(stream_kind_en::TEXT, bytes_from_text("\r\n^DSVER: 7.1\r\n")), "12:34:56.789 <- text ^DSVER: 7.1");
}

TEST_F(Render, Escape_LeavesNothingThatATerminalActsOn) {
  EXPECT_EQ(station_escape("a\"\\\r\n\x1b[2J\x7f\xc2"), R"(a\"\\\r\n\x1B[2J\x7F\xC2)");
}

TEST_F(Render, Noise_IsShownInHexadecimal) {
  EXPECT_EQ(line(stream_kind_en::NOISE, bytes_from_hex("00FF0A")), "12:34:56.789 <- noise, 3 bytes 00FF0A");
}

TEST_F(Render, HexStyle_PutsBytesAndAsciiBelow) {
  EXPECT_EQ(
      station_render_text(entry(stream_kind_en::TEXT, bytes_from_text("\r\nABCDEFGHIJKLMNOPQ\r\n")), {false, true}),
      "12:34:56.789 <- text ABCDEFGHIJKLMNOPQ\n"
      "    0000  0D 0A 41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E  |..ABCDEFGHIJKLMN|\n"
      "    0010  4F 50 51 0D 0A                                   |OPQ..|");
}

TEST_F(Render, ColorStyle_ColorsTheLineButNotTheTime) {
  EXPECT_EQ(station_render_text(entry(stream_kind_en::TEXT, bytes_from_text("OK\r\n")), {true, false}),
            "12:34:56.789 \x1b[32m<- text OK\x1b[0m");
}

TEST_F(Render, JsonFrame_HasIdNameAtomsAndHex) {
  EXPECT_EQ(station_render_json(entry(stream_kind_en::FRAME, VERSION_TEXT)),
            R"({"time":"1970-01-02T12:34:56.789Z","direction":"received","kind":"frame","id":46,)"
            R"("name":"AMT_VERSION_RSPCMD","atoms":[{"id":19,"type":"int","value":16},)"
            R"({"id":18,"type":"bytes","value":"0D56312E300A0A"},{"id":1,"type":"int","value":0}],)"
            R"("hex":"AABBCCDD2C000000020000002400BB2E1E00EE1301040010000000EE120307000D56312E300A0AEE0101040000000000)"
            R"(3015F7BE"})");
}

TEST_F(Render, JsonDamagedFrame_HasItsFault) {
  EXPECT_EQ(
      station_render_json(entry(stream_kind_en::FRAME, bytes_from_hex("AABBCCDD00000000"), stream_fault_en::LENGTH)),
      R"({"time":"1970-01-02T12:34:56.789Z","direction":"received","kind":"frame","fault":"bad length",)"
      R"("hex":"AABBCCDD00000000"})");
}

TEST_F(Render, JsonText_HasTheLineAndTheBytes) {
  EXPECT_EQ(station_render_json(entry(stream_kind_en::TEXT, bytes_from_text("A\"T\r"), stream_fault_en::NONE, true)),
            R"({"time":"1970-01-02T12:34:56.789Z","direction":"sent","kind":"text","text":"A\"T","hex":"4122540D"})");
}

TEST_F(Render, JsonStringThatIsNoUtf8_IsStillJson) {
  const byte_string bytes = bytes_from_hex("AABBCCDD 15000000 02000000 0D00BB2E0700 EE15020200FF41 00000000");
  EXPECT_NE(station_render_json(entry(stream_kind_en::FRAME, bytes))
                .find("\"value\":\"\xEF\xBF\xBD"
                      "A\""),
            std::string::npos);
}

}  // namespace
