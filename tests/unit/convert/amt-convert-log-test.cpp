// The conversions as the service calls them: result codes and log lines.
#include <gtest/gtest.h>

#include "amt/amt-convert/amt-convert.h"
#include "pub/result.h"
#include "tests/unit/convert/frames.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"

namespace {

constexpr char REQUEST[] = "amt_convert_req_amt_data_2_at_data";
constexpr char RESPONSE[] = "amt_convert_rsp_at_data_2_amt_data";
constexpr char ENTRY[] = "amt_convert_rsp_at_data_2_amt_data()";
constexpr char INT_ENTRY[] = "rsp_at_data_2_amt_data_atom_int()";
constexpr char BYTE_ENTRY[] = "rsp_at_data_2_amt_data_atom_byte()";

class ConversionLog : public testing::Test {
 protected:
  std::int32_t convert_request(std::string_view hex) {
    const amt_frame_st frame = *frame_of(hex);
    return amt_convert_req_amt_data_2_at_data(&frame, m_out, sizeof m_out, &m_length);
  }
  std::int32_t convert_response(std::string_view hex) {
    const byte_string at_data = bytes_from_hex(hex);
    return amt_convert_rsp_at_data_2_amt_data(at_data.data(), static_cast<std::uint32_t>(at_data.size()), &m_frame,
                                              AMT_FRAME_SIZE);
  }
  // The last two lines: the error trace of `function` with `code`, and a text.
  void expect_failure(const char* function, std::int32_t code, const std::string& text) {
    const auto lines = m_log.texts();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_THAT(lines[lines.size() - 2], failure_line("amt/amt-convert", function, code));
    EXPECT_EQ(lines.back(), text);
  }

