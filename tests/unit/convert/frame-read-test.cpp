#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "tests/unit/convert/frames.h"

namespace {

// Two integers (19 = 64, 1 = 0), a string (18 = "V1.0"), bytes (5 = 00 01 FF), a flag (7 = 0).
constexpr const char* EVERY_TYPE =
    "2F00 BB 2E 2900  EE13010400 40000000  EE12020400 56312E30  EE01010400 00000000  EE05030300 0001FF  EE07040100 00";

// A frame whose data length covers all of the buffer and more, with one atom so long that the next one opens at the
// offset; `tail` lies there.
frame_owner frame_with_tail_at(std::size_t offset, const byte_string& tail) {
  auto frame = frame_of("FFFF BB 01 F9FF  EE 02 03");
  amt_write_u16(frame->data() + 9, static_cast<std::uint16_t>(offset - 11));
  std::copy(tail.begin(), tail.end(), frame->begin() + static_cast<std::ptrdiff_t>(offset));
  return frame;
}

TEST(FrameHead, Fields_AreReadLittleEndian) {
  const auto frame = frame_of("0C34 BB 2D 0634");
  EXPECT_EQ(amt_frame_command_id(frame.get()), 0x2D);
  EXPECT_EQ(amt_frame_total_length(frame.get()), 0x340C);
  EXPECT_EQ(amt_frame_data_length(frame.get()), 0x3406);
}

TEST(FrameHead, NullFrame_IsIdZeroLengthZero) {
  EXPECT_EQ(amt_frame_command_id(nullptr), 0);
  EXPECT_EQ(amt_frame_total_length(nullptr), 0);
  EXPECT_EQ(amt_frame_data_length(nullptr), 0);
}

TEST(FindAtom, FreshFrame_HasNone) {
  const auto frame = frame_of("0600 BB 2D 0000");
  for (unsigned id = 0; id < 256; ++id) {
    EXPECT_FALSE(amt_frame_find_atom(frame.get(), static_cast<std::uint8_t>(id))) << id;
  }
}

TEST(FindAtom, NullFrame_HasNone) {
  EXPECT_FALSE(amt_frame_find_atom(nullptr, 1));
  EXPECT_FALSE(amt_frame_atom_at(nullptr, 6));
}

TEST(FindAtom, EachAtom_IsFoundWithTypeAndValue) {
  const auto frame = frame_of(EVERY_TYPE);
  const auto text = amt_frame_find_atom(frame.get(), 18);
  ASSERT_TRUE(text);
  EXPECT_EQ(text->m_id, 18);
  EXPECT_EQ(text->m_type, AMT_ATOM_STRING);
  EXPECT_EQ(text->m_length, 4);
  EXPECT_EQ(byte_string(text->m_value.begin(), text->m_value.end()), bytes_from_text("V1.0"));
  EXPECT_EQ(amt_frame_find_atom(frame.get(), 19)->m_type, AMT_ATOM_INT);
  EXPECT_EQ(amt_frame_find_atom(frame.get(), 5)->m_type, AMT_ATOM_BYTES);
  EXPECT_EQ(amt_frame_find_atom(frame.get(), 7)->m_type, AMT_ATOM_FLAG);
  EXPECT_FALSE(amt_frame_find_atom(frame.get(), 8));
}

TEST(FindAtom, FirstByteIsNoAtomHead_HidesWhatFollows) {
  const auto frame = frame_of("1000 BB 01 0A00  00 EE01010400 05000000");
  EXPECT_FALSE(amt_frame_find_atom(frame.get(), 1));
  EXPECT_FALSE(amt_frame_find_atom(frame.get(), 0));
}

TEST(FindAtom, GapBetweenAtoms_HidesWhatFollows) {
  const auto frame = frame_of("1900 BB 01 1300  EE02010400 05000000  00 EE01010400 05000000");
  EXPECT_TRUE(amt_frame_find_atom(frame.get(), 2));
  EXPECT_FALSE(amt_frame_find_atom(frame.get(), 1));
}

TEST(FindAtom, SameIdTwice_GivesTheFirst) {
  const auto frame = frame_of("1800 BB 01 1200  EE01010400 05000000  EE01010400 06000000");
  EXPECT_EQ(amt_frame_get_int(frame.get(), 1), 5u);
}

TEST(FindAtom, DataLengthZero_HidesTheAtom) {
  EXPECT_FALSE(amt_frame_find_atom(frame_of("0600 BB 01 0000  EE01010400 05000000").get(), 1));
}

// The first atom is looked at before any byte is counted.
TEST(FindAtom, DataLengthOne_StillShowsTheFirstAtom) {
  EXPECT_TRUE(amt_frame_find_atom(frame_of("0700 BB 01 0100  EE01010400 05000000").get(), 1));
}

TEST(FindAtom, DataLengthEndsWithTheFirstAtom_HidesTheSecond) {
  EXPECT_FALSE(amt_frame_find_atom(frame_of("0F00 BB 01 0900  EE02010400 05000000  EE01010400 06000000").get(), 1));
  EXPECT_TRUE(amt_frame_find_atom(frame_of("1000 BB 01 0A00  EE02010400 05000000  EE01010400 06000000").get(), 1));
}

// The data length counts, not the total length.
TEST(FindAtom, TotalLengthLies_ChangesNothing) {
  EXPECT_EQ(amt_frame_get_int(frame_of("0000 BB 01 0900  EE01010400 05000000").get(), 1), 5u);
  EXPECT_EQ(amt_frame_get_int(frame_of("FFFF BB 01 0900  EE01010400 05000000").get(), 1), 5u);
}

TEST(FindAtom, DataLengthBeyondTheRecord_EndsWithTheRecord) {
  byte_string bytes = bytes_from_hex("FFFF BB 01 FFFF");
  while (bytes.size() < 4096) bytes = bytes + bytes_from_hex("EE 02 03 0000");
  ASSERT_EQ(bytes.size(), 4096u);
  const auto frame = frame_of(bytes);
  EXPECT_FALSE(amt_frame_find_atom(frame.get(), 1));
  (*frame)[4092] = 1;
  const auto last = amt_frame_find_atom(frame.get(), 1);
  ASSERT_TRUE(last);
  EXPECT_TRUE(last->m_value.empty());
}

TEST(FindAtom, ValueLength65535_IsClaimedButCutToTheRecord) {
  const auto frame = frame_of("FFFF BB 01 F9FF  EE 01 03 FFFF 41424344");
  const auto atom = amt_frame_find_atom(frame.get(), 1);
  ASSERT_TRUE(atom);
  EXPECT_EQ(atom->m_length, 65535);
  EXPECT_EQ(atom->m_value.size(), 4085u);
  EXPECT_EQ(atom->m_value.data() + atom->m_value.size(), frame->data() + frame->size());
}

// The count of bytes consumed has 16 bits: a value length of 0xFFFB brings it back to 0, 0xFFFF to 4. The offset has
// left the record then.
TEST(FindAtom, CountWraps_IsAbsent) {
  for (const char* length : {"FBFF", "FFFF", "FCFF"}) {
    const auto frame =
        frame_of(bytes_from_hex("FFFF BB 01 FFFF  EE 02 03") + bytes_from_hex(length) + bytes_from_hex("EE01010400"));
    EXPECT_FALSE(amt_frame_find_atom(frame.get(), 1)) << length;
  }
}

TEST(FindAtom, HeadCutOffByTheRecordsEnd_IsAbsent) {
  const byte_string head = bytes_from_hex("EE 01 01 0400");
  for (std::size_t offset = 4092; offset <= 4095; ++offset) {
    const byte_string cut(head.begin(), head.begin() + static_cast<std::ptrdiff_t>(4096 - offset));
    EXPECT_FALSE(amt_frame_find_atom(frame_with_tail_at(offset, cut).get(), 1)) << offset;
  }
}

TEST(FindAtom, OpensBehindTheRecord_IsAbsent) {
  for (const std::size_t offset : {std::size_t{4096}, std::size_t{4097}, std::size_t{60000}}) {
    EXPECT_FALSE(amt_frame_find_atom(frame_with_tail_at(offset, {}).get(), 1)) << offset;
  }
}

TEST(FindAtom, ValueCutOffByTheRecordsEnd_GivesWhatIsThere) {
  const auto none = frame_with_tail_at(4091, bytes_from_hex("EE 01 01 0400"));
  EXPECT_EQ(amt_frame_get_int(none.get(), 1), 0u);
  EXPECT_EQ(amt_frame_get_flag(none.get(), 1), 0u);  // present, so not the 1 of a missing flag
  const auto two = frame_with_tail_at(4089, bytes_from_hex("EE 01 01 0400 3412"));
  EXPECT_EQ(amt_frame_get_int(two.get(), 1), 0x1234u);
  std::array<std::uint8_t, 4> bytes{9, 9, 9, 9};
  EXPECT_EQ(amt_frame_get_bytes(two.get(), 1, bytes.data(), bytes.size()), 2u);
  EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{0x34, 0x12, 0, 0}));
}

