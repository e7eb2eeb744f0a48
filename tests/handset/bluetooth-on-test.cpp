// Bluetooth-on, which stations send as a phone's last request: the service goes on as two processes that read the same
// tty.
#include "tests/handset/app-phone.h"

using namespace handset_test;

namespace {

const std::string BLUETOOTH_ON = hex("AABBCCDD 0E000000 02000000 0600 BB AA 0000 D14E89A3");
const std::string OK_ANSWER = hex("AABBCCDD 17000000 02000000 0F00 BB AB 0900 EE 01 01 0400 00000000 8F469038");

// A child that has ended stays in the list of processes as long as its parent lives: the service reaps nobody.
constexpr char LIST_SERVICES[] =
    "for process in /proc/[0-9]*; do"
    "  grep -qx vx-kro-amt $process/comm && ! grep -q '^State:.Z' $process/status && echo ${process#/proc/};"
    "done 2>/dev/null | sort -n";

// The service's living processes in the phone, the oldest first.
std::vector<std::string> services(handset::phone& phone) {
  std::istringstream found(phone.exec({"/bin/sh", "-c", LIST_SERVICES}).out);
  std::vector<std::string> pids;
  for (std::string pid; found >> pid;) pids.push_back(pid);
  return pids;
}

bool wait_services(handset::phone& phone, std::size_t count) {
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  while (services(phone).size() != count) {
    if (std::chrono::steady_clock::now() > deadline) return false;
  }
  return true;
}

void switch_bluetooth_on(handset::phone& phone) {
  ASSERT_TRUE(phone.pc().write_all(BLUETOOTH_ON));
  ASSERT_EQ(to_hex(phone.pc().read_exactly(78)), to_hex(PRE_RESPONSE + OK_ANSWER + OK_ANSWER));
  ASSERT_EQ(services(phone).size(), 2u);
}

// A version request has one answer, whichever of the two takes it.
void expect_served(handset::phone& phone, int times) {
  for (int i = 0; i < times; ++i) {
    ASSERT_TRUE(phone.pc().write_all(VERSION_REQUEST));
    ASSERT_EQ(to_hex(phone.pc().read_exactly(PRE_RESPONSE.size() + VERSION_ANSWER.size())),
              to_hex(PRE_RESPONSE + VERSION_ANSWER));
  }
}

TEST(BluetoothOn, PcTtyGone_EndsBothProcesses) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  switch_bluetooth_on(phone);
  expect_served(phone, 20);
  phone.unplug_pc();
  ASSERT_EQ(phone.wait_exit(), handset::exited(0)) << phone.log().text();
  EXPECT_TRUE(wait_services(phone, 0));
  EXPECT_EQ(phone.log().count("amt_handle_deinit()"), 2u);
}

TEST(BluetoothOn, SigTermToTheParent_LeavesTheChildServing) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  switch_bluetooth_on(phone);
  expect_served(phone, 20);
  phone.send_signal(SIGTERM);
  ASSERT_EQ(phone.wait_exit(), handset::exited(0)) << phone.log().text();
  ASSERT_EQ(services(phone).size(), 1u);
  expect_served(phone, 5);
  phone.exec({"/bin/kill", "-TERM", services(phone).at(0)});
  EXPECT_TRUE(wait_services(phone, 0));
}

TEST(BluetoothOn, SigTermToTheChild_LeavesTheParentServing) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  switch_bluetooth_on(phone);
  expect_served(phone, 20);
  phone.exec({"/bin/kill", "-TERM", services(phone).at(1)});
  ASSERT_TRUE(phone.wait_log("receive signal: 15 - SIGTERM"));
  ASSERT_TRUE(phone.wait_log("amt_handle_deinit()"));
  ASSERT_TRUE(wait_services(phone, 1));
  expect_served(phone, 5);
  phone.send_signal(SIGTERM);
  EXPECT_EQ(phone.wait_exit(), handset::exited(0)) << phone.log().text();
}

// The child ends while it reads the application's terminal, and must not take the parent's name of it along.
TEST(BluetoothOn, SigTermToTheApplicationsChild_LeavesTheParentsLink) {
  handset::phone phone(platform());
  start_app_serving(phone);
  expect_answer(phone, frame(170, ""), result_frame(171, "00000000") + result_frame(171, "00000000"));
  ASSERT_EQ(services(phone).size(), 2u);
  phone.exec({"/bin/kill", "-TERM", services(phone).at(1)});
  ASSERT_TRUE(wait_services(phone, 1));
  EXPECT_EQ(phone.exec({"/bin/sh", "-c", "readlink /dev/ttyAPP"}).out.substr(0, 9), "/dev/pts/");
  expect_answer(phone, frame(176, ""), result_frame(175, "00000000"));
  phone.send_signal(SIGTERM);
  EXPECT_EQ(phone.wait_exit(), handset::exited(0)) << phone.log().text();
  EXPECT_EQ(phone.exec({"/bin/sh", "-c", "readlink /dev/ttyAPP"}).out, "");
}

// Both processes lose the terminal at the same moment, and each makes a new one under the same name.
TEST(BluetoothOn, ApplicationCloses_OneOfTheTwoServesTheNext) {
  handset::phone phone(platform());
  start_app_serving(phone);
  expect_answer(phone, frame(170, ""), result_frame(171, "00000000") + result_frame(171, "00000000"));
  phone.close_app();
  ASSERT_TRUE(phone.open_app()) << phone.log().text();
  expect_answer(phone, frame(176, ""), result_frame(175, "00000000"));
}

}  // namespace
