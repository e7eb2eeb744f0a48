#include "station/web/stream.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace {

constexpr std::chrono::seconds READ_TIME{5};       // for a request as a whole
constexpr std::chrono::seconds WRITE_TIME{3};      // for a frame: who reads more slowly is not served
constexpr std::chrono::milliseconds LOOK_UP{100};  // how soon the end of the server is seen
constexpr std::size_t LONGEST_REQUEST = 16'384;

}  // namespace

bool web_stream_st::wait(short events, clock::time_point deadline) const {
  while (!m_is_over() && clock::now() < deadline) {
    pollfd item{m_socket, events, 0};
    const int count = ::poll(&item, 1, static_cast<int>(LOOK_UP.count()));
    if (count > 0) return (item.revents & (events | POLLHUP)) != 0;
    if (count < 0 && errno != EINTR) return false;
  }
  return false;
}

bool web_stream_st::is_readable() const {
  return m_taken < LONGEST_REQUEST && wait(POLLIN, m_begin + READ_TIME);
}

bool web_stream_st::is_writable() const {
  return wait(POLLOUT, clock::now() + WRITE_TIME);
}

ssize_t web_stream_st::read(char* data, std::size_t size) {
  if (!is_readable()) return -1;
  const ssize_t count = ::recv(m_socket, data, std::min(size, LONGEST_REQUEST - m_taken), 0);
  if (count > 0) m_taken += static_cast<std::size_t>(count);
  return count;
}

ssize_t web_stream_st::write(const char* data, std::size_t size) {
  const auto deadline = clock::now() + WRITE_TIME;
  std::size_t sent = 0;
  while (sent < size) {
    const ssize_t count = ::send(m_socket, data + sent, size - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count > 0) sent += static_cast<std::size_t>(count);
    const bool is_full = count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
    if (count <= 0 && !is_full) return -1;
    if (is_full && !wait(POLLOUT, deadline)) return -1;
    if (clock::now() >= deadline && sent < size) return -1;
  }
  return static_cast<ssize_t>(size);
}

// Nothing here asks for them.
void web_stream_st::get_remote_ip_and_port(std::string& address, int& port) const {
  address.clear();
  port = 0;
}

void web_stream_st::get_local_ip_and_port(std::string& address, int& port) const {
  address.clear();
  port = 0;
}
