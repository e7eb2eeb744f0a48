// The table of faults in docs/virtual-phone.md: each row is made, seen and ended as it says.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "handset/wire/files.h"
#include "tests/documents/reader.h"

namespace {

struct row {
  std::string fault;
  std::string make;
  std::string heal;
  std::string log;
  bool is_app;
  std::string word;
  int exit;
};

std::vector<row> rows_of(const std::string& document) {
  static const std::regex line(
      R"(^\| ([^|]+) \| `([^`]+)` \| `([^`]+)` \| `([^`]+)` \| (\(app\) )?`([^`]+)`: exit (\d+) \|$)");
  std::vector<row> rows;
  std::istringstream lines(document);
  std::smatch match;
  for (std::string text; std::getline(lines, text);) {
    if (!std::regex_match(text, match, line)) continue;
    rows.push_back({match[1], match[2], match[3], match[4], match[5].matched, match[6], std::stoi(match[7])});
  }
  return rows;
}

std::string station(const row& fault) {
  return std::string("amt-station ") + (fault.is_app ? "--app /dev/pts/7 " : "--port /dev/ttyUSB0 ") + fault.word;
}

TEST(FaultsTable, EachRow_IsAsItSays) {
  const auto rows = rows_of(handset::read_whole_file(SOURCE_FOLDER "/docs/virtual-phone.md").value());
  ASSERT_GE(rows.size(), 12u);
  reader reader;
  reader.start_phone("handset run");
  EXPECT_EQ(reader.type(reader.prepare("amt-station --port /dev/ttyUSB0 version whole")).exit, 0);  // it serves
  for (const auto& fault : rows) {
    SCOPED_TRACE(fault.fault);
    const auto before = reader.type(reader.prepare(station(fault)));
    EXPECT_EQ(before.exit, 0) << "before the fault: " << before.output;
    const auto mark = reader.type("handset ctl log").output.size();
    EXPECT_EQ(reader.type("handset ctl " + fault.make).exit, 0);
    const auto seen = reader.type(reader.prepare(station(fault)));
    EXPECT_EQ(seen.exit, fault.exit) << seen.output;
    EXPECT_NE(reader.type("handset ctl log").output.find(fault.log, mark), std::string::npos);
    EXPECT_EQ(reader.type("handset ctl " + fault.heal).exit, 0);
    if (fault.word.starts_with("--timeout")) reader.type("sleep 3");  // what a slow modem still had to say
    const auto after = reader.type(reader.prepare(station(fault)));
    EXPECT_EQ(after.exit, 0) << "after its end: " << after.output;
  }
}

}  // namespace