TEST(AtomAt, EachOffset_IsAnAtomOnlyWhereOneOpens) {
  const auto frame = frame_of(EVERY_TYPE);
  EXPECT_EQ(amt_frame_atom_at(frame.get(), 6)->m_id, 19);
  EXPECT_EQ(amt_frame_atom_at(frame.get(), 15)->m_id, 18);
  EXPECT_FALSE(amt_frame_atom_at(frame.get(), 7));
  EXPECT_FALSE(amt_frame_atom_at(frame.get(), 4092));
  EXPECT_FALSE(amt_frame_atom_at(frame.get(), 4096));
}

TEST(AtomAt, OffsetThatWrapsAround_IsOutside) {
  const auto message =
      message_of(bytes_from_hex("0600 BB 01 0000"), 0xEE000000);  // an atom head right before the frame
  EXPECT_FALSE(amt_frame_atom_at(&message->m_buf_a, std::numeric_limits<std::size_t>::max()));
}

TEST(GetInt, Value_IsLittleEndian) {
  EXPECT_EQ(amt_frame_get_int(frame_of("0F00 BB 01 0900  EE01010400 78563412").get(), 1), 0x12345678u);
}

TEST(GetInt, Absent_IsZero) {
  EXPECT_EQ(amt_frame_get_int(frame_of(EVERY_TYPE).get(), 99), 0u);
  EXPECT_EQ(amt_frame_get_int(nullptr, 1), 0u);
}

