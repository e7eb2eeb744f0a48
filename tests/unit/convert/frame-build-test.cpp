#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/unit/convert/frames.h"

namespace {

byte_string built(const amt_frame_st& frame) {
  return first_bytes(frame, amt_frame_total_length(&frame));
}

// A frame whose one atom leaves this many bytes free in the buffer.
frame_owner frame_with_room(std::size_t room) {
  auto frame = std::make_unique<amt_frame_st>();
  amt_frame_init(frame.get(), 1);
  const byte_string value(4096 - 6 - 5 - room, 0x5A);
  EXPECT_TRUE(amt_frame_add_bytes(frame.get(), 9, value.data(), value.size()));
  EXPECT_EQ(amt_frame_total_length(frame.get()), 4096 - room);
  return frame;
}

TEST(FrameInit, OverOldBytes_LeavesSixBytesAndZeros) {
  auto frame = std::make_unique<amt_frame_st>();
  frame->fill(0xA5);
  amt_frame_init(frame.get(), 45);
  EXPECT_EQ(*frame, *frame_of("0600 BB 2D 0000"));
}

TEST(FrameInit, LargestId_IsStored) {
  amt_frame_st frame;
  amt_frame_init(&frame, 255);
  EXPECT_EQ(built(frame), bytes_from_hex("0600 BB FF 0000"));
}

TEST(FrameInit, NullFrame_DoesNothing) {
  amt_frame_init(nullptr, 45);
}

class FrameAdd : public testing::Test {
 protected:
  FrameAdd() { amt_frame_init(&m_frame, 45); }
  amt_frame_st m_frame;
};

TEST_F(FrameAdd, Int_IsNineBytesLittleEndian) {
  EXPECT_TRUE(amt_frame_add_int(&m_frame, 1, 0x12345678));
  EXPECT_EQ(built(m_frame), bytes_from_hex("0F00 BB 2D 0900  EE 01 01 0400 78563412"));
}

TEST_F(FrameAdd, Flag_IsSixBytes) {
  EXPECT_TRUE(amt_frame_add_flag(&m_frame, 7, 0xFE));
  EXPECT_EQ(built(m_frame), bytes_from_hex("0C00 BB 2D 0600  EE 07 04 0100 FE"));
}

TEST_F(FrameAdd, Bytes_KeepZerosInside) {
  const byte_string value = bytes_from_hex("00EE00FF");
  EXPECT_TRUE(amt_frame_add_bytes(&m_frame, 5, value.data(), value.size()));
  EXPECT_EQ(built(m_frame), bytes_from_hex("0F00 BB 2D 0900  EE 05 03 0400 00EE00FF"));
}

TEST_F(FrameAdd, NoBytes_IsAnAtomWithoutValue) {
  const std::uint8_t nothing = 0;
  EXPECT_TRUE(amt_frame_add_bytes(&m_frame, 5, &nothing, 0));
  EXPECT_EQ(built(m_frame), bytes_from_hex("0B00 BB 2D 0500  EE 05 03 0000"));
}

TEST_F(FrameAdd, String_HasNoTerminator) {
  EXPECT_TRUE(amt_frame_add_string(&m_frame, 21, "a\"b\r"));
  EXPECT_EQ(built(m_frame), bytes_from_hex("0F00 BB 2D 0900  EE 15 02 0400 6122620D"));
}

TEST_F(FrameAdd, EmptyString_IsAnAtomWithoutValue) {
  EXPECT_TRUE(amt_frame_add_string(&m_frame, 21, ""));
  EXPECT_EQ(built(m_frame), bytes_from_hex("0B00 BB 2D 0500  EE 15 02 0000"));
}

TEST_F(FrameAdd, SeveralAtoms_LieBackToBack) {
  EXPECT_TRUE(amt_frame_add_int(&m_frame, 19, 16));
  EXPECT_TRUE(amt_frame_add_string(&m_frame, 18, "V1"));
  EXPECT_TRUE(amt_frame_add_flag(&m_frame, 3, 0));
  EXPECT_TRUE(amt_frame_add_int(&m_frame, 1, 0xFFFFFF9C));
  EXPECT_EQ(
      built(m_frame),
      bytes_from_hex("2500 BB 2D 1F00  EE13010400 10000000  EE12020200 5631  EE03040100 00  EE01010400 9CFFFFFF"));
}

TEST_F(FrameAdd, MissingData_IsRefused) {
  const amt_frame_st before = m_frame;
  EXPECT_FALSE(amt_frame_add_bytes(&m_frame, 5, nullptr, 4));
  EXPECT_FALSE(amt_frame_add_bytes(&m_frame, 5, nullptr, 0));
  EXPECT_FALSE(amt_frame_add_string(&m_frame, 5, nullptr));
  EXPECT_EQ(m_frame, before);
}

TEST_F(FrameAdd, NullFrame_IsRefused) {
  const std::uint8_t byte = 1;
  EXPECT_FALSE(amt_frame_add_int(nullptr, 1, 1));
  EXPECT_FALSE(amt_frame_add_flag(nullptr, 1, 1));
  EXPECT_FALSE(amt_frame_add_bytes(nullptr, 1, &byte, 1));
  EXPECT_FALSE(amt_frame_add_string(nullptr, 1, "x"));
  amt_frame_add_length(nullptr, 1);
}

TEST(FrameAddAtTheEnd, IntWithNineBytesFree_FillsTheRecord) {
  const auto frame = frame_with_room(9);
  EXPECT_TRUE(amt_frame_add_int(frame.get(), 1, 0x44332211));
  EXPECT_EQ(first_bytes(*frame, 6), bytes_from_hex("0010 BB 01 FA0F"));
  EXPECT_EQ(byte_string(frame->end() - 9, frame->end()), bytes_from_hex("EE 01 01 0400 11223344"));
}

TEST(FrameAddAtTheEnd, FlagWithSixBytesFree_FillsTheRecord) {
  const auto frame = frame_with_room(6);
  EXPECT_TRUE(amt_frame_add_flag(frame.get(), 1, 0x77));
  EXPECT_EQ(byte_string(frame->end() - 6, frame->end()), bytes_from_hex("EE 01 04 0100 77"));
}

TEST(FrameAddAtTheEnd, EmptyStringWithFiveBytesFree_FillsTheRecord) {
  const auto frame = frame_with_room(5);
  EXPECT_TRUE(amt_frame_add_string(frame.get(), 1, ""));
  EXPECT_EQ(byte_string(frame->end() - 5, frame->end()), bytes_from_hex("EE 01 02 0000"));
}

TEST(FrameAddAtTheEnd, OneByteTooFew_LeavesTheRecordAsItWas) {
  const std::uint8_t bytes[2] = {1, 2};
  struct {
    std::size_t m_room;
    bool (*m_add)(amt_frame_st*, const std::uint8_t*);
  } const cases[] = {
      {8, [](amt_frame_st* frame, const std::uint8_t*) { return amt_frame_add_int(frame, 1, 1); }},
      {5, [](amt_frame_st* frame, const std::uint8_t*) { return amt_frame_add_flag(frame, 1, 1); }},
      {6, [](amt_frame_st* frame, const std::uint8_t* data) { return amt_frame_add_bytes(frame, 1, data, 2); }},
      {7, [](amt_frame_st* frame, const std::uint8_t*) { return amt_frame_add_string(frame, 1, "abc"); }},
      {4, [](amt_frame_st* frame, const std::uint8_t* data) { return amt_frame_add_bytes(frame, 1, data, 0); }},
      {0, [](amt_frame_st* frame, const std::uint8_t* data) { return amt_frame_add_bytes(frame, 1, data, 0); }},
  };
  for (const auto& row : cases) {
    const auto frame = frame_with_room(row.m_room);
    const amt_frame_st before = *frame;
    EXPECT_FALSE(row.m_add(frame.get(), bytes)) << row.m_room;
    EXPECT_EQ(*frame, before) << row.m_room;
  }
}

TEST(FrameAddAtTheEnd, LargestValue_FillsAFreshFrame) {
  auto frame = std::make_unique<amt_frame_st>();
  amt_frame_init(frame.get(), 1);
  EXPECT_TRUE(amt_frame_add_string(frame.get(), 2, std::string(4085, 'x').c_str()));
  EXPECT_EQ(first_bytes(*frame, 12), bytes_from_hex("0010 BB 01 FA0F EE 02 02 F50F 78"));
  EXPECT_EQ(frame->back(), 'x');
}

// 65536 and 65542 would look small if they were cut to the 16 bits of a length field.
TEST(FrameAddAtTheEnd, HugeValue_IsRefused) {
  const byte_string data(70000, 0x33);
  auto frame = std::make_unique<amt_frame_st>();
  amt_frame_init(frame.get(), 1);
  const amt_frame_st before = *frame;
  for (const std::size_t count : {std::size_t{4086}, std::size_t{65535}, std::size_t{65536}, std::size_t{65542},
                                  std::numeric_limits<std::size_t>::max()}) {
    EXPECT_FALSE(amt_frame_add_bytes(frame.get(), 1, data.data(), count)) << count;
    EXPECT_EQ(*frame, before) << count;
  }
  EXPECT_FALSE(amt_frame_add_string(frame.get(), 1, std::string(4086, 'x').c_str()));
  EXPECT_FALSE(amt_frame_add_string(frame.get(), 1, std::string(65536, 'x').c_str()));
  EXPECT_EQ(*frame, before);
}

TEST(FrameAddToAFrameThatLies, TotalLengthOutsideTheRecord_IsRefused) {
  for (const char* head : {"0000 BB 01 0000", "0500 BB 01 0000", "0110 BB 01 FB0F", "FFFF BB 01 F9FF"}) {
    const auto frame = frame_of(head);
    EXPECT_FALSE(amt_frame_add_int(frame.get(), 1, 1)) << head;
    EXPECT_EQ(*frame, *frame_of(head)) << head;
  }
}

TEST(FrameAddLength, Count_GrowsBothLengths) {
  const auto frame = frame_of("0600 BB 01 0000");
  amt_frame_add_length(frame.get(), 0x0109);
  EXPECT_EQ(*frame, *frame_of("0F01 BB 01 0901"));
}

TEST(FrameAddLength, SumAbove65535_WrapsToSixteenBits) {
  const auto frame = frame_of("FAFF BB 01 F4FF");
  amt_frame_add_length(frame.get(), 0x0010);
  EXPECT_EQ(*frame, *frame_of("0A00 BB 01 0400"));
}

TEST(FrameAddLength, TotalBelowTheHead_GivesAWrappedDataLength) {
  const auto frame = frame_of("0200 BB 01 0000");
  amt_frame_add_length(frame.get(), 1);
  EXPECT_EQ(*frame, *frame_of("0300 BB 01 FDFF"));
}

}  // namespace
