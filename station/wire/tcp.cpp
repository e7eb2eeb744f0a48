#include "station/wire/tcp.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

namespace {

constexpr std::string_view SCHEME = "tcp://";
constexpr int CONNECT_MS = 5000;
// A machine that loses its power says nothing. So long without a sign of it, and the line counts as gone.
constexpr int SILENCE_MS = 10000;

// "host:port", "[::1]:port"; returns whether the text has that form.
bool split(std::string text, std::string* host, std::string* port) {
  text.erase(0, SCHEME.size());
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon + 1 == text.size()) return false;
  *port = text.substr(colon + 1);
  *host = text.substr(0, colon);
  const bool is_bracketed = host->starts_with('[') && host->ends_with(']');
  if (is_bracketed) *host = host->substr(1, host->size() - 2);
  return !host->empty() && (is_bracketed || host->find(':') == std::string::npos);
}

void set_option(int fd, int level, int option, int value) {
  // Without one of these a dead machine is noticed later, no more.
  [[maybe_unused]] const int set = ::setsockopt(fd, level, option, &value, sizeof(value));
}

void tune(int fd) {
  set_option(fd, IPPROTO_TCP, TCP_NODELAY, 1);
  set_option(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
  set_option(fd, IPPROTO_TCP, TCP_KEEPIDLE, 2);
  set_option(fd, IPPROTO_TCP, TCP_KEEPINTVL, 2);
  set_option(fd, IPPROTO_TCP, TCP_KEEPCNT, 4);
  set_option(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, SILENCE_MS);
}

// 0, or the error number; -1: interrupted.
int finish_connect(int fd, int stop_fd) {
  std::array<pollfd, 2> fds = {{{fd, POLLOUT, 0}, {stop_fd, POLLIN, 0}}};
  int ready = 0;
  do {
    ready = ::poll(fds.data(), fds.size(), CONNECT_MS);
  } while (ready < 0 && errno == EINTR);
  if (fds[1].revents != 0) return -1;
  if (ready == 0) return ETIMEDOUT;
  int error = 0;
  socklen_t size = sizeof(error);
  return ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

int try_address(const addrinfo& address, int stop_fd, int* fd) {
  *fd = ::socket(address.ai_family, address.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, address.ai_protocol);
  if (*fd < 0) return errno;
  tune(*fd);
  int error = ::connect(*fd, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
  if (error == EINPROGRESS) error = finish_connect(*fd, stop_fd);
  if (error == 0) return 0;
  ::close(*fd);
  *fd = -1;
  return error;
}

}  // namespace

bool station_is_tcp(const std::string& path) {
  return path.starts_with(SCHEME);
}

station_exit_en station_connect(const std::string& path, int stop_fd, int* fd, std::string* why) {
  std::string host;
  std::string port;
  if (!split(path, &host, &port)) {
    *why = "must be tcp://HOST:PORT";
    return STATION_NO_PORT;
  }
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_family = AF_UNSPEC;
  addrinfo* found = nullptr;
  if (const int error = ::getaddrinfo(host.c_str(), port.c_str(), &hints, &found); error != 0) {
    *why = ::gai_strerror(error);
    return STATION_NO_PORT;
  }
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
  int error = 0;
  for (const addrinfo* address = found; address != nullptr; address = address->ai_next) {
    error = try_address(*address, stop_fd, fd);
    if (error == 0) return STATION_OK;
    if (error < 0) break;
  }
  *why = error < 0 ? "interrupted" : strerror(error);
  return error < 0 ? STATION_INTERRUPTED : STATION_NO_PORT;
}
