// What people at the station see of a run on a terminal: one line for each phone, kept up to date, and below what
// failed.
#include "tests/station-run/terminal.h"

#include <signal.h>

#include "tests/station-run/line-phone.h"

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class RunOnTerminal : public LineTest {
 protected:
  std::vector<std::string> command(const std::string& plan, const std::vector<std::string>& phones) const {
    auto words = run_arguments(plan, phones);
    words.insert(words.begin(), amt_station());
    return words;
  }
  // The rows of phones and failures: what stands below "records: ...".
  static std::vector<std::string> rows(const screen_st& screen) {
    std::vector<std::string> all;
    for (const auto& line : screen.lines()) {
      if (!line.starts_with("records: ") && !line.empty()) all.push_back(line);
    }
    return all;
  }
};

TEST_F(RunOnTerminal, EachPhone_HasOneLineAndItsFailuresBelow) {
  const line_phone_st phone(m_folder, "terminal");
  const std::string plan = write_plan(
      one_step("serial", "word = \"board-sn\"\nserial = true") + one_step("converter", "word = \"adc\"\nlow = 5000") +
      one_step("go on", "operator = \"message\"\nprompt = \"Close the cover\"") + one_step("rest", "pause_ms = 60000"));
  on_terminal_st station(command(plan, {"A=" + phone.port(), "long-name=" + m_folder.path("none")}), 120, 30);
  // A question stands alone, and its answer is typed.
  ASSERT_TRUE(station.wait_for([](const auto& screen) { return !screen.line("A: Close the cover [Enter] ").empty(); }))
      << station.screen().text();
  station.type("\n");
  ASSERT_TRUE(station.wait_for([](const auto& screen) {
    return screen.line("A  ").find("rest") != std::string::npos &&
           screen.line("long-name  ").find("ERROR") != std::string::npos;
  })) << station.screen().text();
  // A picture that is whole: between two of them, parts are drawn anew.
  const std::size_t before = station.screen().redraws();
  std::string row;
  ASSERT_TRUE(station.wait_for([&](const auto& screen) {
    row = screen.line("A  ");
    return screen.redraws() > before + 2 && row.find("rest") != std::string::npos &&
           screen.text().find("  A: converter: FAIL: 2841 counts is not at least 5000 counts\n") != std::string::npos;
  })) << station.screen().text();
  EXPECT_FALSE(station.screen().is_wrong());
  EXPECT_THAT(row, AllOf(HasSubstr("VXB0000001"), HasSubstr("[===============     ] 4/4"),
                         ContainsRegex("[0-9]+\\.[0-9] s  rest")));
  EXPECT_TRUE(station.screen().has_color());

  station.send_signal(SIGINT);
  EXPECT_EQ(station.wait(), 130);
  EXPECT_THAT(station.screen().line("A  "), ContainsRegex("VXB0000001 +ABORTED +[0-9]+\\.[0-9] s"));
  EXPECT_THAT(station.screen().line("long-name  "), HasSubstr("ERROR"));
  // What was drawn before is gone, and not below each other.
  EXPECT_THAT(station.screen().text(), Not(HasSubstr("[===")));
}

TEST_F(RunOnTerminal, NarrowTerminal_WrapsNoLine) {
  constexpr unsigned short COLUMNS = 30;
  constexpr unsigned short ROWS = 6;
  std::string steps;
  for (int n = 0; n < 9; ++n) steps += one_step("a step with a long name " + std::to_string(n), "word = \"adc\"");
  std::vector<std::string> phones;
  for (const char* name : {"A", "B", "C", "D"}) phones.push_back(std::string(name) + "=" + m_folder.path(name));
  on_terminal_st station(command(write_plan(steps), phones), COLUMNS, ROWS);
  EXPECT_EQ(station.wait(), 21);
  EXPECT_FALSE(station.screen().is_wrong());
  const auto shown = rows(station.screen());
  EXPECT_LE(shown.size(), std::size_t{ROWS} - 1) << station.screen().text();
  for (const auto& line : shown) {
    EXPECT_LE(line.size(), std::size_t{COLUMNS}) << line;
  }
  EXPECT_THAT(station.screen().line("D  "), StartsWith("D                    ERROR"));
  EXPECT_THAT(shown.back(), StartsWith("  and 4 lines more"));
}

TEST_F(RunOnTerminal, NoColor_LeavesColoursOut) {
  const std::string plan = write_plan(one_step("s", "pause_ms = 300"));
  on_terminal_st station(command(plan, {"A=/dev/null"}), 80, 24, {{"NO_COLOR", "1"}});
  EXPECT_EQ(station.wait(), 0);
  EXPECT_THAT(station.screen().line("A  "), HasSubstr("PASS"));
  EXPECT_FALSE(station.screen().has_color());
}

TEST_F(RunOnTerminal, TerminalThatCannotRedraw_GetsPlainLines) {
  const std::string plan = write_plan(one_step("s", "pause_ms = 1"));
  on_terminal_st station(command(plan, {"A=/dev/null"}), 80, 24, {{"TERM", "dumb"}});
  EXPECT_EQ(station.wait(), 0);
  EXPECT_THAT(station.screen().text(), HasSubstr("A: 1/1 s: PASS\n"));
  EXPECT_EQ(station.screen().redraws(), 0u);
}

TEST_F(RunOnTerminal, Loop_ShowsTheLastVerdictUntilTheNextPhone) {
  const std::string port = m_folder.path("by-id-phone");
  const std::string plan = write_plan(one_step("serial", "word = \"board-sn\"\nserial = true") +
                                      one_step("converter", "word = \"adc\"\nlow = 5000"));
  auto words = command(plan, {"A=" + port});
  words.push_back("--loop");
  on_terminal_st station(words, 100, 24);
  ASSERT_TRUE(station.wait_for(
      [](const auto& screen) { return screen.line("A  ").find("waiting for a phone") != std::string::npos; }));
  const auto shows = [&](const std::string& serial, const std::string& text) {
    return station.wait_for([&](const auto& screen) {
      const std::string row = screen.line("A  ");
      return row.find(serial) != std::string::npos && row.find("FAIL") != std::string::npos &&
             row.find(text) != std::string::npos && screen.text().find("  A: converter: FAIL: ") != std::string::npos;
    });
  };
  for (const char* serial : {"VXB0000021", "VXB0000022"}) {
    auto phone = std::make_unique<line_phone_st>(m_folder, serial);
    phone->control({"modem", "board", serial});
    std::filesystem::create_symlink(phone->port(), port);
    ASSERT_TRUE(shows(serial, " s")) << station.screen().text();
    std::filesystem::remove(port);
    phone.reset();  // unplugged
    ASSERT_TRUE(shows(serial, "waiting for the next phone")) << station.screen().text();
  }
  station.send_signal(SIGINT);
  EXPECT_EQ(station.wait(), 1);
  EXPECT_FALSE(station.screen().is_wrong());
}

}  // namespace
