// The reader of a capture: pieces of any size, bad lines, and what is too large.
#include <sys/stat.h>

#include "capture/line.h"
#include "tests/capture/lines.h"
#include "tests/unit/temp-folder.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// What a reader gives for a text that comes in pieces of some size.
struct read_outcome_st {
  std::vector<std::string> m_entries;  // "line: bytes"
  std::vector<std::string> m_bad;      // "line: why"
};

read_outcome_st read(const std::string& text, std::size_t piece) {
  read_outcome_st outcome;
  capture_reader_st reader(
      [&](const capture_entry_st& entry, std::size_t line) {
        outcome.m_entries.push_back(std::to_string(line) + ": " + to_hex(entry.m_bytes));
      },
      [&](std::size_t line, const std::string& why) { outcome.m_bad.push_back(std::to_string(line) + ": " + why); });
  for (std::size_t at = 0; at < text.size(); at += piece) reader.feed(std::string_view(text).substr(at, piece));
  reader.finish();
  EXPECT_EQ(reader.bad_lines(), outcome.m_bad.size());
  return outcome;
}

}  // namespace

TEST(CaptureReader, PiecesOfAnySize_GiveTheSameEntries) {
  const std::string text = capture_text(1, "sent", "pc", "41") + "\n" + capture_text(2, "received", "pc", "4243");
  for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, text.size()}) {
    const auto got = read(text, piece);
    EXPECT_THAT(got.m_entries, ElementsAre("1: 41", "3: 42 43"));
    EXPECT_TRUE(got.m_bad.empty());
  }
}

TEST(CaptureReader, BadLines_AreReportedByNumberAndTheNextIsRead) {
  const auto got =
      read("nonsense\n" + capture_text(1, "sent", "pc", "41") + "{}\n" + capture_text(2, "sent", "pc", "42"), 3);
  EXPECT_THAT(got.m_entries, ElementsAre("2: 41", "4: 42"));
  EXPECT_THAT(got.m_bad, ElementsAre("1: this is no JSON object", "3: \"version\" is missing"));
}

TEST(CaptureReader, LineWithoutItsEnd_IsReadOrReported) {
  std::string whole = capture_text(1, "sent", "pc", "41");
  whole.pop_back();
  EXPECT_THAT(read(whole, 5).m_entries, ElementsAre("1: 41"));
  whole.resize(whole.size() - 4);
  EXPECT_THAT(read(whole, 5).m_bad, ElementsAre("1: this is no JSON object"));
}

TEST(CaptureReader, LineThatIsTooLong_IsReportedOnceAndTheNextIsRead) {
  const auto got = read(std::string(3 * CAPTURE_LONGEST_LINE, '[') + "\n" + capture_text(1, "sent", "pc", "41"), 4096);
  EXPECT_THAT(got.m_entries, ElementsAre("2: 41"));
  EXPECT_THAT(got.m_bad, ElementsAre(HasSubstr("1: the line has more than")));
}

TEST(CaptureReader, LongestEntry_IsReadBack) {
  capture_entry_st entry;
  entry.m_phone = std::string(CAPTURE_LONGEST_PHONE, '\x01');  // escaped, six characters each
  entry.m_bytes.assign(CAPTURE_MOST_BYTES, 0xAA);
  const auto got = entries_of(capture_line(entry) + '\n');
  ASSERT_EQ(got.size(), 1u);
  EXPECT_EQ(got[0].m_entry.m_bytes.size(), CAPTURE_MOST_BYTES);
  EXPECT_EQ(got[0].m_entry.m_phone, entry.m_phone);
}

TEST(CaptureFile, FileThatIsNotThere_IsReported) {
  const temp_folder folder;
  std::vector<capture_numbered_st> entries;
  const auto ignore = [](std::size_t, const std::string&) {};
  EXPECT_EQ(capture_load(folder.path("none"), &entries, ignore), folder.path("none") + ": No such file or directory");
  EXPECT_THAT(capture_load("/dev/zero", &entries, ignore), HasSubstr("larger than 64 MiB"));
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(capture_load(folder.path("pipe"), &entries, ignore), folder.path("pipe") + ": nothing came for 5 s");
}
