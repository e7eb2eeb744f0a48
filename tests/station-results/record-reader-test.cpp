// What is read back of a record, and what is refused.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/station-results/results.h"

namespace {

using testing::HasSubstr;

std::string replaced(std::string text, const std::string& what, const std::string& by) {
  const std::size_t at = text.find(what);
  EXPECT_NE(at, std::string::npos) << what;
  return text.replace(at, what.size(), by);
}

// What the reader says of a record in which `what` is `by`.
std::string wrong_with(const std::string& what, const std::string& by) {
  result_st result;
  return store_read_record(replaced(record_of(1), what, by), &result);
}

TEST(RecordReader, WholeRecord_IsReadWithItsSteps) {
  const result_st read = result_of(record_of(7, "FAIL", "S9"));
  EXPECT_EQ(read.m_run_id, "00000000-0000-4000-a000-000000000007");
  EXPECT_EQ(read.m_station, "line");
  EXPECT_EQ(read.m_phone, "left");
  EXPECT_EQ(read.m_plan, "board");
  EXPECT_EQ(read.m_revision, "3");
  EXPECT_EQ(read.m_serial, "S9");
  EXPECT_EQ(read.m_verdict, verdict_en::FAIL);
  EXPECT_TRUE(read.m_is_complete);
  EXPECT_EQ(read.m_started_ms, 1795161607000);
  EXPECT_EQ(read.m_duration_ms, 1500.5);
  ASSERT_EQ(read.m_steps.size(), 1u);
  EXPECT_EQ(read.m_steps[0].m_name, "voltage");
  EXPECT_EQ(read.m_steps[0].m_value, "3.81");
  EXPECT_EQ(read.m_steps[0].m_number, 3.81);
  EXPECT_EQ(read.m_steps[0].m_low, 3.6);
  EXPECT_EQ(read.m_steps[0].m_high, 4.2);
  EXPECT_EQ(read.m_steps[0].m_attempts, 1);
}

TEST(RecordReader, LimitsOfText_AreReadAsPeopleReadThem) {
  EXPECT_EQ(result_of(replaced(record_of(1), "\"equals\":null", "\"equals\":\"V1\"")).m_steps[0].m_expected,
            "equals V1");
  EXPECT_EQ(result_of(replaced(record_of(1), "\"one_of\":null", "\"one_of\":[\"A\",\"B\"]")).m_steps[0].m_expected,
            "one of A, B");
}

TEST(RecordReader, ZeroByteInAText_IsReplaced) {
  EXPECT_EQ(result_of(record_of(1, "PASS", "a\\u0000b")).m_serial,
            "a\xEF\xBF\xBD"
            "b");
}

TEST(RecordReader, WrongRecord_IsRefusedWithItsPlace) {
  EXPECT_EQ(wrong_with("\"schema_version\":1", "\"schema_version\":2"),
            "schema_version: is not one that this program knows");
  EXPECT_EQ(wrong_with("\"schema_version\":1", "\"schema_version\":\"1\""), "schema_version: must be a whole number");
  EXPECT_EQ(wrong_with("4000", "4G00"), "run_id: is no UUID in small letters");
  EXPECT_EQ(wrong_with("\"name\":\"board\"", "\"name\":\"\""), "plan.name: is empty");
  EXPECT_EQ(wrong_with("\"verdict\":\"PASS\"", "\"verdict\":\"GOOD\""), "verdict: is no verdict");
  EXPECT_EQ(wrong_with("2026-11-20T08", "2026-13-20T08"), "started: is no time");
  EXPECT_EQ(wrong_with("\"low\":3.6", "\"low\":\"3.6\""), "steps[0].limits.low: must be a number");
  EXPECT_EQ(wrong_with("\"value\":3.81", "\"value\":[1]"), "steps[0].value: must be a number");
  EXPECT_EQ(wrong_with("\"unit\":\"V\"", "\"u\":\"V\""), "steps[0].unit: is missing");
  EXPECT_EQ(wrong_with("\"complete\":true", "\"complete\":1"), "complete: must be true or false");
  EXPECT_EQ(wrong_with("\"attempts\":[{}]", "\"attempts\":{}"), "steps[0].attempts: must be a list");
}

TEST(RecordReader, TextThatIsNoJson_IsRefused) {
  result_st result;
  EXPECT_THAT(store_read_record("", &result), HasSubstr("parse_error"));
  EXPECT_THAT(store_read_record("{\"serial\":\"\xFF\"}", &result), HasSubstr("ill-formed UTF-8"));
  EXPECT_EQ(store_read_record("[]", &result), "record: must be an object");
  EXPECT_THAT(wrong_with("3.81", "1e999"), HasSubstr("out_of_range"));
  const std::string half = record_of(1).substr(0, 200);
  EXPECT_THAT(store_read_record(half, &result), HasSubstr("parse_error"));
}

TEST(RecordReader, DeepNesting_IsRefused) {
  result_st result;
  EXPECT_NE(store_read_record(std::string(1000000, '['), &result), "");
  EXPECT_NE(store_read_record(std::string(1000000, '[') + std::string(1000000, ']'), &result), "");
}

}  // namespace
