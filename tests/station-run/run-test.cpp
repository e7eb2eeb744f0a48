// Plans on virtual phones: every verdict, the course of groups and tries, several phones at once.
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <set>
#include <thread>

#include "station/plan/example.h"
#include "tests/station-run/line-phone.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

class Run : public LineTest {
 protected:
  station_outcome run_steps(const std::string& steps, const std::string& head = "") {
    return run(write_plan(steps, head), m_phone.port());
  }
  // The verdict of a plan of one step, and that of its step.
  void expect_verdict(const std::string& keys, const std::string& verdict, int status) {
    const auto got = run_steps(one_step("s", keys));
    EXPECT_EQ(got.m_status, status) << got.m_out << got.m_err;
    const json kept = record();
    EXPECT_EQ(kept["verdict"], verdict);
    EXPECT_EQ(kept["steps"][0]["verdict"], verdict) << got.m_out;
    EXPECT_EQ(kept["complete"], true);
    expect_valid_records();
  }

  std::string step_verdicts() const {
    const json kept = record();
    std::string verdicts;
    for (const auto& one : kept["steps"]) verdicts += one["verdict"].get<std::string>() + " ";
    return verdicts;
  }

  line_phone_st m_phone{m_folder, "run"};
};

TEST_F(Run, GoodAnswer_IsPass) {
  expect_verdict("word = \"adc\"\nlow = 2000\nhigh = 3000", "PASS", 0);
}

TEST_F(Run, ValueOutsideItsLimits_IsFail) {
  m_phone.control({"adc", "1500"});
  const auto got = run_steps(one_step("converter", "word = \"adc\"\nlow = 2000\nhigh = 3000"));
  EXPECT_EQ(got.m_status, 1);
  EXPECT_THAT(got.m_out, HasSubstr("A: 1/1 converter: FAIL: 1500 counts is not 2000 to 3000 counts\n"));
  const json step = record()["steps"][0];
  EXPECT_EQ(step["value"], 1500);
  EXPECT_EQ(step["unit"], "counts");
  EXPECT_EQ(step["limits"]["low"], 2000);
  EXPECT_EQ(step["attempts"][0]["exchange"].front()["direction"], "sent");
}

TEST_F(Run, SilentModem_IsTimeout) {
  m_phone.control({"modem", "silent", "on"});
  expect_verdict("word = \"imei\"\ntimeout_ms = 300", "TIMEOUT", 20);
}

TEST_F(Run, ErrorAnswer_IsFail) {
  expect_verdict("at = \"AT^NOSUCH\"\ntimeout_ms = 20000", "FAIL", 1);
}

TEST_F(Run, ValueThatIsNoNumber_IsError) {
  expect_verdict("word = \"sw-version\"\nvalue = \"number\"", "ERROR", 21);
}

TEST_F(Run, SkippedStep_IsSkipped) {
  expect_verdict("word = \"adc\"\nskip = true", "SKIPPED", 0);
}

TEST_F(Run, NoPort_IsErrorAndTheRestNotRun) {
  const auto got =
      run(write_plan(one_step("s", "word = \"adc\"") + one_step("t", "word = \"adc\"")), m_folder.path("none"));
  EXPECT_EQ(got.m_status, 21);
  EXPECT_EQ(record()["steps"][0]["verdict"], "ERROR");
  EXPECT_EQ(record()["steps"][1]["verdict"], "NOT_RUN");
}

