// Rounds on the event socket: bursts, lost events, receives that fail.
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <deque>
#include <string>
#include <string_view>

#include "amt/amt-handle/service/handshake.h"
#include "amt/amt-handle/service/usb-monitor.h"
#include "tests/unit/failing-calls.h"
#include "tests/unit/links.h"
#include "tests/unit/phone-root.h"
#include "tests/unit/signal-scope.h"
#include "tests/unit/stop-worker.h"
#include "tests/unit/wait-for.h"

namespace {

std::deque<int> g_receive_errors;  // one for each receive to come; 0 lets it be

}  // namespace

// Takes the C library's place: only the kernel can lose its events.
extern "C" ssize_t recv(int fd, void* buffer, size_t size, int flags) {
  if (!g_receive_errors.empty()) {
    const int error = g_receive_errors.front();
    g_receive_errors.pop_front();
    errno = error;
    if (error != 0) return -1;
  }
  return recvfrom(fd, buffer, size, flags, nullptr, nullptr);
}

namespace {

using namespace std::string_literals;

constexpr char USB_STATE_FILE[] = "/sys/class/android_usb/android0/state";
constexpr char LOOP[] = "amt_handle_monitor_usb_loop ";

class UsbEvents : public context_test {
 protected:
  UsbEvents() {
    phone_root::remove(USB_STATE_FILE);
    amt_handshake_reset();
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, m_fds.data()), 0);
    const int room = 1024 * 1024;
    setsockopt(m_fds[1], SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
  }
  ~UsbEvents() override {
    g_receive_errors.clear();
    phone_root::remove(USB_STATE_FILE);
    for (const int fd : m_fds) close(fd);
  }

  void event(std::string_view bytes) {
    ASSERT_EQ(send(m_fds[1], bytes.data(), bytes.size(), MSG_DONTWAIT), static_cast<ssize_t>(bytes.size()));
  }
  // The events are numbered by their length.
  void noise(std::size_t first, std::size_t last) {
    for (std::size_t number = first; number <= last; ++number) event(std::string(number, 'n'));
  }
  void state(const char* word) { event("USB_STATE="s + word); }
  bool round() { return amt_usb_take_events(m_fds[0], m_has_lost_events); }
  bool is_treated(std::size_t number) {
    return m_log.has(LOOP + "uevent:["s + std::string(number, 'n') + "] nLen:" + std::to_string(number));
  }
  bool is_socket_empty() {
    char byte = 0;
    return recvfrom(m_fds[0], &byte, 1, MSG_DONTWAIT | MSG_PEEK, nullptr, nullptr) < 0;
  }

  std::array<int, 2> m_fds = {};
  bool m_has_lost_events = false;
};

TEST_F(UsbEvents, Burst_EachIsTreatedInOrderWithItsLines) {
  event("change@/devices\0USB_STATE=CONNECTED\0SEQNUM=1\0"s);
  state("CONFIGURED");
  EXPECT_FALSE(round());
  EXPECT_TRUE(
      m_log.has_in_a_row({LOOP + "uevent:[change@/devices] nLen:15"s, LOOP + "uevent:[USB_STATE=CONNECTED] nLen:19"s,
                          LOOP + "usb_status:[USB_STATE=CONNECTED]"s, LOOP + "get usb other status event"s,
                          LOOP + "uevent:[USB_STATE=CONFIGURED] nLen:20"s, LOOP + "usb_status:[USB_STATE=CONFIGURED]"s,
                          LOOP + "get usb CONFIGURED event"s}));
  EXPECT_EQ(g_usb_state, AMT_USB_CONFIGURED);
}

TEST_F(UsbEvents, BurstBeforeDisconnected_TheRestIsReceivedBeforeAnyIsTreated) {
  noise(1, 3);
  state("DISCONNECTED");
  noise(4, 6);
  EXPECT_TRUE(round());
  EXPECT_TRUE(is_socket_empty());
  EXPECT_TRUE(is_treated(3));
  EXPECT_FALSE(is_treated(4));
  EXPECT_EQ(g_usb_state, AMT_USB_DISCONNECTED);
}

TEST_F(UsbEvents, DisconnectedInAUsbStart_TheRestIsTreatedToo) {
  g_usb_activate = 1;
  state("DISCONNECTED");
  noise(1, 2);
  EXPECT_FALSE(round());
  EXPECT_TRUE(is_treated(2));
  state("CONFIGURED");
  EXPECT_FALSE(round());
  EXPECT_EQ(g_usb_state, AMT_USB_CONFIGURED);
}

TEST_F(UsbEvents, DisconnectedInAUsbStart_ModemThatSpeaksThenArmsNothing) {
  g_usb_activate = 1;
  state("CONFIGURED");
  state("DISCONNECTED");
  EXPECT_FALSE(round());
  EXPECT_EQ(g_usb_enumerated, 0);
  phone_root::write(USB_STATE_FILE, "DISCONNECTED\n");
  amt_handshake_modem_spoke();
  EXPECT_FALSE(m_log.has("will create timer."));
}

TEST_F(UsbEvents, MoreThanARoundHolds_AreTakenInTheNext) {
  noise(1, 39);
  state("DISCONNECTED");
  EXPECT_FALSE(round());
  EXPECT_TRUE(is_treated(32));
  EXPECT_FALSE(is_treated(33));
  EXPECT_TRUE(round());
  EXPECT_TRUE(is_treated(39));
}

