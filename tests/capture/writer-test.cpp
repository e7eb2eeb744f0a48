// The writer of a capture: lines that are whole whatever happens to it.
#include "capture/writer.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "capture/line.h"
#include "tests/capture/lines.h"
#include "tests/unit/temp-folder.h"

namespace {

using testing::HasSubstr;

const byte_string AT = bytes_from_text("AT\r");

// Ends as soon as it has written this many lines into the file, without a chance to do anything more.
void write_and_be_killed(const std::string& path, int lines) {
  const pid_t child = ::fork();
  if (child == 0) {
    capture_writer_st writer;
    if (!writer.open(path).empty()) ::_exit(1);
    for (int n = 0; n < lines; ++n) writer.write(capture_direction_en::SENT, capture_link_en::PC, "", AT);
    ::kill(::getpid(), SIGKILL);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status));
}

}  // namespace

TEST(CaptureWriter, Piece_IsALineWithBothClocks) {
  const temp_folder folder;
  capture_writer_st writer;
  ASSERT_EQ(writer.open(folder.path("c")), "");
  const auto before = std::chrono::system_clock::now();
  writer.write(capture_direction_en::RECEIVED, capture_link_en::AT, "B", AT);
  const auto entries = entries_of(read_whole_file(folder.path("c")));
  ASSERT_EQ(entries.size(), 1u);
  const auto& entry = entries[0].m_entry;
  EXPECT_EQ(entry.m_direction, capture_direction_en::RECEIVED);
  EXPECT_EQ(entry.m_link, capture_link_en::AT);
  EXPECT_EQ(entry.m_phone, "B");
  EXPECT_EQ(entry.m_bytes, AT);
  const std::chrono::system_clock::time_point time{std::chrono::microseconds(entry.m_time_us)};
  EXPECT_GE(time + std::chrono::microseconds(1), before);
  EXPECT_LE(time, std::chrono::system_clock::now());
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  EXPECT_LE(entry.m_monotonic_ns, now.tv_sec * 1'000'000'000 + now.tv_nsec);
  EXPECT_GT(entry.m_monotonic_ns, (now.tv_sec - 60) * 1'000'000'000);
}

TEST(CaptureWriter, KilledWriter_LeavesEveryLineAndTheNextGoesOn) {
  const temp_folder folder;
  write_and_be_killed(folder.path("c"), 3);
  write_and_be_killed(folder.path("c"), 2);
  EXPECT_EQ(entries_of(read_whole_file(folder.path("c"))).size(), 5u);
}

TEST(CaptureWriter, LargePiece_BecomesLinesThatCanBeRead) {
  const temp_folder folder;
  capture_writer_st writer;
  ASSERT_EQ(writer.open(folder.path("c")), "");
  writer.write(capture_direction_en::SENT, capture_link_en::PC, "", byte_string(CAPTURE_MOST_BYTES + 1, 'x'));
  const auto entries = entries_of(read_whole_file(folder.path("c")));
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].m_entry.m_bytes.size(), CAPTURE_MOST_BYTES);
  EXPECT_EQ(entries[1].m_entry.m_bytes.size(), 1u);
}

TEST(CaptureWriter, SeveralThreads_MixNoLines) {
  const temp_folder folder;
  capture_writer_st writer;
  capture_writer_st other;
  ASSERT_EQ(writer.open(folder.path("c")) + other.open(folder.path("c")), "");
  {
    std::vector<std::jthread> threads;
    for (capture_writer_st* one : {&writer, &other}) {
      threads.emplace_back([one] {
        for (int n = 0; n < 200; ++n) one->write(capture_direction_en::SENT, capture_link_en::PC, "A", AT);
      });
    }
  }
  EXPECT_EQ(entries_of(read_whole_file(folder.path("c"))).size(), 400u);
}

TEST(CaptureWriter, FileThatEndsWithinALine_GetsItsEndFirst) {
  const temp_folder folder;
  folder.write("c", capture_text(1, "sent", "pc", "41") + "{\"version\": 1, \"ti");
  capture_writer_st writer;
  ASSERT_EQ(writer.open(folder.path("c")), "");
  writer.write(capture_direction_en::SENT, capture_link_en::PC, "", AT);
  std::vector<std::size_t> good;
  std::vector<std::size_t> bad;
  capture_reader_st reader([&](const auto&, std::size_t line) { good.push_back(line); },
                           [&](std::size_t line, const auto&) { bad.push_back(line); });
  reader.feed(read_whole_file(folder.path("c")));
  reader.finish();
  EXPECT_THAT(good, testing::ElementsAre(1, 3));
  EXPECT_THAT(bad, testing::ElementsAre(2));
}

TEST(CaptureWriter, FullDisk_IsToldAndWhatComesLaterIsWhole) {
  const temp_folder folder;
  capture_writer_st writer;
  ASSERT_EQ(writer.open(folder.path("c")), "");
  ::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{20, limit.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &small);
  writer.write(capture_direction_en::SENT, capture_link_en::PC, "", AT);
  writer.write(capture_direction_en::SENT, capture_link_en::PC, "", AT);
  ::setrlimit(RLIMIT_FSIZE, &limit);
  ::signal(SIGXFSZ, SIG_DFL);
  EXPECT_THAT(writer.failure(), HasSubstr("lacks lines: no room is left"));
  writer.write(capture_direction_en::RECEIVED, capture_link_en::PC, "", AT);
  const std::string text = read_whole_file(folder.path("c"));
  EXPECT_THAT(text, HasSubstr("\n{\"version\": 1, "));
  EXPECT_THAT(text, testing::EndsWith("\"direction\": \"received\", \"link\": \"pc\", \"hex\": \"41540D\"}\n"));
}

TEST(CaptureWriter, PlaceThatIsNoFile_IsRefused) {
  const temp_folder folder;
  capture_writer_st writer;
  EXPECT_THAT(writer.open(folder.path("")), HasSubstr("cannot write the capture"));
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  EXPECT_THAT(writer.open(folder.path("pipe")), HasSubstr("not a file"));
  EXPECT_THAT(writer.open(folder.path("no/such/folder")), HasSubstr("No such file or directory"));
  EXPECT_FALSE(writer.is_open());
}
