#include "station/words/arguments.h"

#include <gtest/gtest.h>

#include "amt/amt-convert/ids.h"
#include "tests/wire.h"

namespace {

// The bytes of frame 1 after its six-byte head, with the atom added.
byte_string atom(const std::string& text) {
  amt_frame_st frame;
  amt_frame_init(&frame, 1);
  EXPECT_EQ(station_add_atom(&frame, text), "") << text;
  return {frame.begin() + 6, frame.begin() + amt_frame_total_length(&frame)};
}

TEST(ArgumentsNumber, GoodForms_AreRead) {
  EXPECT_EQ(station_parse_number("0", 255), 0U);
  EXPECT_EQ(station_parse_number("255", 255), 255U);
  EXPECT_EQ(station_parse_number("0xfF", 255), 255U);
  EXPECT_EQ(station_parse_number("4294967295", UINT32_MAX), UINT32_MAX);
}

TEST(ArgumentsNumber, BadForms_AreRefused) {
  for (const char* text : {"", "256", "-1", "+1", " 1", "1 ", "1x", "0x", "x", "0x100", "99999999999999999999"}) {
    EXPECT_EQ(station_parse_number(text, 255), std::nullopt) << text;
  }
  EXPECT_EQ(station_parse_number("4294967296", UINT32_MAX), std::nullopt);
}

TEST(ArgumentsCommandId, NumberOrName_IsRead) {
  EXPECT_EQ(station_parse_command_id("45"), 45);
  EXPECT_EQ(station_parse_command_id("0x2D"), 45);
  EXPECT_EQ(station_parse_command_id("AMT_VERSION_CMD"), 45);
  EXPECT_EQ(station_parse_command_id("amt_version_cmd"), 45);
  EXPECT_EQ(station_parse_command_id("255"), 255);
}

TEST(ArgumentsCommandId, UnknownOrAmbiguous_IsRefused) {
  for (const char* text : {"", "256", "AMT_VERSION", "(undefined)", "-1"}) {
    EXPECT_EQ(station_parse_command_id(text), std::nullopt) << text;
  }
}

TEST(ArgumentsCommandId, EveryNamedId_IsFoundByItsName) {
  for (unsigned id = 0; id < 256; ++id) {
    const std::string name = amt_command_name(static_cast<std::uint8_t>(id));
    if (name != "(undefined)") {
      EXPECT_EQ(station_parse_command_id(name), id);
    }
  }
}

TEST(ArgumentsModule, NameOrNumber_IsRead) {
  EXPECT_EQ(station_parse_module("product"), 1U);
  EXPECT_EQ(station_parse_module("software"), 16U);
  EXPECT_EQ(station_parse_module("l1"), 17U);
  EXPECT_EQ(station_parse_module("HLS"), 18U);
  EXPECT_EQ(station_parse_module("platform"), 19U);
  EXPECT_EQ(station_parse_module("app"), 20U);
  EXPECT_EQ(station_parse_module("hardware"), 32U);
  EXPECT_EQ(station_parse_module("whole"), 64U);
  EXPECT_EQ(station_parse_module("2"), 2U);
  EXPECT_EQ(station_parse_module("soft"), std::nullopt);
}

TEST(ArgumentsAtom, EachType_HasItsBytes) {
  EXPECT_EQ(atom("19:int=64"), bytes_from_hex("EE 13 01 0400 40000000"));
  EXPECT_EQ(atom("0x13:int=0x12345678"), bytes_from_hex("EE 13 01 0400 78563412"));
  EXPECT_EQ(atom("1:int=-100"), bytes_from_hex("EE 01 01 0400 9CFFFFFF"));
  EXPECT_EQ(atom("1:int=-2147483648"), bytes_from_hex("EE 01 01 0400 00000080"));
  EXPECT_EQ(atom("21:str=a=b:c"), bytes_from_hex("EE 15 02 0500 613D623A63"));
  EXPECT_EQ(atom("21:str="), bytes_from_hex("EE 15 02 0000"));
  EXPECT_EQ(atom("5:bytes=0A0b"), bytes_from_hex("EE 05 03 0200 0A0B"));
  EXPECT_EQ(atom("5:bytes="), bytes_from_hex("EE 05 03 0000"));
  EXPECT_EQ(atom("7:flag=1"), bytes_from_hex("EE 07 04 0100 01"));
  EXPECT_EQ(atom("255:flag=255"), bytes_from_hex("EE FF 04 0100 FF"));
  EXPECT_EQ(atom("154:u8=3"), bytes_from_hex("EE 9A 03 0100 03"));
  EXPECT_EQ(atom("154:u8=255"), bytes_from_hex("EE 9A 03 0100 FF"));
  EXPECT_EQ(atom("154:u8=-128"), bytes_from_hex("EE 9A 03 0100 80"));
  EXPECT_EQ(atom("156:u16=0x1234"), bytes_from_hex("EE 9C 03 0200 3412"));
  EXPECT_EQ(atom("157:u16=-10"), bytes_from_hex("EE 9D 03 0200 F6FF"));
  EXPECT_EQ(atom("157:u16=-32768"), bytes_from_hex("EE 9D 03 0200 0080"));
}

TEST(ArgumentsAtom, BadForms_AreRefusedAndChangeNothing) {
  for (const char* text : {"",
                           "19",
                           "19:",
                           "19:int",
                           "=",
                           "19=64",
                           ":int=1",
                           "256:int=1",
                           "-1:int=1",
                           "x:int=1",
                           "1:=1",
                           "1:word=1",
                           "1:INT=1",
                           "1:int=",
                           "1:int=4294967296",
                           "1:int=-2147483649",
                           "1:int=1x",
                           "1:int=--1",
                           "1:bytes=0",
                           "1:bytes=0G",
                           "1:bytes=0A 0B",
                           "1:bytes=-1",
                           "1:flag=",
                           "1:flag=256",
                           "1:flag=-1",
                           "1:u8=",
                           "1:u8=256",
                           "1:u8=-129",
                           "1:u16=65536",
                           "1:u16=-32769",
                           "1:u16=-4294967295",
                           "1=2:int"}) {
    amt_frame_st frame;
    amt_frame_init(&frame, 1);
    const amt_frame_st before = frame;
    EXPECT_NE(station_add_atom(&frame, text), "") << text;
    EXPECT_EQ(frame, before) << text;
  }
}

TEST(ArgumentsWord, ZeroByteInIt_IsRefused) {
  using namespace std::literals;
  EXPECT_EQ(station_parse_command_id("AMT_VERSION_CMD\0x"sv), std::nullopt);
  EXPECT_EQ(station_parse_module("whole\0"sv), std::nullopt);
  amt_frame_st frame;
  amt_frame_init(&frame, 1);
  const amt_frame_st before = frame;
  EXPECT_EQ(station_add_atom(&frame, "1:str=ab\0c"s),
            "atom '1:str=ab\0c': its value must be text without a zero byte"s);
  EXPECT_EQ(frame, before);
}

TEST(ArgumentsAtom, MoreThanTheFrameHolds_IsRefused) {
  amt_frame_st frame;
  amt_frame_init(&frame, 1);
  EXPECT_EQ(station_add_atom(&frame, "1:str=" + std::string(4085, 'x')), "");
  EXPECT_EQ(station_add_atom(&frame, "2:flag=1"), "atom 2: the frame has no room for it");
}

}  // namespace
