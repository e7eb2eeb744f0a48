#include "amt/amt-handle/service/usb-monitor.h"

#include <linux/netlink.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/life/lifetime.h"
#include "amt/amt-handle/service/handshake.h"
#include "amt/amt-record/amt1-flag.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/signals.h"
#include "pub/util/text.h"
#include "pub/util/thread.h"

namespace {

constexpr std::size_t EVENT_SIZE = 2048;
constexpr std::size_t ROUND_SIZE = 32;
constexpr int QUEUE_BYTES = 256 * 1024;
constexpr std::uint32_t WAIT_MS = 100;

struct event_st {
  std::size_t m_count;  // bytes that count
  std::array<char, EVENT_SIZE> m_bytes;
};

// The events of one round. The monitor's alone, and too large for its stack.
std::array<event_st, ROUND_SIZE> g_events;

// The kernel reports every device's events, in bursts. Only a privileged process may pass the system's limit.
void enlarge_queue(int fd) {
  if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &QUEUE_BYTES, sizeof QUEUE_BYTES) == 0) return;
  setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &QUEUE_BYTES, sizeof QUEUE_BYTES);
}

// A failure is only logged: a socket that never delivers leaves the monitor waiting, and the service unharmed.
int open_event_socket() {
  const int fd = socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT);
  sockaddr_nl address = {};
  address.nl_family = AF_NETLINK;
  address.nl_pid = static_cast<std::uint32_t>(getpid());
  address.nl_groups = 1;
  if (fd < 0) {
    pub_log_sys_call(k_log, "socket");
    return fd;
  }
  enlarge_queue(fd);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) pub_log_sys_call(k_log, "bind");
  return fd;
}

void take_usb_state(std::string_view status) {
  LOG_LINE("amt_handle_monitor_usb_loop usb_status:[%.*s]", static_cast<int>(status.size()), status.data());
  if (pub_text_contains(status, "DISCONNECTED")) {
    g_usb_state = AMT_USB_DISCONNECTED;
    LOG_LINE("amt_handle_monitor_usb_loop get usb disconnect event");
    amt_handshake_usb_disconnected();
  } else if (pub_text_contains(status, "CONFIGURED")) {
    g_usb_state = AMT_USB_CONFIGURED;
    LOG_LINE("amt_handle_monitor_usb_loop get usb CONFIGURED event");
    amt_handshake_usb_configured();
  } else {
    g_usb_state = AMT_USB_OTHER;
    LOG_LINE("amt_handle_monitor_usb_loop get usb other status event");
  }
}

void take_event(std::span<const char> event) {
  while (!event.empty()) {
    const std::string_view line = amt_uevent_next_string(event);
    LOG_LINE("amt_handle_monitor_usb_loop uevent:[%.*s] nLen:%d", static_cast<int>(line.size()), line.data(),
             static_cast<int>(line.size()));
    if (pub_text_contains(line, "USB_STATE")) return take_usb_state(line);
  }
}

// What one round found on the socket.
struct round_st {
  std::size_t m_events = 0;
  bool m_is_drained = false;  // nothing is left on the socket
  int m_error = 0;            // of a receive that failed
};

// One receive; false when the round's receiving is over.
bool receive_event(int fd, round_st& round, bool& has_lost_events) {
  event_st& event = g_events[round.m_events];
  const ssize_t count = recv(fd, event.m_bytes.data(), event.m_bytes.size(), MSG_DONTWAIT);
  if (count > 0) {
    event.m_count = static_cast<std::size_t>(count);
    ++round.m_events;
  }
  if (count >= 0 || errno == EINTR) return true;
  if (errno == ENOBUFS) {
    has_lost_events = true;
    return true;
  }
  round.m_is_drained = errno == EAGAIN;
  round.m_error = round.m_is_drained ? 0 : errno;
  return false;
}

