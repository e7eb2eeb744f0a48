// Bluetooth-on, which stations send as a phone's last request: the service goes on as two processes that read the same
// tty.
#include <gmock/gmock.h>

#include "tests/handset/device-phone.h"
#include "tests/services.h"

using namespace handset_test;

namespace {

const std::string BLUETOOTH_ON = from_hex("AABBCCDD 0E000000 02000000 0600 BB AA 0000 D14E89A3");
const std::string OK_ANSWER = from_hex("AABBCCDD 17000000 02000000 0F00 BB AB 0900 EE 01 01 0400 00000000 8F469038");

bool wait_services(handset::phone& phone, std::size_t count) {
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  while (services(phone).size() != count) {
    if (std::chrono::steady_clock::now() > deadline) return false;
  }
  return true;
}

bool wait_stopped(handset::phone& phone, const std::string& pid) {
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  while (phone.exec({"/bin/grep", "State:", "/proc/" + pid + "/status"}).out.find("T (stopped)") == std::string::npos) {
    if (std::chrono::steady_clock::now() > deadline) return false;
  }
  return true;
}

class BluetoothOn : public DeviceOnBothLinks {
 protected:
  std::string child() { return services(phone()).at(1); }
  void kill(const char* signal, const std::string& pid) { phone().exec({"/bin/kill", signal, pid}); }
  void switch_bluetooth_on(std::size_t processes = 2) {
    send(170, "");
    expect_pre_response();
    EXPECT_EQ(to_hex(next_answer(15)), to_hex(result_frame(171, "00000000")));
    EXPECT_EQ(to_hex(next_answer(15)), to_hex(result_frame(171, "00000000")));
    ASSERT_EQ(services(phone()).size(), processes);
  }
  // A request has one answer, whichever of the two takes it.
  void expect_served(int times) {
    for (int i = 0; i < times; ++i) expect_ok(176, "", 175);
  }
};
INSTANTIATE_TEST_SUITE_P(On, BluetoothOn, both_links(), link_name);

TEST_P(BluetoothOn, LibraryAgrees_IsAnsweredByBothProcesses) {
  start();
  switch_bluetooth_on();
  EXPECT_EQ(content(HWT_CALLS), "hwt_btCtrl(1) = 0\n");
  EXPECT_EQ(phone().parts().state("bluetooth"), "on");
  expect_logged("BT-start start");
  expect_logged("BT-start end. return:0.");
  expect_served(20);
}

// The answers come in any order.
TEST_P(BluetoothOn, LibraryFails_IsAnsweredByTheParentAndRefusedByTheChild) {
  start();
  phone().write_file(HWT_CONTROL, "hwt_btCtrl(1 = -7\n");
  send(170, "");
  expect_pre_response();
  const auto one = to_hex(next_answer(15));
  const auto other = to_hex(next_answer(15));
  EXPECT_THAT((std::vector{one, other}), testing::UnorderedElementsAre("0F 00 BB AB 09 00 EE 01 01 04 00 00 00 00 00",
                                                                       "0F 00 BB AB 09 00 EE 01 01 04 00 01 00 00 00"));
  EXPECT_EQ(content(HWT_CALLS), "hwt_btCtrl(1) = -7\n");
  expect_logged("BT-start error. call hwt_btCtrl fail: -7");
  expect_logged("FUNC-amt_device_bt(), error_code=-118");
  expect_logged("error to exec: hciattach");
  EXPECT_EQ(services(phone()).size(), 2u);
  expect_served(20);
}

TEST_P(BluetoothOn, AskedTwice_IsThreeProcesses) {
  start();
  switch_bluetooth_on();
  switch_bluetooth_on(3);
  expect_served(20);
}

TEST_P(BluetoothOn, SigTermToTheParent_LeavesTheChildServing) {
  start();
  switch_bluetooth_on();
  expect_served(20);
  phone().send_signal(SIGTERM);
  ASSERT_EQ(phone().wait_exit(), handset::exited(0)) << phone().log().text();
  ASSERT_EQ(services(phone()).size(), 1u);
  expect_served(5);
  kill("-TERM", services(phone()).at(0));
  EXPECT_TRUE(wait_services(phone(), 0));
  EXPECT_TRUE(tty().wait_hangup());
  EXPECT_EQ(phone().log().count("amt_handle_deinit()"), 2u);
}

TEST_P(BluetoothOn, SigTermToTheChild_LeavesTheParentServing) {
  start();
  switch_bluetooth_on();
  expect_served(20);
  kill("-TERM", child());
  ASSERT_TRUE(phone().wait_log("receive signal: 15 - SIGTERM"));
  ASSERT_TRUE(phone().wait_log("amt_handle_deinit()"));
  ASSERT_TRUE(wait_services(phone(), 1));
  expect_served(5);
  phone().send_signal(SIGTERM);
  EXPECT_EQ(phone().wait_exit(), handset::exited(0)) << phone().log().text();
}

TEST_P(BluetoothOn, WifiTestOfTheParent_IsTheChildsFromThereOn) {
  start();
  expect(187, "EE 9A 03 0100 01", frame(188, "EE 9A 03 0100 01" + DONE), "hwt_wifiCtrl(1) = 0\n");
  expect(187, "EE 9A 03 0100 05  EE 9B 03 0100 0B  EE 9C 03 0100 01", frame(188, "EE 9A 03 0100 05" + DONE),
         "hwt_RxTest(1, 11, 1) = 0\n");
  switch_bluetooth_on();
  const auto pid = child();
  kill("-STOP", pid);
  ASSERT_TRUE(wait_stopped(phone(), pid));
  expect(187, "EE 9A 03 0100 02", frame(188, "EE 9A 03 0100 02" + DONE), "hwt_wifiCtrl(0) = 0\n");
  phone().send_signal(SIGTERM);
  ASSERT_EQ(phone().wait_exit(), handset::exited(0)) << phone().log().text();
  kill("-CONT", pid);
  expect(187, "EE 9A 03 0100 06", frame(188, "EE 9A 03 0100 06  EE 9E 01 0400 E8030000" + DONE),
         "hwt_RxTest(0, 11, 0) = 0\n");
}

// It has one thread, and that one is busy.
TEST_P(BluetoothOn, SigTermToAChildThatIsStuckInTheLibrary_EndsItSoon) {
  start();
  phone().write_file(HWT_CONTROL, "wait hwt_btCtrl(1 = 30000\n");
  send(170, "");
  expect_pre_response();
  EXPECT_EQ(to_hex(next_answer(15)), to_hex(result_frame(171, "00000000")));
  ASSERT_TRUE(phone().wait_log("BT-start start"));
  ASSERT_TRUE(wait_services(phone(), 2));
  const auto begin = std::chrono::steady_clock::now();
  kill("-TERM", child());
  EXPECT_TRUE(wait_services(phone(), 1));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
  phone().send_signal(SIGTERM);
  EXPECT_EQ(phone().wait_exit(), handset::exited(0)) << phone().log().text();
}

// The request is read just as the service ends: no process may come of it that outlives the service.
TEST(BluetoothOnPc, AskedForWhileTheServiceEnds_LeavesNoProcess) {
  for (int round = 0; round < 12; ++round) {
    handset::phone phone(raw_modem());
    start_serving(phone);
    phone.send_signal(SIGTERM);
    usleep(1000 * static_cast<unsigned>(round));
    std::ignore = phone.pc().write_all(BLUETOOTH_ON);
    ASSERT_EQ(phone.wait_exit(), handset::exited(0)) << phone.log().text();
    EXPECT_EQ(services(phone).size(), 0u) << "round " << round;
  }
}

TEST(BluetoothOnPc, TtyGone_EndsBothProcesses) {
  handset::phone phone(raw_modem());
  start_serving(phone);
  ASSERT_TRUE(phone.pc().write_all(BLUETOOTH_ON));
  ASSERT_EQ(to_hex(phone.pc().read_exactly(78)), to_hex(PRE_RESPONSE + OK_ANSWER + OK_ANSWER));
  ASSERT_EQ(services(phone).size(), 2u);
  phone.unplug_pc();
  ASSERT_EQ(phone.wait_exit(), handset::exited(0)) << phone.log().text();
  EXPECT_TRUE(wait_services(phone, 0));
  EXPECT_EQ(phone.log().count("amt_handle_deinit()"), 2u);
}

// The child ends while it reads the application's terminal, and must not remove that terminal's name, which the parent
// still uses.
TEST(BluetoothOnApp, SigTermToTheChild_LeavesTheParentsLink) {
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
TEST(BluetoothOnApp, ApplicationCloses_OneOfTheTwoServesTheNext) {
  handset::phone phone(platform());
  start_app_serving(phone);
  expect_answer(phone, frame(170, ""), result_frame(171, "00000000") + result_frame(171, "00000000"));
  phone.close_app();
  ASSERT_TRUE(phone.open_app()) << phone.log().text();
  expect_answer(phone, frame(176, ""), result_frame(175, "00000000"));
}

TEST(BluetoothOnApp, ParentGoneAndApplicationCloses_ChildServesTheNext) {
  handset::phone phone(platform());
  start_app_serving(phone);
  expect_answer(phone, frame(170, ""), result_frame(171, "00000000") + result_frame(171, "00000000"));
  phone.send_signal(SIGTERM);
  ASSERT_EQ(phone.wait_exit(), handset::exited(0)) << phone.log().text();
  phone.close_app();
  ASSERT_TRUE(phone.open_app()) << phone.log().text();
  expect_answer(phone, frame(176, ""), result_frame(175, "00000000"));
  phone.exec({"/bin/kill", "-TERM", services(phone).at(0)});
  EXPECT_TRUE(wait_services(phone, 0));
  EXPECT_EQ(phone.exec({"/bin/sh", "-c", "readlink /dev/ttyAPP"}).out, "");
}

}  // namespace
