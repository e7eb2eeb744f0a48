// One phone after the other at a port that keeps its name.
#include <signal.h>

#include "tests/station-run/line-phone.h"

namespace {

TEST_F(LineTest, Loop_TestsEachPhoneThatIsPluggedIn) {
  const std::string port = m_folder.path("by-id-phone");
  const std::string plan = write_plan(one_step("serial", "word = \"board-sn\"\nserial = true\non_fail = \"end_plan\""));
  auto command = run_arguments(plan, {"A=" + port});
  command.insert(command.begin(), amt_station());
  command.push_back("--loop");
  beside_st station(command, m_folder.path("station"));
  ASSERT_TRUE(station.wait_output("A: waiting for the next phone"));
  for (const char* serial : {"VXB0000011", "VXB0000012"}) {
    auto phone = std::make_unique<line_phone_st>(m_folder, serial);
    phone->control({"modem", "board", serial});
    std::filesystem::create_symlink(phone->port(), port);
    ASSERT_TRUE(station.wait_output("A: " + std::string(serial) + ": PASS")) << station.output();
    std::filesystem::remove(port);
    phone.reset();  // unplugged
  }
  station.send_signal(SIGINT);
  EXPECT_EQ(station.wait(), 0) << station.output();
  EXPECT_EQ(records().size(), 2u);
  expect_valid_records();
}

}  // namespace
