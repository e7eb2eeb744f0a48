// The record's file: whole at every moment, and nothing is ever replaced that was there before.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "station/record/record-file.h"
#include "tests/station-plan/findings.h"
#include "tests/unit/temp-folder.h"

namespace {

std::vector<std::string> g_calls;  // that bring something to the disk, or put it in its place

// What a call is about: the last name of a path, without the record's own.
std::string short_name(const std::string& path) {
  const std::string name = std::filesystem::path(path).filename();
  return name.ends_with(".part") ? "aside" : name.ends_with(".json") ? "record" : name;
}

}  // namespace

extern "C" {
int __real_fsync(int fd);
int __wrap_fsync(int fd);
int __wrap_fsync(int fd) {
  std::array<char, 4096> path{};
  const std::string link = "/proc/self/fd/" + std::to_string(fd);
  EXPECT_GT(::readlink(link.c_str(), path.data(), path.size() - 1), 0);
  g_calls.push_back("fsync " + short_name(path.data()));
  return __real_fsync(fd);
}
int __real_renameat(int from_fd, const char* from, int to_fd, const char* to);
int __wrap_renameat(int from_fd, const char* from, int to_fd, const char* to);
int __wrap_renameat(int from_fd, const char* from, int to_fd, const char* to) {
  g_calls.push_back("rename " + short_name(from) + " " + short_name(to));
  return __real_renameat(from_fd, from, to_fd, to);
}
int __real_renameat2(int from_fd, const char* from, int to_fd, const char* to, unsigned flags);
int __wrap_renameat2(int from_fd, const char* from, int to_fd, const char* to, unsigned flags);
int __wrap_renameat2(int from_fd, const char* from, int to_fd, const char* to, unsigned flags) {
  g_calls.push_back("rename " + short_name(from) + " " + short_name(to));
  return __real_renameat2(from_fd, from, to_fd, to, flags);
}
}

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class RecordFile : public testing::Test {
 protected:
  RecordFile() {
    m_record = record_start(m_plan);
    m_record.m_phone = "A";
  }

  std::size_t file_count() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder()), fs::directory_iterator()));
  }
  std::string folder() const { return m_folder.path("below/records"); }

  temp_folder m_folder;
  plan_st m_plan = plan_load_text(PLAN_HEAD + step("word = \"adc\""), "p", nullptr, "").m_plan;
  record_st m_record;
  record_file_st m_file;
};

TEST_F(RecordFile, Start_SaysNotRun) {
  ASSERT_EQ(m_file.create(folder(), m_record), "");
  const std::string text = read_whole_file(m_file.path());
  EXPECT_THAT(text, HasSubstr("\"verdict\": \"NOT_RUN\""));
  EXPECT_THAT(text, HasSubstr("\"complete\": false"));
  EXPECT_EQ(file_count(), 1u);
}

TEST_F(RecordFile, SecondRecordOfThatName_IsRefusedAndTheFirstStays) {
  ASSERT_EQ(m_file.create(folder(), m_record), "");
  const std::string before = read_whole_file(m_file.path());
  m_record.m_serial = "other";
  record_file_st second;
  EXPECT_THAT(second.create(folder(), m_record), HasSubstr("File exists"));
  EXPECT_EQ(read_whole_file(m_file.path()), before);
  EXPECT_EQ(file_count(), 1u);
}

TEST_F(RecordFile, LaterState_TakesItsOwnPlace) {
  ASSERT_EQ(m_file.create(folder(), m_record), "");
  m_record.m_serial = "later";
  ASSERT_EQ(m_file.replace(m_record), "");
  EXPECT_THAT(read_whole_file(m_file.path()), HasSubstr("\"serial\": \"later\""));
  EXPECT_EQ(file_count(), 1u);
}

TEST_F(RecordFile, EachState_IsOnTheDiskBeforeAndAfterItsRename) {
  const std::vector<std::string> order = {"fsync aside", "rename aside record", "fsync records"};
  g_calls.clear();
  ASSERT_EQ(m_file.create(folder(), m_record), "");
  // A new folder's name is brought to the disk as well, up to where folders were before.
  ASSERT_GE(g_calls.size(), 5u);
  EXPECT_EQ(g_calls[0], "fsync below");
  EXPECT_EQ(g_calls[1], "fsync " + short_name(fs::path(m_folder.path("below")).parent_path()));
  EXPECT_EQ(std::vector<std::string>(g_calls.end() - 3, g_calls.end()), order);
  g_calls.clear();
  ASSERT_EQ(m_file.replace(m_record), "");
  EXPECT_EQ(g_calls, order);
}

TEST_F(RecordFile, AsideThatCannotBeWritten_IsReportedAndTheEarlierStateStays) {
  ASSERT_EQ(m_file.create(folder(), m_record), "");
  const std::string before = read_whole_file(m_file.path());
  // What is written aside finds no room.
  const auto name = fs::path(m_file.path()).filename().string();
  fs::create_directory(folder() + "/." + name + ".part");
  EXPECT_NE(m_file.replace(m_record), "");
  EXPECT_EQ(read_whole_file(m_file.path()), before);
}

TEST_F(RecordFile, FolderThatCannotBeMade_IsReported) {
  m_folder.write("below", "a file");
  EXPECT_NE(m_file.create(folder(), m_record), "");
}

TEST_F(RecordFile, StepThatChanges_IsChangedInTheText) {
  m_record.m_steps.push_back(m_record.m_steps[0]);
  const std::string before = record_text(m_record);
  record_step_st& step = m_record.m_steps[1];
  step.m_verdict = verdict_en::FAIL;
  step.m_message = "two\nlines";
  step.m_attempts.resize(2);
  step.touch();
  const std::string after = record_text(m_record);
  EXPECT_THAT(after, HasSubstr("\"verdict\": \"FAIL\""));
  // The same as a text that is made in one piece.
  for (const std::string& text : {before, after}) {
    EXPECT_EQ(nlohmann::ordered_json::parse(text).dump(1) + "\n", text);
  }
}

TEST_F(RecordFile, BytesThatAreNoText_LeaveItValid) {
  m_record.m_serial = "\xFF\xFE";
  EXPECT_THAT(record_text(m_record), HasSubstr("\xEF\xBF\xBD"));
}

TEST(RecordId, TwoIds_Differ) {
  EXPECT_THAT(record_new_id(), testing::MatchesRegex("[0-9a-f-]{36}"));
  EXPECT_NE(record_new_id(), record_new_id());
}

}  // namespace