TEST_F(UsbEvents, LongEvent_IsCutAtTheBuffersEnd) {
  event(std::string(2040, '\0') + "12345678cut off");
  EXPECT_FALSE(round());
  EXPECT_EQ(m_log.last(), LOOP + "uevent:[12345678] nLen:8"s);
}

TEST_F(UsbEvents, EmptyEventAndInterruption_DoNotEndTheRound) {
  event("");
  g_receive_errors = {EINTR};
  noise(1, 1);
  EXPECT_FALSE(round());
  EXPECT_TRUE(is_treated(1));
  EXPECT_EQ(m_log.lines().size(), 1u);
}

TEST_F(UsbEvents, NothingThere_LogsNothing) {
  EXPECT_FALSE(round());
  EXPECT_TRUE(m_log.lines().empty());
}

TEST_F(UsbEvents, FailedReceive_IsLoggedAfterTheEvents) {
  g_receive_errors = {0, EIO};
  noise(1, 2);
  EXPECT_FALSE(round());
  EXPECT_EQ(m_log.texts(),
            (std::vector<std::string>{LOOP + "uevent:[n] nLen:1"s, "sys call: recv() failed! errno = 5"}));
  EXPECT_FALSE(m_log.contains("were lost"));
  EXPECT_FALSE(round());
  EXPECT_TRUE(is_treated(2));
}

class LostUsbEvents : public UsbEvents {
 protected:
  LostUsbEvents() { g_receive_errors = {ENOBUFS}; }
};

TEST_F(LostUsbEvents, CableOutInTheFile_IsTakenAfterTheReceivedEvents) {
  phone_root::write(USB_STATE_FILE, "DISCONNECTED\n");
  noise(1, 2);
  state("CONNECTED");
  EXPECT_TRUE(round());
  EXPECT_FALSE(m_has_lost_events);
  EXPECT_TRUE(m_log.has_in_a_row(
      {LOOP + "get usb other status event"s, "amt_read_data_from_file()", "read content: DISCONNECTED\n",
       LOOP + "kernel events were lost, file(/sys/class/android_usb/android0/state). value: DISCONNECTED"s,
       LOOP + "usb_status:[USB_STATE=DISCONNECTED]"s, LOOP + "get usb disconnect event"s}));
}

TEST_F(LostUsbEvents, ConfiguredInTheFile_StopsTheEnumerationTimersWait) {
  phone_root::write(USB_STATE_FILE, "CONFIGURED\n");
  EXPECT_FALSE(round());
  EXPECT_EQ(g_usb_state, AMT_USB_CONFIGURED);
  EXPECT_EQ(g_usb_enumerated, 1);
}

TEST_F(LostUsbEvents, ConnectedInTheFile_IsAnotherState) {
  phone_root::write(USB_STATE_FILE, "CONNECTED\n");
  EXPECT_FALSE(round());
  EXPECT_EQ(g_usb_state, AMT_USB_OTHER);
}

TEST_F(LostUsbEvents, FileMissing_IsLoggedAndChangesNothing) {
  g_usb_state = AMT_USB_CONFIGURED;
  EXPECT_FALSE(round());
  EXPECT_EQ(g_usb_state, AMT_USB_CONFIGURED);
  EXPECT_EQ(m_log.last(), LOOP + "kernel events were lost, file("s + USB_STATE_FILE + ") cannot be read");
  EXPECT_FALSE(m_log.contains("usb_status"));
}

TEST_F(LostUsbEvents, FileEmptyOrAFolder_ChangesNothing) {
  g_usb_state = AMT_USB_CONFIGURED;
  phone_root::write(USB_STATE_FILE, "");
  EXPECT_FALSE(round());
  phone_root::remove(USB_STATE_FILE);
  phone_root::write(USB_STATE_FILE + "/x"s, "");
  g_receive_errors = {ENOBUFS};
  EXPECT_FALSE(round());
  EXPECT_EQ(g_usb_state, AMT_USB_CONFIGURED);
  EXPECT_EQ(m_log.count(LOOP + "kernel events were lost, file("s + USB_STATE_FILE + ") cannot be read"), 2u);
}

// Until the socket is empty the kernel drops events without a report.
TEST_F(LostUsbEvents, SocketStillFull_FileIsReadWhenItIsEmpty) {
  phone_root::write(USB_STATE_FILE, "DISCONNECTED\n");
  g_receive_errors.insert(g_receive_errors.end(), 31, EINTR);
  noise(1, 1);
  EXPECT_FALSE(round());
  EXPECT_TRUE(m_has_lost_events);
  EXPECT_FALSE(m_log.contains("were lost"));
  EXPECT_TRUE(round());
  EXPECT_TRUE(is_treated(1));
  EXPECT_TRUE(m_log.contains("were lost"));
}

// The monitor then waits for nothing, and the service goes on without it.
TEST_F(UsbEvents, SocketThatCannotBeHad_IsLogged) {
  const signal_scope scope;
  auto& thread = g_handle_context.m_usb_thread;
  for (const std::string call : {"socket", "bind"}) {
    const failing_call failing(call, EACCES);
    ASSERT_EQ(pub_util_start_thread(thread, amt_handle_monitor_usb_loop), 0);
    EXPECT_TRUE(wait_for([&] { return m_log.has("sys call: " + call + "() failed! errno = 13"); }));
    stop_worker(thread);
  }
}

}  // namespace
