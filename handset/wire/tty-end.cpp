#include "handset/wire/tty-end.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace handset {

namespace {

using time_point = std::chrono::steady_clock::time_point;

time_point deadline_of(std::chrono::milliseconds within) {
  return std::chrono::steady_clock::now() + within;
}

// What poll reports for fd, 0 when the deadline comes first.
short wait_ready(int fd, short events, time_point deadline) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    pollfd item{fd, events, 0};
    const int ready = ::poll(&item, 1, static_cast<int>(std::max<long>(left, 0)));
    if (ready > 0) return item.revents;
    if (ready == 0 || errno != EINTR) return 0;
  }
}

}  // namespace

// Adds what can be read to m_read_ahead; waits for something until the deadline. False when nothing more will come.
bool tty_end::fill(time_point deadline) {
  std::array<char, 4096> buffer;
  for (;;) {
    const auto count = ::read(m_master.get(), buffer.data(), buffer.size());
    if (count > 0) {
      m_read_ahead.append(buffer.data(), static_cast<std::size_t>(count));
      return true;
    }
    if (count == 0 || (errno != EAGAIN && errno != EINTR)) return false;
    if (errno == EAGAIN && wait_ready(m_master.get(), POLLIN, deadline) == 0) return false;
  }
}

std::string tty_end::take(std::size_t count) {
  std::string taken = m_read_ahead.substr(0, count);
  m_read_ahead.erase(0, count);
  return taken;
}

std::string tty_end::read_exactly(std::size_t count, std::chrono::milliseconds within) {
  const auto deadline = deadline_of(within);
  while (m_read_ahead.size() < count && fill(deadline)) {
  }
  return take(count);
}

std::string tty_end::read_until(std::string_view text, std::chrono::milliseconds within) {
  const auto deadline = deadline_of(within);
  auto found = m_read_ahead.find(text);
  while (found == m_read_ahead.npos && fill(deadline)) found = m_read_ahead.find(text);
  return take(found == m_read_ahead.npos ? found : found + text.size());
}

std::string tty_end::read_pending() {
  const time_point now{};
  while (fill(now)) {
  }
  return take(m_read_ahead.npos);
}

bool tty_end::write_all(std::string_view bytes, std::chrono::milliseconds within) {
  const auto deadline = deadline_of(within);
  while (!bytes.empty()) {
    const auto count = ::write(m_master.get(), bytes.data(), bytes.size());
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    if (count > 0 || (count < 0 && errno == EINTR)) continue;
    if (count < 0 && errno != EAGAIN) return false;
    if (wait_ready(m_master.get(), POLLOUT, deadline) == 0) return false;
  }
  return true;
}

bool tty_end::wait_hangup(std::chrono::milliseconds within) const {
  return (wait_ready(m_master.get(), 0, deadline_of(within)) & POLLHUP) != 0;
}

termios tty_end::attributes() const {
  // For a master the kernel returns the attributes of the other side.
  termios attributes{};
  tcgetattr(m_master.get(), &attributes);
  return attributes;
}

void tty_end::attach(pub_fd master) {
  m_master = std::move(master);
  m_read_ahead.clear();
}

void tty_end::detach() {
  m_master.reset();
}

}  // namespace handset
