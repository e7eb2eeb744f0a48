#include "pub/util/device.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/vfs.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <tuple>
#include <utility>

#include "pub/cfg/cfg.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/log-module.h"

namespace {

struct line_speed_st {
  std::int32_t m_up_to;
  speed_t m_code;
  const char* m_name;
};

constexpr line_speed_st LINE_SPEEDS[] = {
    {115200, B115200, "B115200"},
    {230400, B230400, "B230400"},
    {460800, B460800, "B460800"},
    {INT32_MAX, B921600, "B921600"},
};

const line_speed_st& line_speed(std::int32_t speed) {
  const line_speed_st* row = LINE_SPEEDS;
  while (speed > row->m_up_to) ++row;
  return *row;
}

void log_open_failure(const char* path, int error) {
  errno = error;
  pub_log_failure({k_log, "pub_util_try_to_open_device"}, ERR_SYSTEM, "open device \"%s\" fail: %d - %s", path, error,
                  std::strerror(error));
}

bool is_bad_device(const pub_log_site& site, const pub_shared_fd* fd, const char* path) {
  return pub_log_bad_arguments(site, {fd == nullptr, path == nullptr, path != nullptr && *path == '\0'});
}

// An open that does not wait, also not for the carrier of a line that has none. -1 and errno on failure.
pub_fd open_at_once(const char* path, int flags) {
  pub_fd fd(pub_util_open(path, flags | O_NONBLOCK));
  if (fd.get() <= 0 || (flags & O_NONBLOCK) != 0) return fd;
  const int opened = fcntl(fd.get(), F_GETFL);
  if (opened < 0 || fcntl(fd.get(), F_SETFL, opened & ~O_NONBLOCK) < 0) {
    const int error = errno;
    fd.reset();
    errno = error;
  }
  return fd;
}

// The attempts of both openers: the new descriptor, or none.
pub_fd open_with_tries(const char* path, int flags, std::uint32_t tries, std::uint32_t pause_ms) {
  LOG_LINE("begin to check if can open device \"%s\"", path);
  std::uint32_t attempt = 0;
  for (;;) {
    LOG_LINE("(%ld/%ld)try to open device \"%s\"", static_cast<long>(attempt), static_cast<long>(tries), path);
    pub_fd fd = open_at_once(path, flags);
    if (fd.get() > 0) {
      LOG_LINE("open device \"%s\" successfully", path);
      return fd;
    }
    const int error = errno;
    log_open_failure(path, error);
    pub_util_sleep_ms(pause_ms);
    if (++attempt >= tries) {
      log_open_failure(path, error);
      return pub_fd();
    }
  }
}

bool set_speed(termios& attributes, speed_t speed) {
  if (cfsetispeed(&attributes, speed) != 0) {
    pub_log_sys_call(k_log, "cfsetispeed");
    pub_log_failure({k_log, "pub_util_set_serial_dev_attr"}, ERR_WRITE);
    return false;
  }
  if (cfsetospeed(&attributes, speed) != 0) {
    pub_log_sys_call(k_log, "cfsetospeed");
    pub_log_failure({k_log, "pub_util_set_serial_dev_attr"}, ERR_WRITE);
    return false;
  }
  return true;
}

bool is_in_mounts(const char* mount_point) {
  const pub_file mounts = pub_util_fopen("/proc/mounts", "r");
  if (!mounts) {
    pub_log_sys_call(k_log, "fopen");
    return false;
  }
  char line[200];
  std::uint32_t length = 0;
  std::int32_t is_eof = 0;
  while (is_eof == 0) {
    std::ignore = pub_cfg_get_line(mounts.get(), line, sizeof line, &length, &is_eof);
    if (std::strstr(line, mount_point) != nullptr) return true;
  }
  return false;
}

}  // namespace

result_code_en pub_util_set_fd_mode(int fd, bool is_nonblock_mode) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {fd < 0})) return ERR_ARGUMENT;
  LOG_LINE("pub_util_set_fd_mode fd[%d] is_nonblock_mode[%d]", fd, is_nonblock_mode ? 1 : 0);
  const int flags = fcntl(fd, F_GETFL);
  if (flags < 0 || fcntl(fd, F_SETFL, is_nonblock_mode ? flags | O_NONBLOCK : flags & ~O_NONBLOCK) < 0) {
    return pub_fail_sys_call(k_log, ERR_SYSTEM, "fcntl");
  }
  LOG_LINE("pub_util_set_fd_mode return ERR_NONE");
  return ERR_NONE;
}

