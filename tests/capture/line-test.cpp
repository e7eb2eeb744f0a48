// The form of a line of a capture file. The lines are written out by hand: other programs read them.
#include "capture/line.h"

#include "tests/capture/lines.h"

namespace {

constexpr char SENT_AT[] =
    R"({"version": 1, "time": "2026-03-01T08:00:00.000250Z", "monotonic_ns": 5000250000, "direction": "sent", "link": "pc", "hex": "41540D"})";
constexpr char RECEIVED_AT[] =
    R"({"version": 1, "time": "2024-02-29T23:59:59.999999Z", "monotonic_ns": 1, "direction": "received", "link": "modem", "phone": "A", "hex": "00FF"})";

capture_entry_st sent_at() {
  return {1772352000000250, 5000250000, capture_direction_en::SENT, capture_link_en::PC, "", {0x41, 0x54, 0x0D}};
}

// What is wrong with the line when a text of it is replaced by another one.
std::string wrong_with(const std::string& text, const std::string& other) {
  std::string line = RECEIVED_AT;
  const std::size_t at = line.find(text);
  EXPECT_NE(at, std::string::npos) << text;
  capture_entry_st ignored;
  return capture_read_line(line.replace(at, text.size(), other), &ignored);
}

}  // namespace

TEST(CaptureLine, Entry_IsWrittenAsDocumented) {
  EXPECT_EQ(capture_line(sent_at()), SENT_AT);
  const capture_entry_st received = {1709251199999999,       1,   capture_direction_en::RECEIVED,
                                     capture_link_en::MODEM, "A", {0x00, 0xFF}};
  EXPECT_EQ(capture_line(received), RECEIVED_AT);
}

TEST(CaptureLine, DocumentedLine_IsRead) {
  capture_entry_st entry;
  ASSERT_EQ(capture_read_line(SENT_AT, &entry), "");
  EXPECT_EQ(entry.m_time_us, 1772352000000250);
  EXPECT_EQ(entry.m_monotonic_ns, 5000250000);
  EXPECT_EQ(entry.m_direction, capture_direction_en::SENT);
  EXPECT_EQ(entry.m_link, capture_link_en::PC);
  EXPECT_EQ(entry.m_phone, "");
  EXPECT_EQ(entry.m_bytes, bytes_from_text("AT\r"));
  ASSERT_EQ(capture_read_line(RECEIVED_AT, &entry), "");
  EXPECT_EQ(entry.m_link, capture_link_en::MODEM);
  EXPECT_EQ(entry.m_phone, "A");
}

TEST(CaptureLine, UnknownKeys_ArePassedOver) {
  EXPECT_EQ(wrong_with("\"phone\": \"A\"", "\"phone\": \"A\", \"voltage\": [3.8, {}]"), "");
}

TEST(CaptureLine, EachKeyThatIsMissingOrWrong_IsNamed) {
  using testing::HasSubstr;
  EXPECT_EQ(wrong_with("{", "["), "this is no JSON object");
  EXPECT_EQ(wrong_with("\"version\": 1", "\"v\": 1"), "\"version\" is missing");
  EXPECT_EQ(wrong_with("\"version\": 1", "\"version\": 2"), "this program knows version 1 of the form, not \"2\"");
  EXPECT_EQ(wrong_with("\"version\": 1", "\"version\": -1"), "this program knows version 1 of the form, not \"-1\"");
  EXPECT_THAT(wrong_with("\"time\"", "\"t\""), HasSubstr("\"time\" is missing"));
  EXPECT_THAT(wrong_with("\"monotonic_ns\": 1", "\"monotonic_ns\": -1"), HasSubstr("monotonic_ns"));
  EXPECT_THAT(wrong_with("\"monotonic_ns\": 1", "\"monotonic_ns\": 1000000000000000001"), HasSubstr("monotonic_ns"));
  EXPECT_THAT(wrong_with("\"received\"", "\"both\""), HasSubstr("\"direction\" is neither"));
  EXPECT_THAT(wrong_with("\"modem\"", "\"usb\""), HasSubstr("\"link\" is none of"));
  EXPECT_THAT(wrong_with("\"A\"", "1"), HasSubstr("\"phone\" is no name"));
  EXPECT_THAT(wrong_with("\"A\"", '"' + std::string(65, 'A') + '"'), HasSubstr("\"phone\" is no name"));
  EXPECT_THAT(wrong_with("\"hex\"", "\"bytes\""), HasSubstr("\"hex\" is missing"));
  EXPECT_THAT(wrong_with("00FF", "00F"), HasSubstr("odd number"));
  EXPECT_THAT(wrong_with("00FF", "00FG"), HasSubstr("no digit"));
}

TEST(CaptureLine, TimeThatIsNone_IsNamed) {
  for (const char* time : {"2024-02-30T00:00:00Z", "2024-13-01T00:00:00Z", "2024-02-01T24:00:00Z",
                           "2024-02-01T00:60:00Z", "2024-02-01T00:00:60Z", "2024-02-01T00:00:00",
                           "2024-02-01 00:00:00Z", "2024-02-01T00:00:00.Z", "", "Z", "2024-02-01T00:00:00+01:00"}) {
    EXPECT_EQ(wrong_with("2024-02-29T23:59:59.999999Z", time),
              std::string("\"time\" is no time in UTC: \"") + time + "\"");
  }
}

TEST(CaptureLine, TimeWithFewerOrMoreDigits_IsRead) {
  std::string line = SENT_AT;
  capture_entry_st entry;
  ASSERT_EQ(capture_read_line(line.replace(line.find("00.000250Z"), 10, "01.5Z"), &entry), "");
  EXPECT_EQ(entry.m_time_us, 1772352001500000);
  line = SENT_AT;
  ASSERT_EQ(capture_read_line(line.replace(line.find("00.000250Z"), 10, "01.000250999Z"), &entry), "");
  EXPECT_EQ(entry.m_time_us, 1772352001000250);
}