  log_capture m_log;
  std::uint8_t m_out[64] = {};
  std::uint32_t m_length = 0;
  amt_frame_st m_frame{};
};

TEST_F(ConversionLog, GoodRequest_LogsItsEntryOnly) {
  EXPECT_EQ(convert_request("0F 00 BB 0D 09 00 EE 02 01 04 00 44 33 22 11"), ERR_NONE);
  EXPECT_EQ(to_hex(std::span(m_out).first(m_length)), "0D 44 33 22 11");
  EXPECT_EQ(m_log.texts(), std::vector<std::string>{"amt_convert_req_amt_data_2_at_data()"});
}

TEST_F(ConversionLog, CommandHead_LogsBothBytes) {
  EXPECT_EQ(convert_request("06 00 AB 0D 00 00"), ERR_FAIL);
  expect_failure(REQUEST, ERR_FAIL, "command head mismatch: AB != BB");
}

TEST_F(ConversionLog, AtomHead_LogsBothBytes) {
  EXPECT_EQ(convert_request("0C 00 BB 0D 06 00 0D 02 04 01 00 07"), ERR_FAIL);
  expect_failure(REQUEST, ERR_FAIL, "atom head mismatch: 0D != EE");
}

TEST_F(ConversionLog, AtomType_IsLogged) {
  EXPECT_EQ(convert_request("0C 00 BB 0D 06 00 EE 02 05 01 00 07"), ERR_FAIL);
  expect_failure(REQUEST, ERR_FAIL, "unknown atom value type: 05");
}

TEST_F(ConversionLog, AtomLength_LogsBothLengths) {
  EXPECT_EQ(convert_request("0D 00 BB 0D 07 00 EE 02 04 02 00 07 08"), ERR_FAIL);
  expect_failure(REQUEST, ERR_FAIL, "atom length mismatch: 02 != 01");
}

TEST_F(ConversionLog, RequestOutsideItsBuffer_Fails) {
  EXPECT_EQ(convert_request("0C 00 BB 0D 06 00 EE 02 03 FF FF 07"), ERR_FAIL);
  expect_failure(REQUEST, ERR_FAIL, "a field leaves its buffer");
}

TEST_F(ConversionLog, BadRequestArguments_AreFlagged) {
  const amt_frame_st frame{};
  EXPECT_EQ(amt_convert_req_amt_data_2_at_data(nullptr, m_out, 1, &m_length), ERR_ARGUMENT);
  expect_failure(REQUEST, ERR_ARGUMENT, "1, 0, 0, 0");
  EXPECT_EQ(amt_convert_req_amt_data_2_at_data(&frame, nullptr, 1, &m_length), ERR_ARGUMENT);
  expect_failure(REQUEST, ERR_ARGUMENT, "0, 1, 0, 0");
  EXPECT_EQ(amt_convert_req_amt_data_2_at_data(&frame, m_out, 0, &m_length), ERR_ARGUMENT);
  expect_failure(REQUEST, ERR_ARGUMENT, "0, 0, 1, 0");
  EXPECT_EQ(amt_convert_req_amt_data_2_at_data(&frame, m_out, 1, nullptr), ERR_ARGUMENT);
  expect_failure(REQUEST, ERR_ARGUMENT, "0, 0, 0, 1");
}

TEST_F(ConversionLog, GoodResponse_LogsItsEntryAndThatOfEachReader) {
  EXPECT_EQ(convert_response("0E 00 00 00 01"), ERR_NONE);
  EXPECT_EQ(text_of(m_frame), "0F 00 BB 0E 09 00 EE 01 01 04 00 01 00 00 00");
  EXPECT_EQ(m_log.texts(), (std::vector<std::string>{ENTRY, INT_ENTRY}));
  EXPECT_EQ(m_log.lines().back().m_tag, "vx-kro-amt");
}

TEST_F(ConversionLog, ResponseWithFields_LogsTheReadersInOrder) {
  EXPECT_EQ(convert_response("18 00 00 00 00 00 00 00 05 01 00 00 00 AA"), ERR_NONE);
  EXPECT_EQ(m_log.texts(), (std::vector<std::string>{ENTRY, INT_ENTRY, INT_ENTRY, BYTE_ENTRY}));
  m_log.clear();
  EXPECT_EQ(convert_response("64 00 00 00 00 01"), ERR_NONE);
  EXPECT_EQ(m_log.texts(), (std::vector<std::string>{ENTRY, INT_ENTRY, "rsp_at_data_2_amt_data_atom_bool()"}));
}

TEST_F(ConversionLog, EmptyByteString_IsABadArgumentOfItsReader) {
  EXPECT_EQ(convert_response("98 00 00 00 00 00 00"), ERR_ARGUMENT);
  expect_failure("rsp_at_data_2_amt_data_atom_byte", ERR_ARGUMENT, "0, 0, 0, 1, 0");
  EXPECT_TRUE(m_log.has_in_a_row({ENTRY, INT_ENTRY, BYTE_ENTRY}));
}

TEST_F(ConversionLog, ResponseOutsideTheRecord_Fails) {
  EXPECT_EQ(convert_response("30 00 00 00 00 FF FF 00 00 01"), ERR_FAIL);
  expect_failure(RESPONSE, ERR_FAIL, "a field leaves its buffer");
  EXPECT_TRUE(m_log.has_in_a_row({ENTRY, INT_ENTRY, BYTE_ENTRY}));
}

TEST(SilentConversionLog, Response_IsConvertedAllTheSame) {
  const log_capture log(ANDROID_LOG_INFO);
  const byte_string at_data = bytes_from_hex("0E 00 00 00 01");
  amt_frame_st frame{};
  EXPECT_EQ(amt_convert_rsp_at_data_2_amt_data(at_data.data(), 5, &frame, AMT_FRAME_SIZE), ERR_NONE);
  EXPECT_EQ(text_of(frame), "0F 00 BB 0E 09 00 EE 01 01 04 00 01 00 00 00");
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ConversionLog, BadResponseArguments_AreFlagged) {
  const std::uint8_t at_data[] = {0x0E};
  EXPECT_EQ(amt_convert_rsp_at_data_2_amt_data(nullptr, 1, &m_frame, 4096), ERR_ARGUMENT);
  expect_failure(RESPONSE, ERR_ARGUMENT, "1, 0, 0, 0");
  EXPECT_EQ(amt_convert_rsp_at_data_2_amt_data(at_data, 0, &m_frame, 4096), ERR_ARGUMENT);
  expect_failure(RESPONSE, ERR_ARGUMENT, "0, 1, 0, 0");
  EXPECT_EQ(amt_convert_rsp_at_data_2_amt_data(at_data, 1, nullptr, 4096), ERR_ARGUMENT);
  expect_failure(RESPONSE, ERR_ARGUMENT, "0, 0, 1, 0");
  EXPECT_EQ(amt_convert_rsp_at_data_2_amt_data(at_data, 1, &m_frame, 4095), ERR_ARGUMENT);
  expect_failure(RESPONSE, ERR_ARGUMENT, "0, 0, 0, 1");
}

}  // namespace
