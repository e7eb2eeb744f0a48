// Ends of links for unit tests of the service: what the test plays is a PC, a modem, or a device that fails in a
// chosen way.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "amt/amt-cfg.h"
#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/service/usb-monitor.h"
#include "pub/result.h"
#include "tests/hex.h"
#include "tests/unit/failure-line.h"
#include "tests/unit/log-capture.h"

inline void set_message(amt_message_st& message, std::string_view bytes) {
  amt_message_clear(message);
  std::copy(bytes.begin(), bytes.end(), message.m_buf_a.begin());
  message.m_buf_len = static_cast<std::uint32_t>(bytes.size());
}

// Whether the length and all 4096 bytes are zero.
inline bool is_clear(const amt_message_st& message) {
  return message.m_buf_len == 0 &&
         std::all_of(message.m_buf_a.begin(), message.m_buf_a.end(), [](std::uint8_t byte) { return byte == 0; });
}

// One end for the service, one for the test.
class test_link {
 public:
  ~test_link() { hang_up(); }
  test_link(const test_link&) = delete;
  test_link& operator=(const test_link&) = delete;

  // The service's end; whoever takes it closes it.
  int service_end() const { return m_service; }
  void send(std::string_view bytes) {
    ASSERT_EQ(write(m_test, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  // Everything that has arrived.
  std::string received() {
    std::string result;
    char buffer[8192];
    pollfd wanted = {m_test, POLLIN, 0};
    while (poll(&wanted, 1, 0) > 0 && (wanted.revents & POLLIN) != 0) {
      const ssize_t count = read(m_test, buffer, sizeof buffer);
      if (count <= 0) break;
      result.append(buffer, static_cast<std::size_t>(count));
    }
    return result;
  }
  // One read of at most `size` bytes of what has arrived.
  std::string receive_once(std::size_t size) {
    std::string bytes(size, '\0');
    const ssize_t count = read(m_test, bytes.data(), size);
    bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return bytes;
  }
  std::string received_hex() { return to_hex(received()); }
  // The test's end is gone: a terminal then fails with EIO.
  void hang_up() {
    if (m_test >= 0) close(m_test);
    m_test = -1;
  }

 protected:
  test_link() = default;
  int m_service = -1;
  int m_test = -1;
};

class socket_link : public test_link {
 public:
  socket_link() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return;
    m_service = ends[0];
    m_test = ends[1];
  }
};

// What is sent in one piece is read in one piece, and pieces are never read together.
class packet_link : public test_link {
 public:
  packet_link() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return;
    m_service = ends[0];
    m_test = ends[1];
  }
  // From now on the service cannot write; it still reads what the test sends.
  void stop_receiving() { shutdown(m_test, SHUT_RD); }
};

// A raw terminal; the service may open it by its name, too.
class pty_link : public test_link {
 public:
  pty_link() {
    m_test = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_test < 0 || grantpt(m_test) != 0 || unlockpt(m_test) != 0) return;
    char name[64] = "";
    ptsname_r(m_test, name, sizeof name);
    m_name = name;
    m_service = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios attributes = {};
    tcgetattr(m_service, &attributes);
    cfmakeraw(&attributes);
    tcsetattr(m_service, TCSANOW, &attributes);
  }
  const std::string& name() const { return m_name; }

 private:
  std::string m_name;
};