TEST_F(Run, Interrupt_AbortsAndRunsTheTeardown) {
  const std::string plan = write_plan(one_step("long", "pause_ms = 60000") + one_step("never", "word = \"adc\"") +
                                      "[[teardown]]\nname = \"last\"\nword = \"adc\"\n");
  std::vector<std::string> command = run_arguments(plan, {"A=" + m_phone.port()});
  command.insert(command.begin(), amt_station());
  for (const int number : {SIGINT, SIGTERM}) {
    std::filesystem::remove_all(records_folder());
    beside_st station(command, m_folder.path("station"));
    ASSERT_TRUE(station.wait_output("records: "));
    while (records().empty()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    station.send_signal(number);
    EXPECT_EQ(station.wait(), 130) << station.output();
    const json kept = record();
    EXPECT_EQ(kept["verdict"], "ABORTED");
    EXPECT_EQ(kept["complete"], true);
    EXPECT_EQ(kept["steps"][1]["verdict"], "NOT_RUN");
    EXPECT_EQ(kept["steps"][2]["verdict"], "PASS");
    expect_valid_records();
  }
}

TEST_F(Run, SecondInterrupt_EndsTheTeardownToo) {
  const std::string plan =
      write_plan(one_step("long", "pause_ms = 60000") + "[[teardown]]\nname = \"last\"\npause_ms = 60000\n");
  std::vector<std::string> command = run_arguments(plan, {"A=" + m_phone.port()});
  command.insert(command.begin(), amt_station());
  beside_st station(command, m_folder.path("station"));
  ASSERT_TRUE(station.wait_output("records: "));
  station.send_signal(SIGINT);
  ASSERT_TRUE(station.wait_output("the teardown comes first"));
  station.send_signal(SIGINT);
  EXPECT_EQ(station.wait(), 130);
  EXPECT_EQ(record()["complete"], true);
}

TEST_F(Run, Retries_AllStayInTheRecord) {
  m_phone.control({"adc", "1"});
  const auto got = run_steps(one_step("s", "word = \"adc\"\nlow = 2000\nretries = 2"));
  EXPECT_EQ(got.m_status, 1);
  const json attempts = record()["steps"][0]["attempts"];
  ASSERT_EQ(attempts.size(), 3u);
  EXPECT_EQ(attempts[2]["try"], 3);
  EXPECT_EQ(attempts[2]["verdict"], "FAIL");
}

TEST_F(Run, Repeat_DoesTheStepSoOften) {
  EXPECT_EQ(run_steps(one_step("s", "word = \"adc\"\nrepeat = 3")).m_status, 0);
  const json attempts = record()["steps"][0]["attempts"];
  ASSERT_EQ(attempts.size(), 3u);
  EXPECT_EQ(attempts[2]["repetition"], 3);
}

TEST_F(Run, OnFail_EndsTheGroupOrThePlan) {
  m_phone.control({"adc", "1"});
  const std::string fails = "word = \"adc\"\nlow = 2000\n";
  const auto step = [](const std::string& name, const std::string& keys) {
    return "[[group.step]]\nname = \"" + name + "\"\n" + keys;
  };
  const std::string groups = "[[group]]\nname = \"one\"\n" + step("a", fails + "on_fail = \"end_group\"\n") +
                             step("b", "word = \"adc\"\n") + "[[group]]\nname = \"two\"\n" +
                             step("c", fails + "on_fail = \"go_on\"\n") +
                             step("d", fails + "on_fail = \"end_plan\"\n") + "[[group]]\nname = \"three\"\n" +
                             step("e", "word = \"adc\"\n") + "[[teardown]]\nname = \"f\"\nword = \"adc\"\n";
  EXPECT_EQ(run_steps(groups).m_status, 1);
  EXPECT_EQ(step_verdicts(), "FAIL NOT_RUN FAIL FAIL NOT_RUN PASS ");
  expect_valid_records();
}

TEST_F(Run, GroupRetries_DoAllItsStepsAgain) {
  m_phone.control({"adc", "1"});
  const std::string group =
      "[[group]]\nname = \"one\"\nretries = 1\n[[group.step]]\nname = \"a\"\nword = \"sw-version\"\n"
      "[[group.step]]\nname = \"b\"\nword = \"adc\"\nlow = 2000\n";
  EXPECT_EQ(run_steps(group).m_status, 1);
  const json steps = record()["steps"];
  ASSERT_EQ(steps[0]["attempts"].size(), 2u);
  EXPECT_EQ(steps[0]["attempts"][1]["group_try"], 2);
  EXPECT_EQ(steps[1]["attempts"].size(), 2u);
}

TEST_F(Run, SkipCondition_LooksAtVerdictsAndVariables) {
  const std::string steps = one_step("a", "word = \"adc\"") +
                            one_step("b", "word = \"adc\"\nskip_if = { step = \"a\", verdict = \"PASS\" }") +
                            one_step("c", "word = \"adc\"\nskip_if = { variable = \"color\", not_equals = \"red\" }") +
                            one_step("d", "word = \"adc\"\nskip_if = { variable = \"color\", one_of = [\"red\"] }");
  EXPECT_EQ(run_steps(steps, "[variables]\ncolor = \"red\"\n").m_status, 0);
  EXPECT_EQ(step_verdicts(), "PASS SKIPPED PASS SKIPPED ");
}

TEST_F(Run, SavedValue_IsUsedByALaterStep) {
  const std::string steps = one_step("a", "word = \"imei\"\nsave = \"imei\"") +
                            one_step("b", "at = \"AT^DGSN?\"\nvalue_line = \"^DGSN:\"\nequals = \"${imei}\"");
  EXPECT_EQ(run_steps(steps).m_status, 0);
  EXPECT_EQ(record()["steps"][1]["limits"]["equals"], "490154203237518");
  EXPECT_EQ(record()["variables"]["imei"]["source"], "step a");
}

TEST_F(Run, SerialNumber_OfTheCommandLineHasToBeTheUnits) {
  const std::string plan = write_plan(one_step("a", "word = \"board-sn\"\nserial = true"));
  auto arguments = run_arguments(plan, {"A=" + m_phone.port()});
  arguments.insert(arguments.end(), {"--serial", "A=OTHER"});
  const auto got = run_station_here(arguments);
  EXPECT_EQ(got.m_status, 1);
  EXPECT_THAT(got.m_out, HasSubstr("the unit is VXB0000001, not OTHER"));
}

TEST_F(Run, WorkOrder_GivesTheUnitsValues) {
  const std::string plan = write_plan(
      one_step("a", "word = \"board-sn\"\nserial = true") + one_step("b", "word = \"imei\"\nequals = \"${imei}\""),
      "[variables]\nimei = { column = \"imei\" }\n");
  auto arguments = run_arguments(plan, {"A=" + m_phone.port()});
  EXPECT_EQ(run_station_here(arguments).m_status, 2);
  EXPECT_TRUE(records().empty());
  const std::string order = m_folder.write("order.csv", "serial,imei\nX,1\nVXB0000001,490154203237518\n");
  arguments.insert(arguments.end(), {"--work-order", order});
  const auto got = run_station_here(arguments);
  EXPECT_EQ(got.m_status, 0) << got.m_out;
  EXPECT_EQ(record()["variables"]["imei"]["source"], "work order");
}

TEST_F(Run, ExamplePlan_PassesTwiceInARow) {
  const std::string plan = m_folder.write("example.toml", plan_example());
  for (int n = 1; n <= 2; ++n) {
    const auto got = run(plan, m_phone.port());
    EXPECT_EQ(got.m_status, 0) << got.m_out << got.m_err;
    EXPECT_THAT(got.m_out, HasSubstr("A: VXB0000001: PASS in "));
  }
  EXPECT_EQ(records().size(), 2u);
  expect_valid_records();
}

TEST_F(Run, SeveralPhones_KeepTheirResultsApart) {
  const line_phone_st second(m_folder, "second");
  const line_phone_st third(m_folder, "third");
  second.control({"adc", "2222"});
  third.control({"modem", "board", "VXB0000003"});
  const std::string plan = write_plan(one_step("serial", "word = \"board-sn\"\nserial = true") +
                                      one_step("adc", "word = \"adc\"\nlow = 2500\nrepeat = 20"));
  const auto got =
      run_station_here(run_arguments(plan, {"A=" + m_phone.port(), "B=" + second.port(), "C=" + third.port()}));
  EXPECT_EQ(got.m_status, 1) << got.m_out;
  std::map<std::string, std::string> kept;
  for (const auto& one : records()) {
    const json step = one["steps"][1];
    kept[one["phone"]["name"]] =
        one["serial"].get<std::string>() + " " + one["verdict"].get<std::string>() + " " + step["value"].dump();
  }
  EXPECT_EQ(kept["A"], "VXB0000001 PASS 2841.0");
  EXPECT_EQ(kept["B"], "VXB0000001 FAIL 2222.0");
  EXPECT_EQ(kept["C"], "VXB0000003 PASS 2841.0");
  expect_valid_records();
}

TEST_F(Run, FolderThatCannotHoldRecords_TestsNothing) {
  m_folder.write("records", "a file in the folder's place");
  const auto got = run_steps(one_step("s", "word = \"adc\""));
  EXPECT_EQ(got.m_status, 23) << got.m_out;
  EXPECT_THAT(got.m_out, HasSubstr("the record could not be written"));
  EXPECT_THAT(got.m_out, testing::Not(HasSubstr("PASS")));
}

TEST_F(Run, DryRun_ShowsTheBytesAndTouchesNoPort) {
  auto arguments = run_arguments(write_plan(one_step("s", "word = \"sw-version\"")), {"A=/there/is/no/such/port"});
  arguments.push_back("--dry-run");
  const auto got = run_station_here(arguments);
  EXPECT_EQ(got.m_status, 0);
  EXPECT_THAT(got.m_out, HasSubstr("1 s: sw-version\n      pc -> \"AT^DSVER\\r\"\n"));
  EXPECT_TRUE(records().empty());
}

TEST_F(Run, PlanWithErrors_TouchesNoPhone) {
  const auto got = run_steps(one_step("s", "word = \"nosuch\""));
  EXPECT_EQ(got.m_status, 2);
  EXPECT_THAT(got.m_err, HasSubstr("plan.toml:6:1: error: step.word"));
  EXPECT_TRUE(records().empty());
}

TEST(RunCommandLine, WrongOptions_AreRefused) {
  const temp_folder folder;
  const std::string plan =
      folder.write("p.toml", "[plan]\nname = \"p\"\nrevision = 1\n" + one_step("s", "word = \"adc\""));
  const std::vector<std::vector<std::string>> wrong = {
      {"--phone", "A"},
      {"--phone", "A="},
      {"--phone", "../A=/dev/null"},
      {"--phone", "A=/dev/x", "--phone", "A=/dev/y"},
      {"--phone", "A=/dev/x", "--phone", "B=/dev/x"},
      {"--phone", "A=/dev/x", "--serial", "B=1"},
      {"--phone", "A=/dev/x", "--var", "x=1"},
      {"--phone", "A=/dev/x", "--work-order", folder.path("none")},
      {"--phone", "A=/dev/x", "--loop", "--serial", "A=1"},
      {},
  };
  for (auto arguments : wrong) {
    arguments.insert(arguments.begin(), {"run", plan, "--records", folder.path("records")});
    const auto got = run_station_here(arguments);
    EXPECT_EQ(got.m_status, 2) << testing::PrintToString(arguments) << got.m_out;
    EXPECT_NE(got.m_err, "");
  }
  EXPECT_FALSE(std::filesystem::exists(folder.path("records")));
}

}  // namespace
