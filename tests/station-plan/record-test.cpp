// The record's file: whole at every moment, and nothing is ever replaced that was there before.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "station/record/record-file.h"
#include "tests/station-plan/findings.h"
#include "tests/unit/temp-folder.h"

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

TEST_F(RecordFile, FullDisk_IsReportedAndTheEarlierStateStays) {
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

TEST_F(RecordFile, BytesThatAreNoText_LeaveItValid) {
  m_record.m_serial = "\xFF\xFE";
  EXPECT_THAT(record_text(m_record), HasSubstr("\xEF\xBF\xBD"));
}

TEST(RecordId, TwoIds_Differ) {
  EXPECT_THAT(record_new_id(), testing::MatchesRegex("[0-9a-f-]{36}"));
  EXPECT_NE(record_new_id(), record_new_id());
}

}  // namespace
