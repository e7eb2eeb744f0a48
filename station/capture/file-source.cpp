#include "station/capture/file-source.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace {

constexpr int LOOK_AGAIN_MS = 100;

}  // namespace

capture_source_st::~capture_source_st() {
  if (m_is_owned) ::close(m_fd);
}

// Without waiting for whoever writes to a pipe: an interrupt would not end that.
bool capture_source_st::reopen() {
  const int fd = ::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return false;
  if (m_is_owned) ::close(m_fd);
  m_fd = fd;
  m_is_owned = true;
  struct stat status {};
  m_is_file = ::fstat(m_fd, &status) == 0 && S_ISREG(status.st_mode);
  return true;
}

std::string capture_source_st::open(const std::string& path, int standard_input, bool follows) {
  const bool is_input = path == "-";
  m_path = is_input ? "standard input" : path;
  m_follows = follows && !is_input;
  if (is_input) m_fd = standard_input;
  if (is_input ? m_fd >= 0 : reopen()) return {};
  return m_follows && errno == ENOENT ? "" : fmt::format("{}: {}", m_path, std::strerror(errno));
}

// Whether another file has this name now, or this one is shorter than what was read of it.
bool capture_source_st::has_changed() const {
  struct stat own {};
  struct stat named {};
  if (::fstat(m_fd, &own) != 0 || ::stat(m_path.c_str(), &named) != 0) return false;
  const bool is_other = own.st_ino != named.st_ino || own.st_dev != named.st_dev;
  return is_other || own.st_size < ::lseek(m_fd, 0, SEEK_CUR);
}

capture_bytes_en capture_source_st::read(std::span<char> room, int stop_fd, std::size_t* count) {
  *count = 0;
  for (;;) {
    // A descriptor below 0 is passed over.
    std::array<pollfd, 2> fds = {{{m_fd, POLLIN, 0}, {stop_fd, POLLIN, 0}}};
    if (::poll(fds.data(), fds.size(), m_fd < 0 ? LOOK_AGAIN_MS : -1) < 0 && errno != EINTR) break;
    if (fds[1].revents != 0) return capture_bytes_en::INTERRUPTED;
    if (m_fd < 0 && !reopen()) return capture_bytes_en::NONE_YET;
    if (fds[0].revents == 0) continue;
    const ssize_t got = ::read(m_fd, room.data(), room.size());
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (got < 0) break;
    *count = static_cast<std::size_t>(got);
    if (got > 0) return capture_bytes_en::SOME;
    if (!m_follows || !m_is_file) return capture_bytes_en::END;
    if (has_changed() && reopen()) return capture_bytes_en::ANEW;
    pollfd stop{stop_fd, POLLIN, 0};
    return ::poll(&stop, 1, LOOK_AGAIN_MS) > 0 ? capture_bytes_en::INTERRUPTED : capture_bytes_en::NONE_YET;
  }
  m_error = fmt::format("{}: {}", m_path, std::strerror(errno));
  return capture_bytes_en::FAILED;
}
