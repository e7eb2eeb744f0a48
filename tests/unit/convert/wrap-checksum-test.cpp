#include <gtest/gtest.h>

#include <random>

#include "amt/amt-convert/wrap.h"
#include "tests/wire.h"

namespace {

// The definition, step by step and without a table: eight rounds for every byte that leaves at the top.
std::uint32_t slow_table_entry(std::uint32_t n) {
  for (int round = 0; round < 8; ++round) {
    const bool is_odd = n % 2 == 1;
    n /= 2;
    if (is_odd) n ^= 0xEDB88320;
  }
  return n;
}

std::uint32_t slow_checksum(byte_string bytes) {
  bytes.insert(bytes.end(), 4, 0);
  std::uint64_t value = 0;
  for (const std::uint8_t byte : bytes) {
    const auto top = static_cast<std::uint32_t>(value / 0x1000000);
    value = slow_table_entry(top) ^ ((value * 256 + byte) % 0x100000000);
  }
  return static_cast<std::uint32_t>(value);
}

TEST(ChecksumTable, EveryEntry_IsEightRoundsOfTheReflectedPolynomial) {
  for (std::uint32_t n = 0; n < 256; ++n) EXPECT_EQ(g_tabCRC32[n], slow_table_entry(n)) << n;
}

TEST(ChecksumTable, KnownEntries_AreThoseOfTheCommonTable) {
  EXPECT_EQ(g_tabCRC32[0], 0x00000000u);
  EXPECT_EQ(g_tabCRC32[1], 0x77073096u);
  EXPECT_EQ(g_tabCRC32[2], 0xEE0E612Cu);
  EXPECT_EQ(g_tabCRC32[128], 0xEDB88320u);
  EXPECT_EQ(g_tabCRC32[255], 0x2D02EF8Du);
}

TEST(Checksum, NoBytes_IsZero) {
  EXPECT_EQ(amt_wrap_checksum({}), 0u);
}

// One byte b is shifted up by three of the four zeros (b, b00, b0000, b000000); the fourth replaces it by entry b.
TEST(Checksum, OneByte_IsItsTableEntry) {
  EXPECT_EQ(amt_wrap_checksum(bytes_from_hex("00")), 0u);
  EXPECT_EQ(amt_wrap_checksum(bytes_from_hex("01")), 0x77073096u);
  EXPECT_EQ(amt_wrap_checksum(bytes_from_hex("FF")), 0x2D02EF8Du);
}

// 01000000 leaves as entry 1 = 77073096; the next step gives entry 77 = CE61E49F XOR 07309600 = C951729F.
TEST(Checksum, TwoBytes_AreWorkedByHand) {
  EXPECT_EQ(amt_wrap_checksum(bytes_from_hex("0100")), 0xC951729Fu);
}

// Leading zeros leave no trace: there is no start value but 0.
TEST(Checksum, LeadingZeros_ChangeNothing) {
  EXPECT_EQ(amt_wrap_checksum(bytes_from_hex("0000000001")), 0x77073096u);
}

TEST(Checksum, PreResponseHeader_Is1DEE4A76) {
  EXPECT_EQ(amt_wrap_checksum(bytes_from_hex("AABBCCDD 08000000 02020000")), 0x1DEE4A76u);
}

TEST(Checksum, SameHeaderWithSubKindZero_IsC10DCC42) {
  EXPECT_EQ(amt_wrap_checksum(bytes_from_hex("AABBCCDD 08000000 02000000")), 0xC10DCC42u);
}

TEST(Checksum, AnyBytes_AgreeWithTheSlowDefinition) {
  std::mt19937 random(20211);
  for (int round = 0; round < 500; ++round) {
    byte_string bytes(random() % 600);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    ASSERT_EQ(amt_wrap_checksum(bytes), slow_checksum(bytes)) << "round " << round << ", " << bytes.size() << " bytes";
  }
}

TEST(Checksum, FullRecord_AgreesWithTheSlowDefinition) {
  const byte_string bytes(4092, 0xFF);
  EXPECT_EQ(amt_wrap_checksum(bytes), slow_checksum(bytes));
}

TEST(PreResponse, Bytes_AreHeaderAndChecksum) {
  EXPECT_EQ(byte_string(AMT_PRE_RESPONSE.begin(), AMT_PRE_RESPONSE.end()),
            bytes_from_hex("AABBCCDD 08000000 02020000 764AEE1D"));
}

}  // namespace
