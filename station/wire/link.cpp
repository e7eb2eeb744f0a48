#include "station/wire/link.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>

#include "station/wire/tcp.h"

namespace {

struct speed_st {
  unsigned m_baud;
  speed_t m_speed;
};

constexpr speed_st SPEEDS[] = {
    {9600, B9600},     {19200, B19200},   {38400, B38400},   {57600, B57600},     {115200, B115200},
    {230400, B230400}, {460800, B460800}, {921600, B921600}, {3000000, B3000000},
};

const speed_st* find_speed(unsigned baud) {
  const auto* row = std::ranges::find(SPEEDS, baud, &speed_st::m_baud);
  return row == std::end(SPEEDS) ? nullptr : row;
}

// For poll: how long until the deadline, rounded up so that a wait never ends early.
int milliseconds_until(station_time deadline) {
  if (deadline == station_time::max()) return -1;
  const auto left = deadline - std::chrono::steady_clock::now();
  if (left <= left.zero()) return 0;
  return static_cast<int>(std::min<std::int64_t>(std::chrono::ceil<std::chrono::milliseconds>(left).count(), INT_MAX));
}

// The mark is a control character that Linux has no use for and that every program leaves as it is.
constexpr std::size_t MARK_PLACE = VDISCARD;
constexpr cc_t MARK_BASE = 0xD0;
constexpr cc_t UNMARKED = 0x0F;  // as a fresh terminal has it

station_doubt_en doubt_of(const termios& line) {
  const cc_t mark = line.c_cc[MARK_PLACE];
  const bool is_mark = mark >= MARK_BASE && mark < MARK_BASE + static_cast<cc_t>(station_doubt_en::UNKNOWN);
  return is_mark ? static_cast<station_doubt_en>(mark - MARK_BASE) : station_doubt_en::UNKNOWN;
}

bool is_later(int error_number) {
  return error_number == EAGAIN || error_number == EINTR;
}

}  // namespace

bool station_is_baud(unsigned baud) {
  return find_speed(baud) != nullptr;
}

station_link_st::~station_link_st() {
  close();
}

void station_link_st::close() {
  if (m_fd < 0) return;
  // A pseudo-terminal keeps the mark even after the last close, and would refuse the next program.
  if (m_is_exclusive) ::ioctl(m_fd, TIOCNXCL);
  // The line stays raw: with the echo of a fresh terminal, what the phone still sends would come back to it as
  // requests.
  ::close(m_fd);
  m_fd = -1;
  m_is_exclusive = false;
  m_is_socket = false;
}

station_exit_en station_link_st::fail(station_exit_en code, const std::string& why) {
  m_error = fmt::format("{}: {}", m_path, why);
  return code;
}

station_exit_en station_link_st::gone(int error_number) {
  return fail(STATION_PORT_GONE, error_number == 0 ? "the port went away (the other side hung up)"
                                                   : fmt::format("the port went away ({})", strerror(error_number)));
}

station_exit_en station_link_st::open(const std::string& path, unsigned baud) {
  close();
  m_path = path;
  if (station_is_tcp(path)) return connect();
  m_fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (m_fd < 0 && errno == EBUSY) return fail(STATION_PORT_IN_USE, "another program uses the port");
  if (m_fd < 0) return fail(STATION_NO_PORT, strerror(errno));
  station_exit_en result = take();
  if (result == STATION_OK) result = set_raw(baud);
  if (result != STATION_OK) close();
  return result;
}

// The machine that serves the line keeps others out, and sets its speed. The line has no place for a mark there, so the
// phone may always owe an answer.
station_exit_en station_link_st::connect() {
  std::string why;
  const station_exit_en connected = station_connect(m_path, m_stop_fd, &m_fd, &why);
  if (connected != STATION_OK) return fail(connected, why);
  m_is_socket = true;
  m_doubt = station_doubt_en::PHONE;
  return STATION_OK;
}

