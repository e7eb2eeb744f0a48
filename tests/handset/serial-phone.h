// A phone in the serial set-up, and the bytes that a station and a modem exchange with it.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <sstream>
#include <string>
#include <string_view>

#include "handset/phone/phone.h"
#include "tests/hex.h"

namespace handset_test {

using namespace std::string_literals;
using namespace std::string_view_literals;
using namespace std::chrono_literals;

// A modem that the test plays itself.
inline handset::phone_options raw_modem() {
  handset::phone_options options;
  options.simulated_modem = false;
  return options;
}

// Whether somebody in the phone listens to kernel events.
inline bool has_event_listener(handset::phone& phone) {
  std::istringstream sockets(phone.exec({"/bin/cat", "/proc/net/netlink"}).out);
  for (std::string line; std::getline(sockets, line);) {
    std::istringstream columns(line);
    std::string address;
    std::string protocol;
    std::string port;
    std::string groups;
    columns >> address >> protocol >> port >> groups;
    if (protocol == "15" && groups == "00000001") return true;
  }
  return false;
}

// The serial set-up is up when its three threads wait and main has logged it. The USB monitor logs nothing once it
// listens, so its socket is looked for from outside.
inline void wait_serving(handset::phone& phone) {
  ASSERT_TRUE(phone.wait_log("read_pc_loop, read ready"));
  ASSERT_TRUE(phone.wait_log("read_modem_loop, read ready"));
  ASSERT_TRUE(phone.out().wait_for("init over result=0"));
  const auto deadline = std::chrono::steady_clock::now() + handset::DEFAULT_WAIT;
  while (!has_event_listener(phone)) ASSERT_LT(std::chrono::steady_clock::now(), deadline);
}

inline void start_serving(handset::phone& phone) {
  phone.start();
  wait_serving(phone);
}

inline void expect_clean_end(handset::phone& phone) {
  const auto status = phone.wait_exit();
  ASSERT_TRUE(status.has_value()) << phone.log().text();
  EXPECT_EQ(*status, handset::exited(0)) << phone.log().text();
  EXPECT_EQ(phone.log().count("amt_handle_deinit()"), 1u) << phone.log().text();
}

inline void end_with(handset::phone& phone, int signal_number) {
  phone.send_signal(signal_number);
  expect_clean_end(phone);
}

// The fixed message that comes ahead of a locally given answer.
inline const std::string PRE_RESPONSE = from_hex("AABBCCDD 08000000 02020000 764AEE1D");
// Request 45 for module 64, and its whole answer.
inline const std::string VERSION_REQUEST =
    from_hex("AABBCCDD 17000000 02000000 0F00 BB 2D 0900 EE 13 01 0400 40000000 22B9BEBE");
inline const std::string VERSION_ANSWER = from_hex(
    "AABBCCDD 65000000 02000000 5D00 BB 2E 5700 EE 13 01 0400 40000000 EE 12 03 4000 0D"
    "416E64726F6964342E322C323031332D30312D3231"
    "0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A"
    "EE 01 01 0400 00000000 916B9D05");
// Request 99, which nobody on the PC link handles: a frame without atoms.
inline const std::string UNHANDLED_REQUEST = from_hex("AABBCCDD 0E000000 02000000 0600 BB 63 0000 F84DC089");
// The error frame for AT text: id 0, result 1.
inline const std::string AT_ERROR_FRAME = from_hex("AABBCCDD 17000000 02000000 0F00 BB 00 0900 EE 01 01 0400 01000000");

}  // namespace handset_test
