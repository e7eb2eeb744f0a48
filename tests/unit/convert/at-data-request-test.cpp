// Request frames on their way to the modem.
#include <gtest/gtest.h>

#include "amt/amt-convert/at-data.h"
#include "tests/unit/convert/frames.h"

namespace {

using enum amt_at_fault_en;

struct conversion_st {
  amt_at_result_st m_result;
  std::string m_at_data;
};

conversion_st convert(const amt_frame_st& frame, std::size_t room = AMT_FRAME_SIZE) {
  byte_string out(room, 0xCC);
  std::size_t length = 99;
  conversion_st conversion{amt_at_data_from_frame(frame, out, &length), {}};
  for (std::size_t i = length; i < out.size(); ++i) EXPECT_EQ(out[i], 0) << "at " << i;
  conversion.m_at_data = to_hex(std::span(out).first(length));
  return conversion;
}

struct request_row {
  const char* m_name;
  const char* m_frame;
  const char* m_at_data;
};

class AtDataRequest : public testing::TestWithParam<request_row> {};

TEST_P(AtDataRequest, Convert_KeepsIdAndValues) {
  const conversion_st conversion = convert(*frame_of(GetParam().m_frame));
  EXPECT_EQ(conversion.m_result.m_fault, NONE);
  EXPECT_EQ(conversion.m_at_data, GetParam().m_at_data);
}

INSTANTIATE_TEST_SUITE_P(
    Each, AtDataRequest,
    testing::Values(
        request_row{"NoAtoms", "06 00 BB 0D 00 00", "0D"},
        request_row{"IntegerIsNotSwapped", "0F 00 BB 0D 09 00 EE 02 01 04 00 44 33 22 11", "0D 44 33 22 11"},
        request_row{"String", "0E 00 BB 0D 08 00 EE 02 02 03 00 61 62 63", "0D 61 62 63"},
        request_row{"EmptyString", "0B 00 BB 0D 05 00 EE 02 02 00 00", "0D"},
        request_row{"Bytes", "0D 00 BB 0D 07 00 EE 02 03 02 00 00 FF", "0D 00 FF"},
        request_row{"Flag", "0C 00 BB 0D 06 00 EE 02 04 01 00 07", "0D 07"},
        request_row{"SeveralInTheirOrder", "15 00 BB 01 0F 00 EE 09 04 01 00 07 EE 02 01 04 00 01 02 03 04",
                    "01 07 01 02 03 04"},
        request_row{"DspControlWithLengths", "0E 00 BB 97 08 00 EE 02 02 03 00 61 62 63", "97 03 00 61 62 63"},
        request_row{"DspControlOfAFlagAndNothing", "11 00 BB 97 0B 00 EE 02 04 01 00 07 EE 03 03 00 00",
                    "97 01 00 07 00 00"},
        request_row{"ValueLooksLikeAnAtom", "0D 00 BB 0D 07 00 EE 02 03 02 00 EE EE", "0D EE EE"},
        request_row{"TotalLengthIsNotLookedAt", "00 00 BB 0D 06 00 EE 02 04 01 00 07", "0D 07"}),
    [](const auto& row) { return row.param.m_name; });

struct bad_request_row {
  const char* m_name;
  const char* m_frame;
  amt_at_fault_en m_fault;
  std::uint32_t m_found;
  std::uint32_t m_wanted;
  const char* m_at_data;  // what was converted before the fault
};

class AtDataBadRequest : public testing::TestWithParam<bad_request_row> {};

TEST_P(AtDataBadRequest, Convert_ReportsTheFault) {
  const conversion_st conversion = convert(*frame_of(GetParam().m_frame));
  EXPECT_EQ(conversion.m_result.m_fault, GetParam().m_fault);
  EXPECT_EQ(conversion.m_result.m_found, GetParam().m_found);
  EXPECT_EQ(conversion.m_result.m_wanted, GetParam().m_wanted);
  EXPECT_EQ(conversion.m_at_data, GetParam().m_at_data);
}

INSTANTIATE_TEST_SUITE_P(
    Each, AtDataBadRequest,
    testing::Values(
        bad_request_row{"CommandHead", "06 00 BA 0D 00 00", COMMAND_HEAD, 0xBA, 0xBB, ""},
        bad_request_row{"FirstAtomHead", "0C 00 BB 0D 06 00 ED 02 04 01 00 07", ATOM_HEAD, 0xED, 0xEE, "0D"},
        bad_request_row{"SecondAtomHead", "12 00 BB 0D 0C 00 EE 02 04 01 00 07 00 02 04 01 00 07", ATOM_HEAD, 0, 0xEE,
                        "0D 07"},
        bad_request_row{"TypeZero", "0C 00 BB 0D 06 00 EE 02 00 01 00 07", ATOM_TYPE, 0, 0, "0D"},
        bad_request_row{"TypeFive", "0C 00 BB 0D 06 00 EE 02 05 01 00 07", ATOM_TYPE, 5, 0, "0D"},
        bad_request_row{"DspControlTypeFiveBehindItsLength", "0C 00 BB 97 06 00 EE 02 05 01 00 07", ATOM_TYPE, 5, 0,
                        "97 01 00"},
        bad_request_row{"IntegerOfThreeBytes", "0E 00 BB 0D 08 00 EE 02 01 03 00 01 02 03", ATOM_LENGTH, 3, 4, "0D"},
        bad_request_row{"IntegerOfFiveBytes", "10 00 BB 0D 0A 00 EE 02 01 05 00 01 02 03 04 05", ATOM_LENGTH, 5, 4,
                        "0D"},
        bad_request_row{"FlagOfTwoBytes", "0D 00 BB 0D 07 00 EE 02 04 02 00 07 08", ATOM_LENGTH, 2, 1, "0D"},
        bad_request_row{"DataLengthOneTooLong", "0C 00 BB 0D 07 00 EE 02 04 01 00 07", ATOM_HEAD, 0, 0xEE, "0D 07"},
        bad_request_row{"DataLengthOneTooShort", "0C 00 BB 0D 05 00 EE 02 04 01 00 07", ATOM_HEAD, 0, 0xEE, "0D 07"},
        bad_request_row{"LengthOutsideTheBuffer", "0C 00 BB 0D 06 00 EE 02 03 FF FF 07", OUTSIDE, 0, 0, "0D"}),
    [](const auto& row) { return row.param.m_name; });

// What the data length does not cover but looks like an atom is read on: only the sum of the sizes ends a frame.
TEST(AtDataRequestBounds, AtomBehindTheDataLength_IsReadUntilTheSumFits) {
  const auto frame = *frame_of("00 00 BB 0D 0C 00 EE 02 04 01 00 07 EE 03 04 01 00 08");
  const conversion_st conversion = convert(frame);
  EXPECT_EQ(conversion.m_result.m_fault, NONE);
  EXPECT_EQ(conversion.m_at_data, "0D 07 08");
}

TEST(AtDataRequestBounds, AtomsUpToTheLastByte_AreConverted) {
  amt_frame_st frame;
  amt_frame_init(&frame, 13);
  const byte_string value(AMT_FRAME_SIZE - 11, 0xAB);
  ASSERT_TRUE(amt_frame_add_bytes(&frame, 4, value.data(), value.size()));
  const conversion_st conversion = convert(frame);
  EXPECT_EQ(conversion.m_result.m_fault, NONE);
  EXPECT_EQ(conversion.m_at_data.size(), 3 * (value.size() + 1) - 1);
}

TEST(AtDataRequestBounds, AtomHeadInTheLastFourBytes_IsOutside) {
  amt_frame_st frame;
  amt_frame_init(&frame, 13);
  const byte_string value(AMT_FRAME_SIZE - 11 - 4, 0xAB);
  ASSERT_TRUE(amt_frame_add_bytes(&frame, 4, value.data(), value.size()));
  frame[AMT_FRAME_SIZE - 4] = 0xEE;
  amt_write_u16(frame.data() + 4, 0x0FFF);
  EXPECT_EQ(convert(frame).m_result.m_fault, OUTSIDE);
}

TEST(AtDataRequestBounds, AtomBehindTheLastByte_IsOutside) {
  amt_frame_st frame;
  amt_frame_init(&frame, 13);
  const byte_string value(AMT_FRAME_SIZE - 11, 0xAB);
  ASSERT_TRUE(amt_frame_add_bytes(&frame, 4, value.data(), value.size()));
  amt_write_u16(frame.data() + 4, 0x0FFF);
  EXPECT_EQ(convert(frame).m_result.m_fault, OUTSIDE);
}

TEST(AtDataRequestBounds, RoomForTheBytes_IsEnough) {
  const auto frame = *frame_of("0E 00 BB 97 08 00 EE 02 02 03 00 61 62 63");
  EXPECT_EQ(convert(frame, 6).m_at_data, "97 03 00 61 62 63");
}

TEST(AtDataRequestBounds, OneByteTooLittleRoom_IsRefusedNotCut) {
  const auto frame = *frame_of("0E 00 BB 97 08 00 EE 02 02 03 00 61 62 63");
  const conversion_st value_outside = convert(frame, 5);
  EXPECT_EQ(value_outside.m_result.m_fault, OUTSIDE);
  EXPECT_EQ(value_outside.m_at_data, "97 03 00");
  const conversion_st length_outside = convert(frame, 2);
  EXPECT_EQ(length_outside.m_result.m_fault, OUTSIDE);
  EXPECT_EQ(length_outside.m_at_data, "97");
  EXPECT_EQ(convert(frame, 0).m_result.m_fault, OUTSIDE);
}

}  // namespace