TEST(GetInt, OtherLengths_TakeUpToFourBytes) {
  EXPECT_EQ(amt_frame_get_int(frame_of("0B00 BB 01 0500  EE01030000").get(), 1), 0u);
  EXPECT_EQ(amt_frame_get_int(frame_of("0C00 BB 01 0600  EE01040100 FF").get(), 1), 0xFFu);
  EXPECT_EQ(amt_frame_get_int(frame_of("0D00 BB 01 0700  EE01030200 3412").get(), 1), 0x1234u);
  EXPECT_EQ(amt_frame_get_int(frame_of("1100 BB 01 0B00  EE01030600 010203040506").get(), 1), 0x04030201u);
}

TEST(GetFlag, Value_IsRead) {
  EXPECT_EQ(amt_frame_get_flag(frame_of(EVERY_TYPE).get(), 7), 0u);
  EXPECT_EQ(amt_frame_get_flag(frame_of(EVERY_TYPE).get(), 19), 64u);
}

TEST(GetFlag, Absent_IsOne) {
  EXPECT_EQ(amt_frame_get_flag(frame_of("0600 BB 2D 0000").get(), 7), 1u);
  EXPECT_EQ(amt_frame_get_flag(frame_of(EVERY_TYPE).get(), 99), 1u);
  EXPECT_EQ(amt_frame_get_flag(nullptr, 7), 1u);
}

TEST(GetBytes, LargerBuffer_IsFilledUpWithZeros) {
  std::array<std::uint8_t, 5> buffer{9, 9, 9, 9, 9};
  EXPECT_EQ(amt_frame_get_bytes(frame_of(EVERY_TYPE).get(), 5, buffer.data(), buffer.size()), 3u);
  EXPECT_EQ(buffer, (std::array<std::uint8_t, 5>{0x00, 0x01, 0xFF, 0, 0}));
}

TEST(GetBytes, SmallerBuffer_IsFilledAndNothingElse) {
  std::array<std::uint8_t, 3> buffer{9, 9, 9};
  EXPECT_EQ(amt_frame_get_bytes(frame_of(EVERY_TYPE).get(), 5, buffer.data(), 2), 2u);
  EXPECT_EQ(buffer, (std::array<std::uint8_t, 3>{0x00, 0x01, 9}));
}

TEST(GetBytes, SizeZero_IsAQueryForTheLength) {
  std::uint8_t byte = 9;
  EXPECT_EQ(amt_frame_get_bytes(frame_of(EVERY_TYPE).get(), 5, &byte, 0), 3u);
  EXPECT_EQ(amt_frame_get_bytes(frame_of(EVERY_TYPE).get(), 5, nullptr, 0), 3u);
  EXPECT_EQ(amt_frame_get_bytes(frame_of("FFFF BB 01 F9FF  EE 01 03 FFFF").get(), 1, nullptr, 0), 65535u);
  EXPECT_EQ(byte, 9);
}

