// The text of a received command, its fields and its parameter.
#include "amt/amt-handle/context/parameters.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tests/unit/links.h"

namespace {

using fields = std::vector<std::string>;
using namespace std::string_literals;

fields split(std::string_view text) {
  fields result;
  while (const auto field = handle_amt_next_field(text)) result.emplace_back(*field);
  return result;
}

// The C library's tokenizer, by which the fields are defined.
fields split_by_library(std::string text) {
  fields result;
  char* state = nullptr;
  for (char* field = strtok_r(text.data(), ",", &state); field != nullptr; field = strtok_r(nullptr, ",", &state)) {
    result.emplace_back(field);
  }
  return result;
}

std::string random_text(std::mt19937& random, std::string_view alphabet, std::size_t most) {
  std::string text(random() % (most + 1), ' ');
  for (char& character : text) character = alphabet[random() % alphabet.size()];
  return text;
}

fields split_at_every_comma(std::string_view text) {
  fields result;
  std::optional<std::string_view> rest = text;
  while (const auto field = handle_amt_next_field_or_empty(rest)) result.emplace_back(*field);
  return result;
}

TEST(FieldOrEmpty, Several_AreTakenInOrder) {
  EXPECT_EQ(split_at_every_comma("1,22,abc\r"), (fields{"1", "22", "abc\r"}));
  EXPECT_EQ(split_at_every_comma(" 1 , 2"), (fields{" 1 ", " 2"}));
}

TEST(FieldOrEmpty, EmptyOne_IsAFieldWhereverItStands) {
  EXPECT_EQ(split_at_every_comma(",1,,,2"), (fields{"", "1", "", "", "2"}));
  EXPECT_EQ(split_at_every_comma(",,"), (fields{"", "", ""}));
  EXPECT_EQ(split_at_every_comma("1,"), (fields{"1", ""}));
  EXPECT_EQ(split_at_every_comma(""), fields{""});
}

TEST(FieldOrEmpty, TextsRest_StandsBehindTheComma) {
  std::optional<std::string_view> rest = "1,,3";
  EXPECT_EQ(handle_amt_next_field_or_empty(rest), "1");
  EXPECT_EQ(rest, ",3");
  EXPECT_EQ(handle_amt_next_field_or_empty(rest), "");
  EXPECT_EQ(handle_amt_next_field_or_empty(rest), "3");
  EXPECT_EQ(rest, std::nullopt);
  EXPECT_EQ(handle_amt_next_field_or_empty(rest), std::nullopt);
}

TEST(Field, Several_AreTakenInOrder) {
  EXPECT_EQ(split("1,22,abc\r"), (fields{"1", "22", "abc\r"}));
}

TEST(Field, EmptyOnes_AreSkipped) {
  EXPECT_EQ(split(",,1,,,2,,"), (fields{"1", "2"}));
}

TEST(Field, LoneReturn_IsAField) {
  EXPECT_EQ(split("\r"), fields{"\r"});
  EXPECT_EQ(split(",\r"), fields{"\r"});
}

TEST(Field, Blanks_BelongToTheField) {
  EXPECT_EQ(split(" 1 , 2"), (fields{" 1 ", " 2"}));
}

TEST(Field, NothingOrOnlyCommas_HasNone) {
  EXPECT_EQ(split(""), fields{});
  EXPECT_EQ(split(","), fields{});
  EXPECT_EQ(split(",,,,"), fields{});
}

TEST(Field, Taken_LeavesTheTextBehindItsComma) {
  std::string_view rest = "1,2,3";
  EXPECT_EQ(handle_amt_next_field(rest), "1");
  EXPECT_EQ(rest, "2,3");
  EXPECT_EQ(handle_amt_next_field(rest), "2");
  EXPECT_EQ(handle_amt_next_field(rest), "3");
  EXPECT_EQ(rest, "");
  EXPECT_EQ(handle_amt_next_field(rest), std::nullopt);
}

TEST(Field, AnyText_IsSplitAsTheLibraryDoes) {
  std::mt19937 random(20130121);
  for (int round = 0; round < 20000; ++round) {
    const std::string text = random_text(random, ",,,1a\r \"", 12);
    ASSERT_EQ(split(text), split_by_library(text)) << '"' << text << '"';
  }
}

TEST(FieldValue, Numbers_AreDecimal) {
  EXPECT_EQ(handle_amt_field_value("0"), 0);
  EXPECT_EQ(handle_amt_field_value("42"), 42);
  EXPECT_EQ(handle_amt_field_value("007"), 7);
  EXPECT_EQ(handle_amt_field_value("2147483647"), 2147483647);
  EXPECT_EQ(handle_amt_field_value("-2147483648"), -2147483647 - 1);
}

TEST(FieldValue, SignsAndBlanksInFront_AreTaken) {
  EXPECT_EQ(handle_amt_field_value(" \t\r\n\v\f-1"), -1);
  EXPECT_EQ(handle_amt_field_value("+3"), 3);
}

TEST(FieldValue, ExtraSign_IsNoNumber) {
  EXPECT_EQ(handle_amt_field_value("+-3"), 0);
  EXPECT_EQ(handle_amt_field_value("--3"), 0);
  EXPECT_EQ(handle_amt_field_value("- 3"), 0);
}

TEST(FieldValue, OtherCharacters_EndTheNumber) {
  EXPECT_EQ(handle_amt_field_value("12\r"), 12);
  EXPECT_EQ(handle_amt_field_value("0x10"), 0);
  EXPECT_EQ(handle_amt_field_value("1.9"), 1);
  EXPECT_EQ(handle_amt_field_value("3\0004"s), 3);
}

TEST(FieldValue, NoDigits_Is0) {
  for (const char* text : {"", "\r", "x", "-", "+", " ", "\"1\""}) EXPECT_EQ(handle_amt_field_value(text), 0) << text;
}

// On a 64-bit phone the library reads a long and cuts it.
TEST(FieldValue, MoreThan32Bits_IsCut) {
  EXPECT_EQ(handle_amt_field_value("4294967297"), 1);
  EXPECT_EQ(handle_amt_field_value("9223372036854775808"), -1);
  EXPECT_EQ(handle_amt_field_value("-9223372036854775809"), 0);
  EXPECT_EQ(handle_amt_field_value(std::string(4000, '9')), -1);
}

TEST(FieldValue, AnyText_IsReadAsTheLibraryDoes) {
  std::mt19937 random(42);
  for (int round = 0; round < 20000; ++round) {
    const std::string text = random_text(random, "0123456789999-+ \rx", 24);
    const long long expected = std::strtoll(text.c_str(), nullptr, 10);
    ASSERT_EQ(handle_amt_field_value(text), static_cast<std::int32_t>(expected)) << '"' << text << '"';
  }
}

TEST(FindParameter, TextWithoutThePrefix_HasNone) {
  for (const char* text : {"", "AT^DMSN\r", "AT^DMSN =1\r", "at^dmsn=1\r", "AT^DMS"}) {
    EXPECT_EQ(handle_amt_find_parameter(text, "AT^DMSN="), std::nullopt) << text;
  }
}

TEST(FindParameter, NulBeforeThePrefix_HasNone) {
  EXPECT_EQ(handle_amt_find_parameter("AT\0AT^DMSN=1\r"s, "AT^DMSN="), std::nullopt);
}

TEST(FindParameter, PrefixAtTheEnd_GivesNothing) {
  EXPECT_EQ(handle_amt_find_parameter("AT^DMSN=", "AT^DMSN="), "");
  EXPECT_EQ(handle_amt_find_parameter("AT^DMSN=   ", "AT^DMSN="), "");
}

TEST(FindParameter, BlanksInFront_AreSkippedAndOthersKept) {
  EXPECT_EQ(handle_amt_find_parameter("xxAT^DMSN=  \"A, B\" \rAT", "AT^DMSN="), "\"A, B\" ");
}

TEST(FindParameter, ReturnBeforeThePrefix_GivesNothing) {
  EXPECT_EQ(handle_amt_find_parameter("AT\rAT^DMSN=1\r", "AT^DMSN="), "");
}

TEST(FindParameter, TwentyCharacters_AreWholeAndOneMoreIsCut) {
  const std::string twenty = "12345678901234567890";
  for (const char* rest : {"", "\r", "X", "X\r"}) {
    EXPECT_EQ(handle_amt_find_parameter("AT^DMSN=" + twenty + rest, "AT^DMSN="), twenty) << rest;
  }
}

class RequestText : public context_test {};

TEST_F(RequestText, Received_IsTheText) {
  set_message(g_handle_context.m_request, "AT^DSVER\r");
  EXPECT_EQ(handle_amt_text(amt_message_text(g_handle_context.m_request)), "AT^DSVER\r");
}

TEST_F(RequestText, BytesBehindTheFirstZero_AreNotSearched) {
  set_message(g_handle_context.m_request, "AT^DMSN\r\0AT^DSVER\r"s);
  EXPECT_EQ(handle_amt_text(amt_message_text(g_handle_context.m_request)), "AT^DMSN\r");
  EXPECT_FALSE(handle_amt_text_after(amt_message_text(g_handle_context.m_request), "AT^DSVER\r"));
}

TEST_F(RequestText, RecordWithoutAnyZero_EndsAtItsEnd) {
  set_message(g_handle_context.m_request, std::string(4096, 'a'));
  EXPECT_EQ(handle_amt_text(amt_message_text(g_handle_context.m_request)).size(), 4096u);
}

TEST_F(RequestText, Nothing_IsEmpty) {
  EXPECT_EQ(handle_amt_text(amt_message_text(g_handle_context.m_request)), "");
  EXPECT_FALSE(handle_amt_text_after(amt_message_text(g_handle_context.m_request), "AT"));
}

TEST_F(RequestText, BehindACommand_IsTheRestOfTheText) {
  set_message(g_handle_context.m_request, "xxAT^DAMT1=2,AT^DAMT1=3\r");
  EXPECT_EQ(handle_amt_text_after(amt_message_text(g_handle_context.m_request), "AT^DAMT1="), "2,AT^DAMT1=3\r");
  EXPECT_EQ(handle_amt_text_after(amt_message_text(g_handle_context.m_request), "3\r"), "");
  EXPECT_FALSE(handle_amt_text_after(amt_message_text(g_handle_context.m_request), "at^damt1="));
}

TEST_F(RequestText, CommandsInAnyText_AreFoundAtTheirFirstPlaceBeforeTheFirstZero) {
  std::mt19937 random(7);
  for (int round = 0; round < 20000; ++round) {
    const std::string block = random_text(random, "AAAT^^^DS\0"s, 24);
    set_message(g_handle_context.m_request, block);
    const std::string text = block.substr(0, block.find('\0'));
    for (const char* command : {"AT^D", "^", "AT^", "AT", "S"}) {
      const std::size_t at = text.find(command);
      const auto behind = handle_amt_text_after(amt_message_text(g_handle_context.m_request), command);
      ASSERT_EQ(behind.has_value(), at != std::string::npos) << command << " in " << to_hex(block);
      if (behind) {
        ASSERT_EQ(behind->data(),
                  handle_amt_text(amt_message_text(g_handle_context.m_request)).data() + at + std::strlen(command))
            << to_hex(block);
      }
    }
  }
}

}  // namespace