// The lock keeps other stations out. The exclusive mark keeps out every program that does not know the lock.
station_exit_en station_link_st::take() {
  if (::isatty(m_fd) == 0) return fail(STATION_NO_PORT, "not a terminal");
  if (::flock(m_fd, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return fail(STATION_PORT_IN_USE, "another program uses the port");
    return fail(STATION_NO_PORT, fmt::format("cannot be locked: {}", strerror(errno)));
  }
  if (::ioctl(m_fd, TIOCEXCL) != 0) return fail(STATION_NO_PORT, fmt::format("cannot be taken: {}", strerror(errno)));
  m_is_exclusive = true;
  return STATION_OK;
}

station_exit_en station_link_st::set_raw(unsigned baud) {
  termios line{};
  if (::tcgetattr(m_fd, &line) != 0) return fail(STATION_NO_PORT, fmt::format("tcgetattr: {}", strerror(errno)));
  m_doubt = doubt_of(line);
  ::cfmakeraw(&line);
  line.c_cflag |= CLOCAL | CREAD;
  line.c_cc[VMIN] = 1;  // a read without bytes gives EAGAIN, so 0 means hung up
  line.c_cc[VTIME] = 0;
  if (const speed_st* speed = find_speed(baud)) ::cfsetspeed(&line, speed->m_speed);
  if (::tcsetattr(m_fd, TCSANOW, &line) != 0)
    return fail(STATION_NO_PORT, fmt::format("tcsetattr: {}", strerror(errno)));
  return STATION_OK;
}

// A failure here is that of a port that is gone, which the next read or write reports.
void station_link_st::set_doubt(station_doubt_en doubt) {
  if (doubt == m_doubt) return;
  m_doubt = doubt;
  termios line{};
  if (::tcgetattr(m_fd, &line) != 0) return;
  const bool is_marked = doubt != station_doubt_en::UNKNOWN;
  line.c_cc[MARK_PLACE] = is_marked ? static_cast<cc_t>(MARK_BASE + static_cast<cc_t>(doubt)) : UNMARKED;
  ::tcsetattr(m_fd, TCSANOW, &line);
}

station_exit_en station_link_st::wait(short events, station_time deadline, bool* is_hung_up) {
  for (;;) {
    std::array<pollfd, 2> fds = {{{m_fd, events, 0}, {m_stop_fd, POLLIN, 0}}};  // a negative descriptor is left out
    const int ready = ::poll(fds.data(), fds.size(), milliseconds_until(deadline));
    if (ready < 0 && errno != EINTR) return gone(errno);
    if (ready > 0 && fds[1].revents != 0) return fail(STATION_INTERRUPTED, "interrupted");
    if (ready > 0) {
      *is_hung_up = (fds[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
      return STATION_OK;
    }
    if (std::chrono::steady_clock::now() >= deadline) return fail(STATION_NO_ANSWER, "no answer in the time given");
  }
}

station_exit_en station_link_st::write_all(std::span<const std::uint8_t> bytes, station_time deadline) {
  while (!bytes.empty()) {
    bool is_hung_up = false;
    const station_exit_en waited = wait(POLLOUT, deadline, &is_hung_up);
    if (waited == STATION_NO_ANSWER) {
      return fail(waited, fmt::format("the port did not take the last {} bytes in the time given", bytes.size()));
    }
    if (waited != STATION_OK) return waited;
    std::size_t count = 0;
    const station_exit_en written = write_some(bytes, &count);
    if (written != STATION_OK) return written;
    if (count == 0 && is_hung_up) return gone(0);
    bytes = bytes.subspan(count);
  }
  return STATION_OK;
}

station_exit_en station_link_st::write_some(std::span<const std::uint8_t> bytes, std::size_t* count) {
  // A socket that was closed would end the program with a signal.
  const ssize_t written =
      m_is_socket ? ::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) : ::write(m_fd, bytes.data(), bytes.size());
  *count = written > 0 ? static_cast<std::size_t>(written) : 0;
  if (written < 0 && !is_later(errno)) return gone(errno);
  if (written > 0) m_capture.write(capture_direction_en::SENT, bytes.first(*count));
  return STATION_OK;
}

station_exit_en station_link_st::read_some(std::span<std::uint8_t> room, station_time deadline, std::size_t* count) {
  *count = 0;
  for (;;) {
    bool is_hung_up = false;
    const station_exit_en waited = wait(POLLIN, deadline, &is_hung_up);
    if (waited != STATION_OK) return waited;
    const ssize_t got = ::read(m_fd, room.data(), room.size());
    if (got > 0) {
      *count = static_cast<std::size_t>(got);
      m_capture.write(capture_direction_en::RECEIVED, room.first(*count));
      return STATION_OK;
    }
    if (got == 0) return gone(0);
    if (!is_later(errno)) return gone(errno);
    if (is_hung_up) return gone(0);
  }
}