// A descriptor that takes the first `room` bytes (less than a page) of a write and no more; never anything to read.
inline int open_sink_with_room(std::size_t room) {
  const long page = sysconf(_SC_PAGESIZE);
  const int fd = memfd_create("sink", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  if (fd < 0 || ftruncate(fd, page) != 0 || fcntl(fd, F_ADD_SEALS, F_SEAL_GROW) != 0) return -1;
  const int sink = open(("/proc/self/fd/" + std::to_string(fd)).c_str(), O_WRONLY | O_CLOEXEC);
  close(fd);
  lseek(sink, page - static_cast<long>(room), SEEK_SET);
  return sink;
}

// Every write fails with ENOSPC.
inline int open_full_device() {
  return open("/dev/full", O_WRONLY | O_CLOEXEC);
}

// A context as it is after the start of the service, with a PC and a modem at its links, and the log kept.
class context_test : public testing::Test {
 protected:
  context_test() {
    amt_handle_clear_context();
    g_amt_cfg = {};
    g_usb_activate = 0;
    g_amt_mode = AMT_MODE_AMT1;
    g_cur_treat_cmd_type = 0;
    g_power_supply_is_ac = 0;
    g_usb_enumerated = 0;
    g_handshake_done = 0;
    g_modem_is_forwarding = 0;
    g_usb_state = AMT_USB_UNKNOWN;
    g_no_modem = 0;
    set_link(g_handle_context.m_fd_pc, m_pc.service_end());
    set_link(g_handle_context.m_fd_modem, m_modem.service_end());
  }
  ~context_test() override {
    for (auto* fd : {&g_handle_context.m_fd_pc, &g_handle_context.m_fd_modem, &g_handle_context.m_fd_at,
                     &g_handle_context.m_pty_app.m_ptm_fd}) {
      set_link(*fd, 0);
    }
  }
  // Gives the service a descriptor for a link; the one before is closed.
  static void set_link(pub_shared_fd& link, int fd) { link.take(pub_fd(fd)); }
  template <std::size_t SIZE>
  static void set_device(char (&field)[SIZE], const std::string& name) {
    ASSERT_LT(name.size(), SIZE);
    std::copy_n(name.c_str(), name.size() + 1, field);
  }

  // Runs a handler with a request of these bytes.
  std::int32_t run(amt_handle_func handler, std::string_view request, std::uint8_t link = AMT_LINK_APP) {
    set_message(g_handle_context.m_request, from_hex(request));
    return handler(link, &g_handle_context.m_request, &g_handle_context.m_response);
  }
  // Whether a line is there and the error-trace line of a function stands right in front of it.
  testing::AssertionResult has_failure(const std::string& function, std::int32_t code, const std::string& line,
                                       const std::string& error = "-?[0-9]+") const {
    const auto texts = m_log.texts();
    const testing::Matcher<const std::string&> trace = failure_line("amt/[a-z-]+", function, code, error);
    for (std::size_t at = 1; at < texts.size(); ++at) {
      if (texts[at] == line && trace.Matches(texts[at - 1])) return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "in " << testing::PrintToString(texts);
  }
  // What every handler refuses, with nothing sent to anybody.
  void expect_refusals(amt_handle_func handler, const std::string& name) {
    auto& request = g_handle_context.m_request;
    auto& response = g_handle_context.m_response;
    set_message(request, from_hex("06 00 BB 07 00 00"));
    EXPECT_EQ(handler(255, &request, &response), ERR_ARGUMENT);
    EXPECT_TRUE(m_log.has(name + "()"));
    EXPECT_TRUE(has_failure(name, ERR_ARGUMENT, "1, 0, 0, 0"));
    EXPECT_EQ(handler(AMT_LINK_APP, nullptr, &response), ERR_ARGUMENT);
    EXPECT_TRUE(has_failure(name, ERR_ARGUMENT, "0, 1, 0, 0"));
    EXPECT_EQ(handler(AMT_LINK_APP, &request, nullptr), ERR_ARGUMENT);
    EXPECT_TRUE(has_failure(name, ERR_ARGUMENT, "0, 0, 0, 1"));
    request.m_buf_len = 0;
    EXPECT_EQ(handler(AMT_LINK_APP, &request, &response), ERR_ARGUMENT);
    EXPECT_TRUE(has_failure(name, ERR_ARGUMENT, "0, 0, 1, 0"));
    EXPECT_EQ(m_pc.received() + m_modem.received(), "");
  }

  log_capture m_log;
  socket_link m_pc;
  socket_link m_modem;
};
