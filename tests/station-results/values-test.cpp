// Times, addresses, cells and statistics: the small parts of store and reports.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "station/report/histogram.h"
#include "station/report/text.h"
#include "station/store/address.h"
#include "station/store/times.h"

namespace {

using testing::HasSubstr;

TEST(StoreTime, TimeOfEveryForm_IsRead) {
  EXPECT_EQ(store_parse_time("1970-01-01"), 0);
  EXPECT_EQ(store_parse_time("2026-11-22"), 1795305600000);
  EXPECT_EQ(store_parse_time("2026-11-22T08:42"), 1795336920000);
  EXPECT_EQ(store_parse_time("2026-11-22 08:42:01Z"), 1795336921000);
  EXPECT_EQ(store_parse_time("2026-11-22T08:42:01.5Z"), 1795336921500);
  EXPECT_EQ(store_parse_time("2026-11-22T08:42:01.1239Z"), 1795336921123);
}

TEST(StoreTime, WhatIsNoTime_IsRefused) {
  for (const char* text : {"", "2026", "2026-11", "2026-02-30", "2026-11-22T", "2026-11-22T24:00", "2026-11-22T08",
                           "2026-11-22T08:42:01.", "2026-11-22Z", "2026-11-22T08:42x", "22.11.2026", "-026-11-22"}) {
    EXPECT_EQ(store_parse_time(text), std::nullopt) << text;
  }
}

TEST(StoreTime, Text_IsReadBackTheSame) {
  EXPECT_EQ(store_time_text(1795336921123), "2026-11-22T08:42:01.123Z");
  EXPECT_EQ(store_time_text(-1), "1969-12-31T23:59:59.999Z");
}

TEST(StoreAddress, Server_GetsItsPatience) {
  store_address_st address;
  ASSERT_EQ(store_parse_address("postgresql://me:secret@db/line?connect_timeout=1", &address), "");
  EXPECT_TRUE(address.m_is_server);
  EXPECT_EQ(address.m_shown, "postgresql://me@db/line");
  EXPECT_THAT(address.m_connection, HasSubstr("?connect_timeout=1&keepalives_idle=10&"));
  EXPECT_THAT(address.m_connection, testing::Not(HasSubstr("connect_timeout=5")));
}

TEST(StoreAddress, PasswordInAParameter_IsNotShown) {
  store_address_st address;
  ASSERT_EQ(store_parse_address("postgresql:///line?host=/run/db&password=secret", &address), "");
  EXPECT_EQ(address.m_shown, "postgresql:///line");
}

TEST(StoreAddress, File_IsNamedInEachForm) {
  for (const char* text : {"/a b/r.db", "sqlite:/a b/r.db", "sqlite:///a b/r.db"}) {
    store_address_st address;
    ASSERT_EQ(store_parse_address(text, &address), "") << text;
    EXPECT_FALSE(address.m_is_server);
    EXPECT_EQ(address.m_file, "/a b/r.db") << text;
  }
}

TEST(StoreAddress, WhatIsNone_IsRefused) {
  store_address_st address;
  for (const std::string text : {"", "sqlite:", "mysql://db/line", "a\"b"}) {
    EXPECT_NE(store_parse_address(text, &address), "") << text;
  }
}

TEST(CsvCell, Formula_IsMadeText) {
  EXPECT_EQ(report_csv_cell("=1+1"), "'=1+1");
  EXPECT_EQ(report_csv_cell("@x"), "'@x");
  EXPECT_EQ(report_csv_cell("+1+1"), "'+1+1");
  EXPECT_EQ(report_csv_cell("-1+1"), "'-1+1");
  EXPECT_EQ(report_csv_cell("-inf"), "'-inf");
  EXPECT_EQ(report_csv_cell("\t=1"), "'\t=1");
  EXPECT_EQ(report_csv_cell("\r=1"), "\"'\r=1\"");
}

TEST(CsvCell, Number_StaysANumber) {
  EXPECT_EQ(report_csv_cell("-12.5"), "-12.5");
  EXPECT_EQ(report_csv_cell("-1e-07"), "-1e-07");
}

TEST(CsvCell, Separator_IsQuoted) {
  EXPECT_EQ(report_csv_cell("a,b"), "\"a,b\"");
  EXPECT_EQ(report_csv_cell("say \"x\""), "\"say \"\"x\"\"\"");
  EXPECT_EQ(report_csv_cell("two\nlines"), "\"two\nlines\"");
  EXPECT_EQ(report_csv_cell(""), "");
}

TEST(CleanText, WhatXmlCannotHold_IsReplaced) {
  EXPECT_EQ(report_clean("a\x07z\n\t"), "a\xEF\xBF\xBDz\n\t");
  EXPECT_EQ(report_clean("\xC3\xA4\xF0\x9F\x98\x80"), "\xC3\xA4\xF0\x9F\x98\x80");
  EXPECT_EQ(report_clean("\xEF\xBF\xBE"), "\xEF\xBF\xBD");          // U+FFFE
  EXPECT_EQ(report_clean("\xC2\x85"), "\xEF\xBF\xBD");              // a control character
  EXPECT_EQ(report_clean("\xED\xA0\x80"), "\xEF\xBF\xBD");          // half a pair
  EXPECT_EQ(report_clean("\xC0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD");  // an overlong form
  EXPECT_EQ(report_clean("\xE2\x82"), "\xEF\xBF\xBD\xEF\xBF\xBD");  // a character that is cut
}

TEST(Statistics, KnownValues_GiveKnownFigures) {
  const report_statistics_st all = report_statistics({{2, 4, 4, 4, 5, 5, 7, 9}, 0, 20});
  EXPECT_DOUBLE_EQ(all.m_mean, 5);
  EXPECT_NEAR(all.m_deviation, 2.138089935, 1e-9);
  EXPECT_EQ(all.m_least, 2);
  EXPECT_EQ(all.m_most, 9);
  ASSERT_TRUE(all.m_cpk);
  EXPECT_NEAR(*all.m_cpk, 5 / (3 * 2.138089935), 1e-9);
}

TEST(Statistics, NearerLimit_DecidesTheCpk) {
  EXPECT_NEAR(*report_statistics({{1, 3}, std::nullopt, 2}).m_cpk, 0, 1e-12);
  EXPECT_LT(*report_statistics({{1, 3}, 0, 1.5}).m_cpk, 0);
}

TEST(Statistics, WithoutSpreadOrLimit_ThereIsNoCpk) {
  EXPECT_FALSE(report_statistics({{5, 5, 5}, 0, 9}).m_cpk);
  EXPECT_FALSE(report_statistics({{5}, 0, 9}).m_cpk);
  EXPECT_FALSE(report_statistics({{1, 2}, {}, {}}).m_cpk);
}

TEST(Histogram, EveryValue_IsInABar) {
  const std::string svg = report_histogram({{1, 1, 1, 9}, 0, 10});
  EXPECT_THAT(svg, HasSubstr("<title>3</title>"));
  EXPECT_THAT(svg, HasSubstr("<title>1</title>"));
  EXPECT_THAT(svg, HasSubstr("class=\"limit\""));
}

TEST(Histogram, ExtremeValues_StayWithinThePicture) {
  for (const report_series_st& series :
       {report_series_st{{1e308, -1e308}, {}, {}}, report_series_st{{0}, {}, {}}, report_series_st{{1e300}, 1, {}},
        report_series_st{{5}, 9, 1}, report_series_st{{1e-300, 2e-300}, {}, {}}}) {
    const std::string svg = report_histogram(series);
    EXPECT_THAT(svg, testing::Not(HasSubstr("nan")));
    EXPECT_THAT(svg, testing::Not(HasSubstr("inf")));
    EXPECT_THAT(svg, HasSubstr("class=\"bar\""));
  }
}

TEST(Duration, EachSize_HasItsUnit) {
  EXPECT_EQ(report_duration(45.4), "45 ms");
  EXPECT_EQ(report_duration(12340), "12.3 s");
  EXPECT_EQ(report_duration(59990), "1 min 0.0 s");
  EXPECT_EQ(report_duration(125000), "2 min 5.0 s");
}

}  // namespace
