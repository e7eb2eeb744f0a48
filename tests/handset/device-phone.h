// A device test as a station or the application asks for it: the request's atoms, the whole answer, and the calls into
// the phone's closed libraries in between.
#pragma once

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "tests/handset/app-phone.h"

namespace handset_test {

enum class test_link { pc, app };

inline constexpr char HWT_CALLS[] = "/data/hwt/calls";
inline constexpr char HWT_CONTROL[] = "/data/hwt/control";
inline constexpr char BOARD_CALLS[] = "/data/board/calls";
inline constexpr char BOARD_CONTROL[] = "/data/board/control";

// The end of each answer that reports success.
inline const std::string DONE = " EE 01 01 0400 00000000";

// The PC's form of a frame without its checksum, which the kept sessions pin.
inline std::string wrapped(const std::string& frame) {
  const auto length = frame.size() + 8;
  return from_hex("AABBCCDD") + static_cast<char>(length & 0xFF) + static_cast<char>(length >> 8) +
         from_hex("0000 02000000") + frame;
}
// The service does not look at a request's checksum.
inline std::string on_wire(test_link link, const std::string& frame) {
  return link == test_link::pc ? wrapped(frame) + std::string(4, '\0') : frame;
}

// On the PC link the service is in its serial set-up and the test plays the modem; on the application's it is in the
// platform set-up.
class DevicePhone : public ::testing::Test {
 protected:
  virtual test_link link() const { return test_link::pc; }

  void start(handset::phone_options options = {}) {
    const bool is_pc = link() == test_link::pc;
    if (!is_pc) options.mode = handset::run_mode::normal;
    options.simulated_modem = !is_pc;
    m_phone = std::make_unique<handset::phone>(std::move(options));
    if (is_pc) {
      start_serving(*m_phone);
    } else {
      start_app_serving(*m_phone);
    }
  }
  handset::phone& phone() { return *m_phone; }
  handset::tty_end& tty() { return link() == test_link::pc ? phone().pc() : phone().app(); }

  void send(unsigned id, std::string_view atoms) { ASSERT_TRUE(tty().write_all(on_wire(link(), frame(id, atoms)))); }
  // The next answer as a bare frame of that length; the PC gets it in its envelope.
  std::string next_answer(std::size_t length) {
    if (link() == test_link::app) return tty().read_exactly(length);
    const auto whole = tty().read_exactly(12 + length + 4);
    const auto bare = whole.substr(std::min<std::size_t>(whole.size(), 12), length);
    EXPECT_EQ(to_hex(whole.substr(0, 12 + length)), to_hex(wrapped(bare)));
    return bare;
  }
  void expect_pre_response() {
    if (link() == test_link::app) return;
    EXPECT_EQ(to_hex(tty().read_exactly(16)), to_hex(PRE_RESPONSE));
  }

  // Sends a request and takes the whole answer; these calls were made in between.
  void expect(unsigned id, std::string_view atoms, const std::string& answer, std::string_view calls = "") {
    phone().remove(HWT_CALLS);
    phone().remove(BOARD_CALLS);
    send(id, atoms);
    expect_pre_response();
    EXPECT_EQ(to_hex(next_answer(answer.size())), to_hex(answer)) << id << " " << atoms << phone().log().text();
    EXPECT_EQ(to_hex(tty().read_pending()), "") << id << " " << atoms;
    EXPECT_EQ(phone().read_file(HWT_CALLS).value_or("") + phone().read_file(BOARD_CALLS).value_or(""), calls);
  }
  void expect_ok(unsigned id, std::string_view atoms, unsigned answer_id, std::string_view calls = "") {
    expect(id, atoms, result_frame(answer_id, "00000000"), calls);
  }
  void expect_failure(unsigned id, std::string_view atoms, std::string_view calls = "") {
    expect(id, atoms, result_frame(id + 1, "01000000"), calls);
  }

  void expect_logged(std::string_view text, std::size_t times = 1) { expect_log(phone(), text, times); }
  // One more request, which does nothing but log, closes what was logged before it.
  void expect_not_logged(std::string_view text) {
    static constexpr std::string_view LAST = "amt_gps_test()";
    const auto closed = phone().log().count(LAST) + 1;
    expect_ok(176, "", 175);
    ASSERT_TRUE(phone().log().wait_count(LAST, closed));
    EXPECT_EQ(phone().log().count(text), 0u) << text;
  }
  // A step writes one record: it is flushed, that is synchronised twice, before the answer comes.
  template <typename Step>
  void expect_flushed(Step step) {
    const auto before = phone().sync_count();
    step();
    EXPECT_EQ(phone().sync_count(), before + 2);
  }

  std::string content(const char* path) { return phone().read_file(path).value_or("(no such file)"); }
  std::filesystem::perms permissions(const char* path) {
    return std::filesystem::status(phone().host_path(path)).permissions();
  }
  // Every write to it finds its file system full.
  void fill_up(const char* path) {
    phone().remove(path);
    std::filesystem::create_symlink("/dev/full", phone().host_path(path));
  }

 private:
  std::unique_ptr<handset::phone> m_phone;
};

class DeviceOnBothLinks : public DevicePhone, public ::testing::WithParamInterface<test_link> {
 protected:
  test_link link() const override { return GetParam(); }
};

inline auto both_links() {
  return ::testing::Values(test_link::pc, test_link::app);
}
inline std::string link_name(const ::testing::TestParamInfo<test_link>& link) {
  return link.param == test_link::pc ? "Pc" : "App";
}

}  // namespace handset_test
