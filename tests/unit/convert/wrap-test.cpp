#include "amt/amt-convert/wrap.h"

#include <gtest/gtest.h>

#include <random>

#include "pub/result.h"
#include "tests/unit/convert/frames.h"
#include "tests/wire.h"

namespace {

byte_string content(const amt_message_st& message) {
  return first_bytes(message.m_buf_a, message.m_buf_len);
}

void expect_unchanged(const amt_message_st& message, const amt_message_st& before) {
  EXPECT_EQ(message.m_buf_len, before.m_buf_len);
  EXPECT_EQ(message.m_buf_a, before.m_buf_a);
}

TEST(Wrap, LengthZero_TakesTheFramesOwnLength) {
  const auto message = message_of(bytes_from_hex("0800 BB 2D 0200 EE01"), 0);
  EXPECT_EQ(amt_wrap(message.get()), ERR_NONE);
  EXPECT_EQ(content(*message), bytes_from_hex("AABBCCDD 10000000 02 00 0000  0800BB2D0200EE01  BA5541D1"));
}

TEST(Wrap, FrameWithoutAtoms_IsTwentyTwoBytes) {
  const auto message = message_of(bytes_from_hex("0600 BB 2D 0000"), 0);
  EXPECT_EQ(amt_wrap(message.get()), ERR_NONE);
  EXPECT_EQ(content(*message), bytes_from_hex("AABBCCDD 0E000000 02000000  0600BB2D0000  3A2CF7D4"));
}

TEST(Wrap, VersionRequest_IsTheStationsOwn) {
  const auto message = message_of(bytes_from_hex("0F00BB2D0900 EE1301040040000000"), 0);
  EXPECT_EQ(amt_wrap(message.get()), ERR_NONE);
  EXPECT_EQ(content(*message), VERSION_REQUEST);
}

TEST(Wrap, LengthSet_CountsMoreThanTheFramesOwn) {
  const auto message = message_of(bytes_from_hex("0F00 BB 2D 0900"), 6);
  EXPECT_EQ(amt_wrap(message.get()), ERR_NONE);
  EXPECT_EQ(message->m_buf_len, 22u);
  EXPECT_EQ(first_bytes(message->m_buf_a, 18), bytes_from_hex("AABBCCDD 0E000000 02000000 0F00BB2D0900"));
}

TEST(Wrap, OldHeaderBytes_AreOverwritten) {
  const auto message = message_of(byte_string(4096, 0xFF), 1);
  EXPECT_EQ(amt_wrap(message.get()), ERR_NONE);
  EXPECT_EQ(first_bytes(message->m_buf_a, 13), bytes_from_hex("AABBCCDD 09000000 02000000 FF"));
  EXPECT_EQ(message->m_buf_a[17], 0xFF);  // after the 17 bytes of the result
}

TEST(Wrap, Null_IsABadArgument) {
  EXPECT_EQ(amt_wrap(nullptr), ERR_ARGUMENT);
}

TEST(Wrap, NothingToWrap_IsABadArgumentAndChangesNothing) {
  const auto message = message_of(bytes_from_hex("0000 BB 2D"), 0);
  const amt_message_st before = *message;
  EXPECT_EQ(amt_wrap(message.get()), ERR_ARGUMENT);
  expect_unchanged(*message, before);
}

TEST(Wrap, FrameOf4080Bytes_FillsTheRecord) {
  const auto message = message_of(byte_string(4096, 0x5A), 4080);
  EXPECT_EQ(amt_wrap(message.get()), ERR_NONE);
  EXPECT_EQ(message->m_buf_len, 4096u);
  EXPECT_EQ(first_bytes(message->m_buf_a, 12), bytes_from_hex("AABBCCDD F80F0000 02000000"));
  EXPECT_EQ(message->m_buf_a[4091], 0x5A);
}

TEST(Wrap, FrameOf4081Bytes_IsRefusedAndChangesNothing) {
  for (const std::uint32_t length : {4081u, 4096u, 4097u, 65536u, 0xFFFFFFF4u, 0xFFFFFFFFu}) {
    const auto message = message_of(byte_string(4096, 0x5A), length);
    const amt_message_st before = *message;
    EXPECT_EQ(amt_wrap(message.get()), ERR_ARGUMENT) << length;
    expect_unchanged(*message, before);
  }
}

TEST(Wrap, FramesOwnLengthTooLarge_IsRefusedAndChangesNothing) {
  for (const char* head : {"F10F BB 2D", "FFFF BB 2D"}) {
    const auto message = message_of(bytes_from_hex(head), 0);
    const amt_message_st before = *message;
    EXPECT_EQ(amt_wrap(message.get()), ERR_ARGUMENT) << head;
    expect_unchanged(*message, before);
  }
}

TEST(Unwrap, WrappedFrame_GivesTheBareOne) {
  const auto message = message_of(VERSION_REQUEST);
  EXPECT_EQ(amt_unwrap(message.get()), ERR_NONE);
  EXPECT_EQ(content(*message), bytes_from_hex("0F00BB2D0900 EE1301040040000000"));
}

// Handlers that read past the end of a request still see what was there: first the checksum, then the old bytes.
TEST(Unwrap, BytesBehindTheShortenedData_StayAsTheyWere) {
  const auto message = message_of(bytes_from_hex("AABBCCDD 0E000000 02000000  0600BB2D0000  3A2CF7D4  7172737475"), 22);
  EXPECT_EQ(amt_unwrap(message.get()), ERR_NONE);
  EXPECT_EQ(message->m_buf_len, 6u);
  EXPECT_EQ(first_bytes(message->m_buf_a, 30),
            bytes_from_hex("0600BB2D0000 3A2CF7D4 0000  0600BB2D0000  3A2CF7D4  7172737475 000000"));
}

TEST(Unwrap, SixteenBytes_IsBadData) {
  const auto message = message_of(PRE_RESPONSE);
  const amt_message_st before = *message;
  EXPECT_EQ(amt_unwrap(message.get()), ERR_FAIL);
  expect_unchanged(*message, before);
}

TEST(Unwrap, SeventeenBytes_LeavesOne) {
  const auto message = message_of(bytes_from_hex("AABBCCDD 00000000 00000000 42 00000000"));
  EXPECT_EQ(amt_unwrap(message.get()), ERR_NONE);
  EXPECT_EQ(content(*message), bytes_from_hex("42"));
}

TEST(Unwrap, EveryShortLength_IsBadData) {
  for (std::uint32_t length = 1; length <= 16; ++length) {
    const auto message = message_of(VERSION_REQUEST, length);
    EXPECT_EQ(amt_unwrap(message.get()), ERR_FAIL) << length;
    EXPECT_EQ(message->m_buf_len, length);
  }
}

TEST(Unwrap, OneWrongByteInTheMagic_IsBadData) {
  for (std::size_t at = 0; at < 4; ++at) {
    byte_string bytes = VERSION_REQUEST;
    bytes[at] ^= 1;
    const auto message = message_of(bytes);
    const amt_message_st before = *message;
    EXPECT_EQ(amt_unwrap(message.get()), ERR_FAIL) << at;
    expect_unchanged(*message, before);
  }
}

TEST(Unwrap, Text_IsBadData) {
  EXPECT_EQ(amt_unwrap(message_of(bytes_from_text("AT^DSVER=1,2,3,4,5,6\r")).get()), ERR_FAIL);
}

TEST(Unwrap, NullOrEmpty_IsABadArgument) {
  EXPECT_EQ(amt_unwrap(nullptr), ERR_ARGUMENT);
  EXPECT_EQ(amt_unwrap(message_of(VERSION_REQUEST, 0).get()), ERR_ARGUMENT);
}

TEST(Unwrap, LengthBeyondTheRecord_IsBadData) {
  for (const std::uint32_t length : {4097u, 65535u, 0xFFFFFFFFu}) {
    const auto message = message_of(VERSION_REQUEST, length);
    const amt_message_st before = *message;
    EXPECT_EQ(amt_unwrap(message.get()), ERR_FAIL) << length;
    expect_unchanged(*message, before);
  }
}

TEST(Unwrap, FullRecord_Leaves4080) {
  const auto message = message_of(bytes_from_hex("AABBCCDD F80F0000 02000000") + byte_string(4084, 0x5A));
  EXPECT_EQ(amt_unwrap(message.get()), ERR_NONE);
  EXPECT_EQ(content(*message), byte_string(4080, 0x5A));
}

TEST(Unwrap, WrongChecksum_IsNotLookedAt) {
  const auto message = message_of(bytes_from_hex("AABBCCDD 0E000000 02000000  0600BB2D0000  DEADBEEF"));
  EXPECT_EQ(amt_unwrap(message.get()), ERR_NONE);
  EXPECT_EQ(content(*message), bytes_from_hex("0600BB2D0000"));
}

TEST(Unwrap, WrongLengthKindAndReservedBytes_AreNotLookedAt) {
  const auto message = message_of(bytes_from_hex("AABBCCDD FFFFFFFF 99887766  0600BB2D0000  3A2CF7D4"));
  EXPECT_EQ(amt_unwrap(message.get()), ERR_NONE);
  EXPECT_EQ(content(*message), bytes_from_hex("0600BB2D0000"));
}

TEST(IsWrapped, MagicAndMoreThanSixteenBytes_IsAllThatCounts) {
  EXPECT_TRUE(amt_is_wrapped(bytes_from_hex("AABBCCDD 00000000 00000000 42 00000000")));
  EXPECT_FALSE(amt_is_wrapped(PRE_RESPONSE));
  EXPECT_FALSE(amt_is_wrapped(bytes_from_hex("DDCCBBAA 00000000 00000000 42 00000000")));
  EXPECT_FALSE(amt_is_wrapped({}));
}

TEST(WrapAndUnwrap, AnyBytes_ComeBackUnchanged) {
  std::mt19937 random(3107);
  for (int round = 0; round < 400; ++round) {
    byte_string bytes(1 + random() % 4080);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    const auto message = message_of(bytes);
    ASSERT_EQ(amt_wrap(message.get()), ERR_NONE);
    ASSERT_EQ(message->m_buf_len, bytes.size() + 16);
    ASSERT_EQ(amt_read_u32(message->m_buf_a.data() + 4), bytes.size() + 8);
    ASSERT_EQ(amt_read_u32(message->m_buf_a.data() + 12 + bytes.size()),
              amt_wrap_checksum({message->m_buf_a.data(), 12 + bytes.size()}));
    ASSERT_EQ(amt_unwrap(message.get()), ERR_NONE);
    ASSERT_EQ(content(*message), bytes) << "round " << round;
  }
}

}  // namespace
