#include "amt/amt-handle/service/usb-monitor.h"

#include <linux/netlink.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <tuple>

#include "amt/amt-handle/context/handle-context.h"
#include "amt/amt-handle/context/log-module.h"
#include "amt/amt-handle/context/state.h"
#include "amt/amt-handle/life/lifetime.h"
#include "amt/amt-handle/service/handshake.h"
#include "pub/util/io.h"
#include "pub/util/signals.h"
#include "pub/util/text.h"
#include "pub/util/thread.h"

namespace {

constexpr std::size_t EVENT_SIZE = 2048;
constexpr int RECEIVE_BUFFER = 1024;
constexpr std::uint32_t WAIT_MS = 100;

// Nothing is checked: a socket that never delivers leaves the monitor waiting, and the service unharmed.
int open_event_socket() {
  const int fd = socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT);
  sockaddr_nl address = {};
  address.nl_family = AF_NETLINK;
  address.nl_pid = static_cast<std::uint32_t>(getpid());
  address.nl_groups = 1;
  setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &RECEIVE_BUFFER, sizeof RECEIVE_BUFFER);
  std::ignore = bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
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

// Returns when the cable was pulled in a start without -u.
void watch(int fd) {
  for (;;) {
    std::array<char, EVENT_SIZE> event = {};
    if (pub_util_wait(fd, POLLIN, WAIT_MS) <= 0) continue;
    const ssize_t count = recv(fd, event.data(), event.size(), MSG_DONTWAIT);
    if (count > 0) take_event(std::span(event).first(static_cast<std::size_t>(count)));
    if (g_usb_activate == 0 && g_usb_state == AMT_USB_DISCONNECTED) return;
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

void amt_handle_monitor_usb_loop() {
  pub_log_entry(k_log);
  pub_util_install_handler(SIGUSR1, pub_util_handle_thread_signal);
  {
    const pub_fd socket(open_event_socket());
    watch(socket.get());
    LOG_LINE("amt_handle_monitor_usb_loop get usb disconnect event, will exit amt service");
  }
  pub_util_clear_thread(g_handle_context.m_usb_thread);
  amt_handle_end_service(EXIT_SUCCESS);
}
