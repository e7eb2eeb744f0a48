// Operator steps, whose answers are lines of standard input.
#include <unistd.h>

#include <array>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "station/run/operator.h"
#include "tests/station-run/line-phone.h"

namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using std::chrono::steady_clock;
using testing::HasSubstr;

// No phone is needed: these steps touch no port.
class RunOperator : public LineTest {
 protected:
  station_outcome run_with_input(const std::string& steps, const std::string& input) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    EXPECT_EQ(::write(ends[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
    ::close(ends[1]);
    const auto got = run(write_plan(steps), "/there/is/no/such/port", -1, ends[0]);
    ::close(ends[0]);
    return got;
  }
};

TEST_F(RunOperator, Answers_AreTakenInTurn) {
  const auto got =
      run_with_input(one_step("look", "operator = \"message\"\nprompt = \"Open the flap\"") +
                         one_step("light", "operator = \"yes_no\"\nprompt = \"Is it green?\"") +
                         one_step("scan", "operator = \"serial\"\nprompt = \"Scan\"\nmatches = \"[A-Z0-9]+\"") +
                         one_step("text", "operator = \"text\"\nprompt = \"Which?\"\none_of = [\"a\", \"b\"]"),
                     "\ny\nSN17\r\nb\n");
  EXPECT_EQ(got.m_status, 0) << got.m_out;
  EXPECT_THAT(got.m_out, HasSubstr("A: Is it green? [y/n]\n"));
  EXPECT_EQ(record()["serial"], "SN17");
  EXPECT_EQ(record()["steps"][1]["value"], "yes");
  expect_valid_records();
}

TEST_F(RunOperator, No_IsFail) {
  EXPECT_EQ(run_with_input(one_step("s", "operator = \"yes_no\"\nprompt = \"Green?\""), "n\n").m_status, 1);
}

TEST_F(RunOperator, AnswerThatIsNone_IsAskedForAgain) {
  EXPECT_EQ(run_with_input(one_step("s", "operator = \"yes_no\"\nprompt = \"Green?\""), "perhaps\n\nyes\n").m_status,
            0);
}

// Else the next line would be taken for another phone's answer.
TEST(Operator, AnswerThatIsNone_IsAskedForAgainBeforeAnothersTurn) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  ASSERT_EQ(::write(ends[1], "what\nyes\nwhat\nyes\n", 18), 18);
  std::vector<std::string> shown;
  run_operator_st one_for_all(
      ends[0], [&](const std::string& prompt) { shown.push_back(prompt); }, [](const auto& work) { work(); });
  const auto ask = [&](const std::string& prompt) {
    const auto is_answer = [](const std::string& line) {
      std::this_thread::sleep_for(50ms);  // the other waits, and would come between
      return line == "yes";
    };
    std::string line;
    EXPECT_EQ(one_for_all.ask({prompt, is_answer, [](bool) {}}, steady_clock::now() + 60s, -1, &line),
              run_reply_en::ANSWERED);
  };
  std::thread other(ask, "B");
  ask("A");
  other.join();
  ASSERT_EQ(shown.size(), 4u);
  EXPECT_EQ(shown[0], shown[1]);
  EXPECT_EQ(shown[2], shown[3]);
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST_F(RunOperator, EndOfInput_IsError) {
  const auto got = run_with_input(one_step("s", "operator = \"message\"\nprompt = \"Press\""), "");
  EXPECT_EQ(got.m_status, 21);
  EXPECT_THAT(got.m_out, HasSubstr("s: ERROR: standard input has ended"));
}

TEST_F(RunOperator, LateAnswer_IsTimeout) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  const auto got = run(write_plan(one_step("s", "operator = \"message\"\nprompt = \"Press\"\ntimeout_ms = 50")),
                       "/none", -1, ends[0]);
  EXPECT_EQ(got.m_status, 20) << got.m_out;
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST_F(RunOperator, GivenSerialNumber_IsNotAskedFor) {
  auto arguments = run_arguments(write_plan(one_step("s", "operator = \"serial\"\nprompt = \"Scan\"")), {"A=/none"});
  arguments.insert(arguments.end(), {"--serial", "A=SN1"});
  const auto got = run_station_here(arguments);
  EXPECT_EQ(got.m_status, 0) << got.m_out;
  EXPECT_EQ(record()["serial"], "SN1");
}

}  // namespace
