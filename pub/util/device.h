// Descriptors, devices, serial lines, mounted file systems.
#pragma once

#include <cstdint>

#include "pub/result.h"
#include "pub/util/io.h"

struct pub_fs_info_st {
  std::uint32_t m_total_kb;
  std::uint32_t m_used_kb;
  std::uint32_t m_free_kb;  // what an unprivileged user may still fill
};

// Sets or clears O_NONBLOCK. ERR_ARGUMENT for a negative descriptor, ERR_SYSTEM when fcntl fails.
result_code_en pub_util_set_fd_mode(int fd, bool is_nonblock_mode);

// Opens a device into *fd, closing what *fd held; up to `tries` attempts, each failed one followed by a pause. No
// attempt waits for a line's carrier. The device blocks afterwards, unless flags hold O_NONBLOCK.
// ERR_ARGUMENT for a null pointer or an empty path, ERR_SYSTEM when it could not be opened.
result_code_en pub_util_try_to_open_device(pub_shared_fd* fd, const char* path, int flags, std::uint32_t tries,
                                           std::uint32_t pause_ms);

// Takes the device off a number that other threads read meanwhile: it is closed, and what stands in its place never has
// data and never ends. A driver that lets one opener in at a time lets the next one in then. A failure is only logged.
void pub_util_park_device(pub_shared_fd* fd);

// As pub_util_try_to_open_device for a descriptor that other threads read meanwhile: *fd keeps its number, and what
// stands there (see pub_util_park_device) until the new device takes its place in one step, and stays as it is when no
// attempt succeeds: the caller decides when the link counts as closed.
result_code_en pub_util_try_to_reopen_device(pub_shared_fd* fd, const char* path, int flags, std::uint32_t tries,
                                             std::uint32_t pause_ms);

// Raw line with hardware flow control at the next rate of 115200, 230400, 460800, 921600 bit/s that is not below
// speed; 921600 above. Failures are only logged.
void pub_util_set_serial_dev_attr(int fd, std::int32_t speed);

// The file system at a mount point. The mount point is searched as a substring of the lines of /proc/mounts.
// ERR_ARGUMENT, ERR_NOT_HANDLED when it is not mounted, ERR_SYSTEM when it cannot be queried.
result_code_en pub_util_get_mount_fs_info(const char* mount_point, pub_fs_info_st* info);