result_code_en pub_util_try_to_open_device(pub_shared_fd* fd, const char* path, int flags, std::uint32_t tries,
                                           std::uint32_t pause_ms) {
  pub_log_entry(k_log);
  if (is_bad_device(k_log, fd, path)) return ERR_ARGUMENT;
  fd->close();
  pub_fd opened = open_with_tries(path, flags, tries, pause_ms);
  if (opened.get() <= 0) return ERR_SYSTEM;
  fd->take(std::move(opened));
  return ERR_NONE;
}

void pub_util_park_device(pub_shared_fd* fd) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {fd == nullptr})) return;
  const int number = *fd;
  if (number <= 0) return;
  const pub_fd silence(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));  // without a name nobody can send to it
  if (!silence) {
    pub_log_sys_call(k_log, "socket");
  } else if (dup3(silence.get(), number, O_CLOEXEC) < 0) {
    pub_log_sys_call(k_log, "dup3");
  }
}

result_code_en pub_util_try_to_reopen_device(pub_shared_fd* fd, const char* path, int flags, std::uint32_t tries,
                                             std::uint32_t pause_ms) {
  pub_log_entry({k_log, "pub_util_try_to_open_device"});
  if (is_bad_device(k_log, fd, path)) return ERR_ARGUMENT;
  pub_fd opened = open_with_tries(path, flags, tries, pause_ms);
  if (opened.get() <= 0) return ERR_SYSTEM;
  const int number = *fd;
  if (number <= 0) {
    fd->take(std::move(opened));
    return ERR_NONE;
  }
  if (dup3(opened.get(), number, O_CLOEXEC) < 0) return pub_fail_sys_call(k_log, ERR_SYSTEM, "dup3");
  return ERR_NONE;
}

void pub_util_set_serial_dev_attr(int fd, std::int32_t speed) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {fd < 0})) return;
  termios attributes = {};
  const bool is_read = tcgetattr(fd, &attributes) == 0;
  if (!is_read) {
    pub_log_sys_call(k_log, "tcgetattr");
    pub_log_failure(k_log, ERR_WRITE);
  }
  const line_speed_st& row = line_speed(speed);
  LOG_LINE("convert speed %ld -> %s", static_cast<long>(speed), row.m_name);
  if (!is_read || !set_speed(attributes, row.m_code)) return;

  attributes.c_iflag &= ~static_cast<tcflag_t>(INLCR | ICRNL | IXON);
  attributes.c_oflag &= ~static_cast<tcflag_t>(ONLCR | OCRNL);
  attributes.c_cflag |= CRTSCTS;
  attributes.c_lflag = 0;
  if (tcsetattr(fd, TCSANOW, &attributes) != 0) {
    pub_log_sys_call(k_log, "tcsetattr");
    pub_log_failure(k_log, ERR_WRITE);
  }
}

result_code_en pub_util_get_mount_fs_info(const char* mount_point, pub_fs_info_st* info) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(
          k_log, {mount_point == nullptr, mount_point != nullptr && *mount_point == '\0', info == nullptr})) {
    return ERR_ARGUMENT;
  }
  if (!is_in_mounts(mount_point)) {
    return pub_fail(k_log, ERR_NOT_HANDLED, "file system \"%s\" has not been mounted", mount_point);
  }
  struct statfs status = {};
  if (statfs(mount_point, &status) != 0) return pub_fail_sys_call(k_log, ERR_SYSTEM, "statfs");
  const auto kilobytes = [&status](std::uint64_t blocks) {
    return static_cast<std::uint32_t>(blocks * static_cast<std::uint64_t>(status.f_bsize) / 1024);
  };
  info->m_total_kb = kilobytes(status.f_blocks);
  info->m_used_kb = kilobytes(status.f_blocks - status.f_bavail);
  info->m_free_kb = kilobytes(status.f_bavail);
  return ERR_NONE;
}
