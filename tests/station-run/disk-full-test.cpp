// The disk of the records is full: a real file system without room.
#include "tests/station-run/line-phone.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

class RunOnAFullDisk : public LineTest {
 protected:
  // What a stage has kept.
  std::vector<std::string> files(const std::string& stage) const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_folder.path(stage))) names.push_back(entry.path().filename());
    return names;
  }
  json only_record(const std::string& stage) const {
    const auto names = files(stage);
    EXPECT_EQ(names.size(), 1u) << stage << ": " << testing::PrintToString(names);
    if (names.size() != 1) return {};
    EXPECT_TRUE(names[0].ends_with(".json")) << names[0];
    return json::parse(read_whole_file(m_folder.path(stage) + "/" + names[0]), nullptr, false);
  }
  static std::string verdicts(const json& record) {
    std::string all;
    for (const auto& step : record["steps"]) all += step["verdict"].get<std::string>() + " ";
    return all;
  }
};

TEST_F(RunOnAFullDisk, NoRecord_IsHalfAndNoTestIsStopped) {
  const line_phone_st phone(m_folder, "full");
  const auto question = [](const std::string& name) {
    return one_step(name, "operator = \"message\"\nprompt = \"" + name + "\"");
  };
  const std::string plan =
      write_plan(one_step("a", "word = \"adc\"") + question("first question") + one_step("b", "word = \"adc\"") +
                 question("second question") + one_step("c", "word = \"adc\""));
  beside_st stages(
      {PROJECT_FOLDER "/tests/station-run/disk-full", amt_station(), phone.port(), plan, m_folder.path("")},
      m_folder.path("stages"));
  ASSERT_EQ(stages.wait(), 0) << stages.output();

  // Full from the start: nothing is tested, and nothing is left.
  EXPECT_EQ(read_whole_file(m_folder.path("first.status")), "23\n");
  const std::string first = read_whole_file(m_folder.path("first.out"));
  EXPECT_THAT(first, HasSubstr("A: the record could not be written: "));
  EXPECT_THAT(first, HasSubstr("No space left on device"));
  EXPECT_THAT(first, Not(HasSubstr("PASS")));
  EXPECT_THAT(first, testing::ContainsRegex("A: no serial number: NOT_RUN in [0-9.]+ s\n"));
  EXPECT_TRUE(files("first").empty());

  // Full in the middle: the record keeps its last whole state, and the test goes on.
  const json full = only_record("full");
  ASSERT_FALSE(full.is_discarded());
  EXPECT_EQ(verdicts(full), "PASS NOT_RUN NOT_RUN NOT_RUN NOT_RUN ");
  EXPECT_EQ(full["complete"], false);
  EXPECT_EQ(full["verdict"], "NOT_RUN");

  // There is room again: the record is whole at the end.
  EXPECT_EQ(read_whole_file(m_folder.path("second.status")), "0\n");
  const json second = only_record("second");
  EXPECT_EQ(verdicts(second), "PASS PASS PASS PASS PASS ");
  EXPECT_EQ(second["complete"], true);
  const std::string said = read_whole_file(m_folder.path("second.out"));
  EXPECT_THAT(said, HasSubstr("A: the record could not be written: "));
  EXPECT_THAT(said, HasSubstr("A: 3/5 b: PASS"));
  EXPECT_THAT(said, HasSubstr("A: the record can be written again\n"));
}

}  // namespace
