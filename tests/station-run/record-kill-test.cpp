// A station that is killed at any moment leaves valid records, with each step that it reported as done.
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

#include "tests/station-run/line-phone.h"

namespace {

using nlohmann::json;

class RecordKill : public LineTest {
 protected:
  static std::size_t done_in(const json& record) {
    std::size_t done = 0;
    for (const auto& step : record["steps"]) done += step["verdict"] == "PASS" ? 1 : 0;
    return done;
  }

  // The rest is NOT_RUN, and so is then the unit.
  static void expect_open_end(const json& record, std::size_t done) {
    const auto is_open = [](const json& step) { return step["verdict"] == "NOT_RUN" && step["attempts"].empty(); };
    const auto open = static_cast<std::size_t>(std::ranges::count_if(record["steps"], is_open));
    EXPECT_EQ(open + done, record["steps"].size());
    EXPECT_EQ(record["verdict"], open == 0 ? "PASS" : "NOT_RUN");
    EXPECT_TRUE(open == 0 || record["complete"] == false);
  }
};

TEST_F(RecordKill, AnyMoment_LeavesAValidRecord) {
  // VX_KILLS of them in the long form.
  const char* wish = std::getenv("VX_KILLS");
  const int kills = wish == nullptr ? 25 : std::atoi(wish);
  const line_phone_st phone(m_folder, "kill");
  std::string steps;
  for (int n = 0; n < 30; ++n) steps += one_step("s" + std::to_string(n), "word = \"adc\"\nlow = 1");
  const std::string plan = write_plan(steps);
  auto command = run_arguments(plan, {"A=" + phone.port()});
  command.insert(command.begin(), amt_station());
  const auto seed = std::random_device{}();
  std::mt19937 random(seed);
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::uniform_int_distribution<long> moment_us;
  std::size_t seen = 0;
  std::size_t done_before = 0;
  for (int n = 0; n < kills; ++n) {
    const auto begin = std::chrono::steady_clock::now();
    beside_st station(command, m_folder.path("station"));
    if (n == 0) {
      // The first one shows how long this build takes to its first steps; the others die before and after that.
      ASSERT_TRUE(station.wait_output(": PASS "));
      const auto first_steps = std::chrono::steady_clock::now() - begin;
      moment_us = std::uniform_int_distribution<long>(0, 2 * first_steps / std::chrono::microseconds(1));
    } else {
      std::this_thread::sleep_for(std::chrono::microseconds(moment_us(random)));
    }
    station.send_signal(SIGKILL);
    station.wait();
    const std::string output = station.output();
    std::size_t reported = 0;
    for (std::size_t at = 0; (at = output.find(": PASS ", at)) != output.npos; ++at) {
      if (!output.substr(at).starts_with(": PASS in ")) ++reported;  // that is the whole unit
    }
    const auto all = records();
    for (const auto& one : all) ASSERT_FALSE(one.is_discarded());
    std::size_t done = 0;
    for (const auto& one : all) {
      expect_open_end(one, done_in(one));
      done += done_in(one);
    }
    // A step is reported when its record is on the disk.
    EXPECT_GE(done, done_before + reported) << output;
    done_before = done;
    seen = all.size();
  }
  ASSERT_GT(seen, 0u);
  expect_valid_records();
}

}  // namespace
