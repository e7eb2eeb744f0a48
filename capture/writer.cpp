#include "capture/writer.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "capture/line.h"

namespace {

template <typename UNIT, typename CLOCK>
std::int64_t now() {
  return std::chrono::duration_cast<UNIT>(CLOCK::now().time_since_epoch()).count();
}

// A file whose last writer met a full disk may end within a line.
bool ends_within_line(int fd, off_t size) {
  char last = '\n';
  return size > 0 && ::pread(fd, &last, 1, size - 1) == 1 && last != '\n';
}

}  // namespace

capture_writer_st::~capture_writer_st() {
  if (m_fd >= 0) ::close(m_fd);
}

std::string capture_writer_st::open(const std::string& path) {
  m_path = path;
  // Without waiting: a pipe that nobody reads is no file.
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
  if (fd < 0) return fmt::format("cannot write the capture {}: {}", path, std::strerror(errno));
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(fd);
    return fmt::format("cannot write the capture {}: not a file", path);
  }
  m_is_line_open = ends_within_line(fd, status.st_size);
  m_fd = fd;
  return {};
}

void capture_writer_st::write(capture_direction_en direction, capture_link_en link, const std::string& phone,
                              std::span<const std::uint8_t> bytes) {
  if (m_fd < 0) return;
  capture_entry_st entry;
  entry.m_direction = direction;
  entry.m_link = link;
  entry.m_phone = phone;
  const std::lock_guard lock(m_lock);
  entry.m_time_us = now<std::chrono::microseconds, std::chrono::system_clock>();
  entry.m_monotonic_ns = now<std::chrono::nanoseconds, std::chrono::steady_clock>();
  while (!bytes.empty()) {
    const auto part = bytes.first(std::min(bytes.size(), CAPTURE_MOST_BYTES));
    entry.m_bytes.assign(part.begin(), part.end());
    append(capture_line(entry) + '\n');
    bytes = bytes.subspan(part.size());
  }
}

void capture_writer_st::append(std::string line) {
  if (m_is_line_open) line.insert(0, 1, '\n');
  ssize_t count = 0;
  do {
    count = ::write(m_fd, line.data(), line.size());
  } while (count < 0 && errno == EINTR);
  if (count == static_cast<ssize_t>(line.size())) {
    m_is_line_open = false;
    return;
  }
  const char* why = count < 0 ? std::strerror(errno) : "no room is left";
  m_is_line_open = m_is_line_open || count > 0;
  if (m_failure.empty()) m_failure = fmt::format("the capture {} lacks lines: {}", m_path, why);
}

std::string capture_writer_st::failure() const {
  const std::lock_guard lock(m_lock);
  return m_failure;
}
