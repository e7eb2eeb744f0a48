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

std::string capture_source_st::open(const std::string& path, int standard_input) {
  const bool is_input = path == "-";
  m_path = is_input ? "standard input" : path;
  m_fd = is_input ? standard_input : ::open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC);
  if (m_fd < 0) return fmt::format("{}: {}", m_path, std::strerror(errno));
  m_is_owned = !is_input;
  struct stat status {};
  m_is_file = ::fstat(m_fd, &status) == 0 && S_ISREG(status.st_mode);
  return {};
}

capture_bytes_en capture_source_st::read(std::span<char> room, bool follows, int stop_fd, std::size_t* count) {
  *count = 0;
  for (;;) {
    std::array<pollfd, 2> fds = {{{m_fd, POLLIN, 0}, {stop_fd, POLLIN, 0}}};
    if (::poll(fds.data(), fds.size(), -1) < 0 && errno != EINTR) break;
    if (fds[1].revents != 0) return capture_bytes_en::INTERRUPTED;
    if (fds[0].revents == 0) continue;
    const ssize_t got = ::read(m_fd, room.data(), room.size());
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (got < 0) break;
    *count = static_cast<std::size_t>(got);
    if (got > 0) return capture_bytes_en::SOME;
    if (!follows || !m_is_file) return capture_bytes_en::END;
    pollfd stop{stop_fd, POLLIN, 0};
    return ::poll(&stop, 1, LOOK_AGAIN_MS) > 0 ? capture_bytes_en::INTERRUPTED : capture_bytes_en::NONE_YET;
  }
  m_error = fmt::format("{}: {}", m_path, std::strerror(errno));
  return capture_bytes_en::FAILED;
}