// Nothing is logged or acted on before the socket was emptied: that takes time, in which its queue would overrun.
round_st receive_events(int fd, bool& has_lost_events) {
  round_st round;
  for (std::size_t receives = 0; receives < ROUND_SIZE; ++receives) {
    if (!receive_event(fd, round, has_lost_events)) break;
  }
  return round;
}

bool is_cable_pulled() {
  return g_usb_activate == 0 && g_usb_state == AMT_USB_DISCONNECTED;
}

// Events were lost, perhaps the one that counts: the state is taken from its file, as if its event had come.
void take_state_from_file() {
  char content[AMT_CONTENT_SIZE];
  if (amt_read_data_from_file(content, AMT_USB_STATE_FILE) != ERR_NONE) {
    LOG_LINE("amt_handle_monitor_usb_loop kernel events were lost, file(%s) cannot be read", AMT_USB_STATE_FILE);
    return;
  }
  content[std::strcspn(content, "\n")] = '\0';
  LOG_LINE("amt_handle_monitor_usb_loop kernel events were lost, file(%s). value: %s", AMT_USB_STATE_FILE, content);
  char status[AMT_CONTENT_SIZE + 16];
  std::snprintf(status, sizeof status, "USB_STATE=%s", content);
  take_usb_state(status);
}

// A PC that has hung up is noticed by its reader, unless that one is held up in a write to the modem.
class pc_watch {
 public:
  bool is_gone() {
    pollfd pc = {g_handle_context.m_fd_pc, 0, 0};
    const bool has_hung_up = pc.fd > 0 && poll(&pc, 1, 0) == 1 && (pc.revents & POLLHUP) != 0;
    m_rounds = has_hung_up ? m_rounds + 1 : 0;
    return m_rounds > READERS_ROUNDS;
  }

 private:
  static constexpr int READERS_ROUNDS = 10;
  int m_rounds = 0;
};

// Returns when the service is to end.
void watch(int fd) {
  bool has_lost_events = false;
  pc_watch pc;
  for (;;) {
    if (pc.is_gone()) {
      LOG_LINE("amt_handle_monitor_usb_loop PC link is gone, will exit amt service");
      return;
    }
    // After a loss a round is due even when no event follows.
    if (pub_util_wait(fd, POLLIN, WAIT_MS) <= 0 && !has_lost_events) continue;
    if (amt_usb_take_events(fd, has_lost_events)) {
      LOG_LINE("amt_handle_monitor_usb_loop get usb disconnect event, will exit amt service");
      return;
    }
  }
}

}  // namespace

std::string_view amt_uevent_next_string(std::span<const char>& rest) {
  const auto end = std::find(rest.begin(), rest.end(), '\0');
  const auto length = static_cast<std::size_t>(end - rest.begin());
  const std::string_view text(rest.data(), length);
  rest = rest.subspan(std::min(length + 1, rest.size()));
  return text;
}

bool amt_usb_take_events(int fd, bool& has_lost_events) {
  const round_st round = receive_events(fd, has_lost_events);
  for (const event_st& event : std::span(g_events).first(round.m_events)) {
    take_event(std::span(event.m_bytes).first(event.m_count));
    if (is_cable_pulled()) return true;
  }
  // The kernel goes on losing events until the queue is empty, and does not report that again: the file counts then.
  if (has_lost_events && round.m_is_drained) {
    has_lost_events = false;
    take_state_from_file();
  }
  if (round.m_error != 0) {
    errno = round.m_error;
    pub_log_sys_call(k_log, "recv");
    pub_util_sleep_ms(WAIT_MS);  // a failure that stays must not flood the log
  }
  return is_cable_pulled();
}

void amt_handle_monitor_usb_loop() {
  pub_log_entry(k_log);
  pub_util_install_handler(SIGUSR1, pub_util_handle_thread_signal);
  {
    const pub_fd socket(open_event_socket());
    watch(socket.get());
  }
  pub_util_clear_thread(g_handle_context.m_usb_thread);
  amt_handle_end_service(EXIT_SUCCESS);
}
