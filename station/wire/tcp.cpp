#include "station/wire/tcp.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>

namespace {

constexpr std::string_view SCHEME = "tcp://";
constexpr int LOOK_UP_MS = 5000;
constexpr int CONNECT_MS = 5000;  // for each address of the name
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

using addresses = std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)>;

constexpr int INTERRUPTED = -1;  // beside error numbers

// Waits for the events. 0, ETIMEDOUT or INTERRUPTED.
int wait_for(int fd, short events, int milliseconds, int stop_fd) {
  std::array<pollfd, 2> fds = {{{fd, events, 0}, {stop_fd, POLLIN, 0}}};
  int ready = 0;
  do {
    ready = ::poll(fds.data(), fds.size(), milliseconds);
  } while (ready < 0 && errno == EINTR);
  if (fds[1].revents != 0) return INTERRUPTED;
  return ready == 0 ? ETIMEDOUT : 0;
}

// One look-up of a name. The system's call knows no deadline: it has a thread of its own, which is left alone when it
// takes too long, and keeps this object until it ends.
class look_up_st {
 public:
  look_up_st(std::string host, std::string port)
      : m_host(std::move(host)), m_port(std::move(port)), m_done_fd(::eventfd(0, EFD_CLOEXEC)) {}
  ~look_up_st() { ::close(m_done_fd); }
  look_up_st(const look_up_st&) = delete;
  look_up_st& operator=(const look_up_st&) = delete;

  // A result of getaddrinfo.
  int run(int flags) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_family = AF_UNSPEC;
    hints.ai_flags = flags;
    addrinfo* found = nullptr;
    m_result = ::getaddrinfo(m_host.c_str(), m_port.c_str(), &hints, &found);
    if (m_result == 0) m_found.reset(found);
    return m_result;
  }
  void run_aside() {
    run(0);
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_done_fd, &one, sizeof(one));
  }

  // For after the end.
  int result() const { return m_result; }
  const addrinfo* found() const { return m_found.get(); }
  int done_fd() const { return m_done_fd; }

 private:
  std::string m_host;
  std::string m_port;
  int m_done_fd;
  int m_result = 0;
  addresses m_found{nullptr, &::freeaddrinfo};
};

// Empty: *look_up has the addresses. Otherwise why not; *is_stopped: stop_fd became readable.
std::string find(const std::shared_ptr<look_up_st>& look_up, int stop_fd, bool* is_stopped) {
  if (look_up->run(AI_NUMERICHOST) == 0) return {};
  std::thread([look_up] { look_up->run_aside(); }).detach();
  const int waited = wait_for(look_up->done_fd(), POLLIN, LOOK_UP_MS, stop_fd);
  *is_stopped = waited == INTERRUPTED;
  if (*is_stopped) return "interrupted";
  if (waited != 0) return "the name could not be looked up in time";
  return look_up->result() == 0 ? "" : ::gai_strerror(look_up->result());
}

// 0, or the error number, or INTERRUPTED.
int finish_connect(int fd, int stop_fd) {
  const int waited = wait_for(fd, POLLOUT, CONNECT_MS, stop_fd);
  if (waited != 0) return waited;
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
  const auto look_up = std::make_shared<look_up_st>(host, port);
  bool is_stopped = false;
  *why = find(look_up, stop_fd, &is_stopped);
  if (!why->empty()) return is_stopped ? STATION_INTERRUPTED : STATION_NO_PORT;
  int error = 0;
  for (const addrinfo* address = look_up->found(); address != nullptr; address = address->ai_next) {
    error = try_address(*address, stop_fd, fd);
    if (error == 0) return STATION_OK;
    if (error == INTERRUPTED) break;
  }
  *why = error == INTERRUPTED ? "interrupted" : strerror(error);
  return error == INTERRUPTED ? STATION_INTERRUPTED : STATION_NO_PORT;
}