TEST(GetBytes, NullBuffer_GivesZero) {
  EXPECT_EQ(amt_frame_get_bytes(frame_of(EVERY_TYPE).get(), 5, nullptr, 4), 0u);
}

TEST(GetBytes, Absent_LeavesTheBufferAlone) {
  std::array<std::uint8_t, 2> buffer{9, 9};
  EXPECT_EQ(amt_frame_get_bytes(frame_of(EVERY_TYPE).get(), 99, buffer.data(), buffer.size()), 0u);
  EXPECT_EQ(amt_frame_get_bytes(frame_of(EVERY_TYPE).get(), 99, nullptr, 0), 0u);
  EXPECT_EQ(amt_frame_get_bytes(nullptr, 5, buffer.data(), buffer.size()), 0u);
  EXPECT_EQ(buffer, (std::array<std::uint8_t, 2>{9, 9}));
}

TEST(GetBytes, ValueLength65535_CopiesWhatLiesInTheRecord) {
  const auto frame = frame_of("FFFF BB 01 F9FF  EE 01 03 FFFF 41424344");
  byte_string buffer(70000, 9);
  EXPECT_EQ(amt_frame_get_bytes(frame.get(), 1, buffer.data(), buffer.size()), 4085u);
  EXPECT_EQ(buffer, bytes_from_text("ABCD") + zeros(69996));
}

struct get_string_row_st {
  std::size_t m_size;
  std::size_t m_result;
  const char* m_bytes;  // of a buffer of 6 that held '#'
};

// The value is "V1.0".
class GetString : public testing::TestWithParam<get_string_row_st> {};

TEST_P(GetString, Size_DecidesHowMuchIsCopied) {
  std::array<char, 6> buffer{'#', '#', '#', '#', '#', '#'};
  EXPECT_EQ(amt_frame_get_string(frame_of(EVERY_TYPE).get(), 18, buffer.data(), GetParam().m_size),
            GetParam().m_result);
  EXPECT_EQ(std::string(buffer.begin(), buffer.end()), std::string(GetParam().m_bytes, 6));
}

INSTANTIATE_TEST_SUITE_P(SizeQuery, GetString, testing::Values(get_string_row_st{0, 5, "######"}));
INSTANTIATE_TEST_SUITE_P(CutToLeaveATerminator, GetString,
                         testing::Values(get_string_row_st{1, 0, "\0#####"}, get_string_row_st{2, 1, "V\0####"},
                                         get_string_row_st{3, 2, "V1\0###"}));
INSTANTIATE_TEST_SUITE_P(ExactlyFullHasNoTerminator, GetString, testing::Values(get_string_row_st{4, 4, "V1.0##"}));
INSTANTIATE_TEST_SUITE_P(WholeAndFilledUp, GetString,
                         testing::Values(get_string_row_st{5, 4, "V1.0\0#"}, get_string_row_st{6, 4, "V1.0\0\0"}));

TEST(GetStringAbsent, AnySize_LeavesTheBufferAlone) {
  char buffer[2] = {'#', '#'};
  EXPECT_EQ(amt_frame_get_string(frame_of(EVERY_TYPE).get(), 99, buffer, 2), 0u);
  EXPECT_EQ(amt_frame_get_string(frame_of(EVERY_TYPE).get(), 99, nullptr, 0), 0u);
  EXPECT_EQ(amt_frame_get_string(nullptr, 18, buffer, 2), 0u);
  EXPECT_EQ(buffer[0], '#');
}

TEST(GetStringHostile, NullBuffer_GivesZero) {
  EXPECT_EQ(amt_frame_get_string(frame_of(EVERY_TYPE).get(), 18, nullptr, 5), 0u);
}

TEST(GetStringHostile, ValueLength65535_StaysInTheRecord) {
  const auto frame = frame_of("FFFF BB 01 F9FF  EE 01 02 FFFF 41424344");
  EXPECT_EQ(amt_frame_get_string(frame.get(), 1, nullptr, 0), 65536u);
  std::vector<char> buffer(70000, '#');
  EXPECT_EQ(amt_frame_get_string(frame.get(), 1, buffer.data(), buffer.size()), 4085u);
  EXPECT_STREQ(buffer.data(), "ABCD");
  std::vector<char> small(4, '#');
  EXPECT_EQ(amt_frame_get_string(frame.get(), 1, small.data(), small.size()), 3u);
  EXPECT_STREQ(small.data(), "ABC");
}

}  // namespace
