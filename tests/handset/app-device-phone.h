// A phone in the platform set-up whose hardware the test application asks for: what it is answered, and what the
// hardware saw of it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "handset/hardware/devices.h"
#include "handset/hardware/hardware.h"
#include "tests/handset/app-phone.h"

namespace handset_test {

using handset::file_fault;

inline constexpr std::string_view BOARD_LIBRARY = "/system/lib64/hw/amt.vx5210.misc.so";

// The ways to be without an operation of the board library.
inline handset::phone_options without_board_library() {
  auto options = platform();
  options.board = handset::board_library::absent;
  return options;
}
inline handset::phone_options with_empty_board_library() {
  auto options = platform();
  options.board = handset::board_library::empty;
  return options;
}

class AppDevicePhone : public testing::Test {
 protected:
  void start(handset::phone_options options = platform()) {
    m_phone = std::make_unique<handset::phone>(std::move(options));
    start_app_serving(*m_phone);
  }
  handset::phone& phone() { return *m_phone; }
  std::string state(std::string_view part) { return m_phone->parts().state(part); }
  std::string content(std::string_view path) { return m_phone->read_file(path).value_or("(no such file)"); }

  void expect_done(unsigned id, std::string_view atoms = "") {
    expect_answer(*m_phone, frame(id, atoms), result_frame(id + 1, "00000000"));
  }
  // The answer that the link gives for a handler which gives none.
  void expect_failure(unsigned id, std::string_view atoms = "") {
    expect_answer(*m_phone, frame(id, atoms), result_frame(id + 1, "01000000"));
  }
  // An answer with these atoms in front of a result of 0.
  void expect_values(unsigned id, std::string_view atoms, std::string_view answer_atoms) {
    expect_answer(*m_phone, frame(id, atoms), frame(id + 1, std::string(answer_atoms) + "EE 01 01 0400 00000000"));
  }

  // The calls into the board library so far, a line each with its result.
  std::string board_calls() { return m_phone->read_file("/data/board/calls").value_or(""); }
  // The result of the library's next calls, as "enter_idle = -3".
  void set_board_result(std::string_view line) { m_phone->write_file("/data/board/control", std::string(line) + "\n"); }
  std::vector<std::string> device_calls() { return handset::device_calls(m_phone->devices()); }

 private:
  std::unique_ptr<handset::phone> m_phone;
};

}  // namespace handset_test
