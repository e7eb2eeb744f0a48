// The modem's answers on their way to a frame.
#include <gtest/gtest.h>

#include "amt/amt-convert/at-data.h"
#include "tests/unit/convert/frames.h"

namespace {

using enum amt_at_fault_en;

struct response_row {
  const char* m_name;
  const char* m_at_data;
  const char* m_frame;
};

class AtDataResponse : public testing::TestWithParam<response_row> {};

TEST_P(AtDataResponse, Convert_GivesTheIdsAtoms) {
  amt_frame_st frame;
  frame.fill(0xCC);
  EXPECT_EQ(amt_frame_from_at_data(bytes_from_hex(GetParam().m_at_data), frame).m_fault, NONE);
  EXPECT_EQ(text_of(frame), GetParam().m_frame);
}

// Every id that has fields, with each of them different from its neighbours.
INSTANTIATE_TEST_SUITE_P(
    EachId, AtDataResponse,
    testing::Values(
        response_row{"Imei", "08 00 00 00 00 38 36 30 30 30 31 30 32 30 33 30 34 30 35 30",
                     "23 00 BB 08 1D 00 EE 01 01 04 00 00 00 00 00 "
                     "EE 15 03 0F 00 38 36 30 30 30 31 30 32 30 33 30 34 30 35 30"},
        response_row{"RxData", "18 00 00 00 00 01 02 03 04 03 00 00 00 AA AB AC",
                     "20 00 BB 18 1A 00 EE 01 01 04 00 00 00 00 00 EE 0C 01 04 00 04 03 02 01 "
                     "EE 04 03 03 00 AA AB AC"},
        response_row{"IqPower", "1A 00 00 00 00 01 02 03 04",
                     "18 00 BB 1A 12 00 EE 01 01 04 00 00 00 00 00 EE 0D 01 04 00 04 03 02 01"},
        response_row{"Version",
                     "2E 00 00 00 00 00 00 00 11 "
                     "00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14 15 16 17 18 19 1A 1B 1C 1D 1E 1F "
                     "20 21 22 23 24 25 26 27 28 29 2A 2B 2C 2D 2E 2F 30 31 32 33 34 35 36 37 38 39 3A 3B 3C 3D 3E 3F",
                     "5D 00 BB 2E 57 00 EE 01 01 04 00 00 00 00 00 EE 13 01 04 00 11 00 00 00 EE 12 03 40 00 "
                     "00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14 15 16 17 18 19 1A 1B 1C 1D 1E 1F "
                     "20 21 22 23 24 25 26 27 28 29 2A 2B 2C 2D 2E 2F 30 31 32 33 34 35 36 37 38 39 3A 3B 3C 3D 3E 3F"},
        response_row{"TableMemory", "30 00 00 00 00 02 00 00 00 AA AB",
                     "16 00 BB 30 10 00 EE 01 01 04 00 00 00 00 00 EE 04 03 02 00 AA AB"},
        response_row{"RfAdc", "3C 00 00 00 00 FF FF FF FE",
                     "18 00 BB 3C 12 00 EE 01 01 04 00 00 00 00 00 EE 18 01 04 00 FE FF FF FF"},
        response_row{"TableFlash", "3E 00 00 00 00 01 00 00 00 AA",
                     "15 00 BB 3E 0F 00 EE 01 01 04 00 00 00 00 00 EE 04 03 01 00 AA"},
        response_row{"IqSerial", "4E 00 00 00 00 01 00 00 00 AA",
                     "15 00 BB 4E 0F 00 EE 01 01 04 00 00 00 00 00 EE 22 03 01 00 AA"},
        response_row{"UsimCheck", "64 00 00 00 00 07",
                     "15 00 BB 64 0F 00 EE 01 01 04 00 00 00 00 00 EE 29 04 01 00 07"},
        response_row{"GsmControl", "6A 00 00 00 00 01 00 00 00 AA",
                     "15 00 BB 6A 0F 00 EE 01 01 04 00 00 00 00 00 EE 2B 03 01 00 AA"},
        response_row{"GsmTableFlag", "6E 00 00 00 00 01",
                     "15 00 BB 6E 0F 00 EE 01 01 04 00 00 00 00 00 EE 2C 04 01 00 01"},
        response_row{"GsmTableMemory", "72 00 00 00 00 01 00 00 00 AA",
                     "15 00 BB 72 0F 00 EE 01 01 04 00 00 00 00 00 EE 04 03 01 00 AA"},
        response_row{"DspControl", "98 00 00 00 00 03 00 AA AB AC",
                     "17 00 BB 98 11 00 EE 01 01 04 00 00 00 00 00 EE 3E 03 03 00 AA AB AC"},
        response_row{"DspIndication", "DD 00 00 00 00 03 00 AA AB AC",
                     "17 00 BB DD 11 00 EE 01 01 04 00 00 00 00 00 EE 3E 03 03 00 AA AB AC"}),
    [](const auto& row) { return row.param.m_name; });

INSTANTIATE_TEST_SUITE_P(
    Edges, AtDataResponse,
    testing::Values(response_row{"ResultIsBigEndian", "0E 00 00 00 01", "0F 00 BB 0E 09 00 EE 01 01 04 00 01 00 00 00"},
                    response_row{"NegativeResult", "0E FF FF FF 9C", "0F 00 BB 0E 09 00 EE 01 01 04 00 9C FF FF FF"},
                    response_row{"KnownIdWithTheResultOnly", "1A 00 00 00 00",
                                 "0F 00 BB 1A 09 00 EE 01 01 04 00 00 00 00 00"},
                    response_row{"UnknownIdWithMoreData", "0E 00 00 00 00 01 02 03",
                                 "0F 00 BB 0E 09 00 EE 01 01 04 00 00 00 00 00"},
                    response_row{"OneByteReadsZerosBehind", "1A", "0F 00 BB 1A 09 00 EE 01 01 04 00 00 00 00 00"},
                    response_row{"HalfAResult", "1A 00 01", "0F 00 BB 1A 09 00 EE 01 01 04 00 00 00 01 00"},
                    response_row{"HalfAnIntegerIsFilledUp", "1A 00 00 00 00 01",
                                 "18 00 BB 1A 12 00 EE 01 01 04 00 00 00 00 00 EE 0D 01 04 00 00 00 00 01"},
                    response_row{"ShortImeiIsFilledUp", "08 00 00 00 00 38 36",
                                 "23 00 BB 08 1D 00 EE 01 01 04 00 00 00 00 00 "
                                 "EE 15 03 0F 00 38 36 00 00 00 00 00 00 00 00 00 00 00 00 00"},
                    response_row{"LengthBeyondTheDataIsFilledUp", "30 00 00 00 00 03 00 00 00 AA",
                                 "17 00 BB 30 11 00 EE 01 01 04 00 00 00 00 00 EE 04 03 03 00 AA 00 00"},
                    response_row{"LengthCutInTwo", "98 00 00 00 00 02",
                                 "16 00 BB 98 10 00 EE 01 01 04 00 00 00 00 00 EE 3E 03 02 00 00 00"}),
    [](const auto& row) { return row.param.m_name; });

struct bad_response_row {
  const char* m_name;
  const char* m_at_data;
  amt_at_fault_en m_fault;
};

class AtDataBadResponse : public testing::TestWithParam<bad_response_row> {};

TEST_P(AtDataBadResponse, Convert_ReportsTheFault) {
  amt_frame_st frame;
  EXPECT_EQ(amt_frame_from_at_data(bytes_from_hex(GetParam().m_at_data), frame).m_fault, GetParam().m_fault);
}

INSTANTIATE_TEST_SUITE_P(
    Each, AtDataBadResponse,
    testing::Values(bad_response_row{"LongLengthZero", "30 00 00 00 00 00 00 00 00", EMPTY_BYTES},
                    bad_response_row{"LongLengthMissing", "18 00 00 00 00 01 02 03 04", EMPTY_BYTES},
                    bad_response_row{"ShortLengthZero", "98 00 00 00 00 00 00 AA", EMPTY_BYTES},
                    bad_response_row{"LengthPastTheRecord", "30 00 00 00 00 FF 0F 00 00 AA", OUTSIDE},
                    bad_response_row{"LengthIsLittleEndian", "30 00 00 00 00 00 00 00 01 AA", OUTSIDE},
                    bad_response_row{"HugestLength", "30 00 00 00 00 FF FF FF FF AA", OUTSIDE}),
    [](const auto& row) { return row.param.m_name; });

// 4096 - 6 (head) - 9 (result) - 5 (the atom's head).
constexpr std::size_t LARGEST_VALUE = 4076;

byte_string table_answer(std::size_t length) {
  byte_string at_data = bytes_from_hex("30 00 00 00 00 00 00 00 00");
  amt_write_u32(at_data.data() + 5, static_cast<std::uint32_t>(length));
  return at_data;
}

TEST(AtDataResponseBounds, ValueThatFillsTheFrame_IsTaken) {
  amt_frame_st frame;
  EXPECT_EQ(amt_frame_from_at_data(table_answer(LARGEST_VALUE), frame).m_fault, NONE);
  EXPECT_EQ(amt_frame_total_length(&frame), AMT_FRAME_SIZE);
}

TEST(AtDataResponseBounds, ValueOneByteLonger_IsOutside) {
  amt_frame_st frame;
  EXPECT_EQ(amt_frame_from_at_data(table_answer(LARGEST_VALUE + 1), frame).m_fault, OUTSIDE);
}

TEST(AtDataReaders, IntegerAtTheRecordsEnd_IsTakenOneFurtherIsNot) {
  const byte_string record(AMT_FRAME_SIZE, 0x11);
  amt_frame_st frame;
  amt_frame_init(&frame, 2);
  amt_at_cursor_st cursor{record, AMT_FRAME_SIZE - 4};
  EXPECT_EQ(rsp_at_data_2_amt_data_atom_int(cursor, frame, 9).m_fault, NONE);
  EXPECT_EQ(cursor.m_position, AMT_FRAME_SIZE);
  cursor.m_position = AMT_FRAME_SIZE - 3;
  EXPECT_EQ(rsp_at_data_2_amt_data_atom_int(cursor, frame, 9).m_fault, OUTSIDE);
  EXPECT_EQ(cursor.m_position, AMT_FRAME_SIZE - 3);
  EXPECT_EQ(text_of(frame), "0F 00 BB 02 09 00 EE 09 01 04 00 11 11 11 11");
}

TEST(AtDataReaders, FlagAndBytesAtTheRecordsEnd_AreTakenOneFurtherAreNot) {
  const byte_string record(AMT_FRAME_SIZE, 0x11);
  amt_frame_st frame;
  amt_frame_init(&frame, 2);
  amt_at_cursor_st cursor{record, AMT_FRAME_SIZE - 3};
  EXPECT_EQ(rsp_at_data_2_amt_data_atom_byte(cursor, frame, 2, 4).m_fault, NONE);
  EXPECT_EQ(rsp_at_data_2_amt_data_atom_bool(cursor, frame, 5).m_fault, NONE);
  EXPECT_EQ(rsp_at_data_2_amt_data_atom_bool(cursor, frame, 5).m_fault, OUTSIDE);
  EXPECT_EQ(rsp_at_data_2_amt_data_atom_byte(cursor, frame, 1, 4).m_fault, OUTSIDE);
  EXPECT_EQ(rsp_at_data_2_amt_data_atom_byte(cursor, frame, 0, 4).m_fault, EMPTY_BYTES);
  EXPECT_EQ(text_of(frame), "13 00 BB 02 0D 00 EE 04 03 02 00 11 11 EE 05 04 01 00 11");
}

TEST(AtDataReaders, FullFrame_IsOutsideAndNothingMoves) {
  amt_frame_st frame;
  amt_frame_init(&frame, 2);
  const byte_string filler(AMT_FRAME_SIZE - 11 - 5, 0);
  ASSERT_TRUE(amt_frame_add_bytes(&frame, 1, filler.data(), filler.size()));
  const byte_string data(16, 0x11);
  amt_at_cursor_st cursor{data, 0};
  EXPECT_EQ(rsp_at_data_2_amt_data_atom_int(cursor, frame, 9).m_fault, OUTSIDE);
  EXPECT_EQ(rsp_at_data_2_amt_data_atom_bool(cursor, frame, 9).m_fault, OUTSIDE);
  EXPECT_EQ(rsp_at_data_2_amt_data_atom_byte(cursor, frame, 1, 9).m_fault, OUTSIDE);
  EXPECT_EQ(cursor.m_position, 0u);
}

}  // namespace
