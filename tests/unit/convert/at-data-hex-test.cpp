// The hexadecimal text of AT data.
#include <gtest/gtest.h>

#include <array>

#include "amt/amt-convert/at-data.h"
#include "tests/unit/convert/frames.h"

namespace {

std::string encode(std::string_view hex, std::size_t room) {
  std::string text(room, '.');
  amt_hex_encode(bytes_from_hex(hex), text);
  return text;
}

TEST(HexEncode, Bytes_BecomeUpperCaseDigitsHighNibbleFirst) {
  EXPECT_EQ(encode("00 0A 9F FF", 8), "000A9FFF");
}

TEST(HexEncode, NoBytes_WritesNothing) {
  EXPECT_EQ(encode("", 2), "..");
}

TEST(HexEncode, TooLittleRoom_StaysInsideIt) {
  EXPECT_EQ(encode("01 23 45", 5), "0123.");
}

struct decode_row {
  const char* m_name;
  const char* m_text;
  std::size_t m_count;
  const char* m_bytes;
};

// Digits behind the end of an even text are not its own.
TEST(HexDecodeShort, EvenTextInALongerOne_EndsAtItsEnd) {
  byte_string bytes(2, 0xCC);
  amt_hex_decode(std::string_view("12FF").substr(0, 2), bytes);
  EXPECT_EQ(to_hex(bytes), "12 00");
}

class HexDecode : public testing::TestWithParam<decode_row> {};

TEST_P(HexDecode, Text_FillsTheBytesAskedFor) {
  byte_string bytes(GetParam().m_count, 0xCC);
  amt_hex_decode(GetParam().m_text, bytes);
  EXPECT_EQ(to_hex(bytes), GetParam().m_bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Each, HexDecode,
    testing::Values(
        decode_row{"BothCases", "0aF9", 2, "0A F9"},
        decode_row{"EveryDigit", "0123456789ABCDEFabcdef", 11, "01 23 45 67 89 AB CD EF AB CD EF"},
        decode_row{"FirstCharacterIsNoDigit", "x9", 1, "09"}, decode_row{"SecondCharacterIsNoDigit", "9x", 1, "90"},
        decode_row{"NeitherIsADigit", "\r\n", 1, "00"}, decode_row{"NeighboursOfTheDigits", "/:@G`g", 3, "00 00 00"},
        decode_row{"MoreTextThanBytes", "112233", 1, "11"}, decode_row{"LessTextThanBytes", "11", 3, "11 00 00"},
        decode_row{"TextEndsWithinAByte", "112", 3, "11 20 00"}, decode_row{"OddTextForAllBytes", "112", 1, "11"},
        decode_row{"NoText", "", 2, "00 00"}, decode_row{"NoBytes", "11", 0, ""}),
    [](const auto& row) { return row.param.m_name; });

TEST(HexDecodeAll, EncodedBytes_ComeBack) {
  byte_string bytes(256);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i);
  std::string text(512, ' ');
  amt_hex_encode(bytes, text);
  byte_string decoded(256);
  amt_hex_decode(text, decoded);
  EXPECT_EQ(decoded, bytes);
}

TEST(HexDigit, EveryCharacter_HasItsValueOrNone) {
  static constexpr std::string_view DIGITS = "0123456789abcdef";
  for (int code = 0; code < 256; ++code) {
    const char character = static_cast<char>(code);
    const char lower = character >= 'A' && character <= 'F' ? static_cast<char>(character + 32) : character;
    const std::size_t at = DIGITS.find(lower);
    EXPECT_EQ(amt_hex_digit(character), at == DIGITS.npos ? -1 : static_cast<int>(at)) << code;
  }
}

}  // namespace
