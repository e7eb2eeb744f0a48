// A phone in the platform set-up, its test application, and the bytes between them.
#pragma once

#include "tests/handset/serial-phone.h"

namespace handset_test {

// The service in its normal place; the modem is simulated.
inline handset::phone_options platform() {
  handset::phone_options options;
  options.mode = handset::run_mode::normal;
  return options;
}
// A modem that the test plays itself on phone.at_end().
inline handset::phone_options platform_with_raw_modem() {
  auto options = platform();
  options.simulated_modem = false;
  return options;
}

inline constexpr std::string_view LINK_STATUS_OFF = "AT^DLKS=0\r";
inline constexpr std::string_view OK = "\r\nOK\r\n";

// How often the APP link's terminal was made so far.
inline std::size_t terminals(handset::phone& phone) {
  return phone.log().count("]; m_pts_name_a[/dev/pts/");
}
inline bool wait_terminals(handset::phone& phone, std::size_t count) {
  return phone.log().wait_count("]; m_pts_name_a[/dev/pts/", count);
}

// The set-up is done and the application has its link open.
inline void wait_app_serving(handset::phone& phone, std::chrono::milliseconds within = handset::DEFAULT_WAIT) {
  ASSERT_TRUE(phone.out().wait_for("init over result=0", within)) << phone.log().text();
  ASSERT_TRUE(phone.wait_log("amt_handle_read_app_loop()"));
  ASSERT_TRUE(phone.open_app());
}
inline void start_app_serving(handset::phone& phone) {
  phone.start();
  wait_app_serving(phone);
}
// The same with a modem that the test plays: it confirms the silencing.
inline void start_app_with_raw_modem(handset::phone& phone) {
  phone.start();
  ASSERT_EQ(phone.at_end().read_exactly(LINK_STATUS_OFF.size()), LINK_STATUS_OFF);
  ASSERT_TRUE(phone.at_end().write_all(OK));
  wait_app_serving(phone);
}

// A frame around atoms that are written in hexadecimal digits.
inline std::string frame(unsigned id, std::string_view atoms) {
  const std::string data = from_hex(atoms);
  const auto word = [](std::size_t number) {
    return std::string{static_cast<char>(number & 0xFF), static_cast<char>(number >> 8 & 0xFF)};
  };
  return word(data.size() + 6) + '\xBB' + static_cast<char>(id) + word(data.size()) + data;
}
inline std::string result_frame(unsigned id, std::string_view result) {
  return frame(id, "EE 01 01 0400 " + std::string(result));
}

// The log has a pipe of its own: a line may arrive later than the bytes that it is about.
inline void expect_log(handset::phone& phone, std::string_view text, std::size_t times = 1) {
  EXPECT_TRUE(phone.log().wait_count(text, times)) << text;
  EXPECT_EQ(phone.log().count(text), times) << text;
}

// Sends one request; what comes back has to be this answer and nothing more.
inline void expect_answer(handset::phone& phone, const std::string& request, const std::string& answer) {
  ASSERT_TRUE(phone.app().write_all(request));
  EXPECT_EQ(to_hex(phone.app().read_exactly(answer.size())), to_hex(answer)) << "request " << to_hex(request);
  EXPECT_EQ(to_hex(phone.app().read_pending()), "");
}

}  // namespace handset_test
