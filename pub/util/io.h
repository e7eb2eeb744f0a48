// Opening, reading, writing, sleeping: the one place of each. Every blocking read, write and wait and every sleep of
// the service goes through here, because these are its only points at which a signal acts (see wait.cpp).
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

#include "pub/util/fd.h"

// Owns a FILE; closes it at the end of its scope.
struct pub_file_closer {
  void operator()(std::FILE* file) const;
};
using pub_file = std::unique_ptr<std::FILE, pub_file_closer>;

// fscanf(3) of one decimal number, which stops at the ends of 64 bits and is cut to 32 then, on every processor. Gives
// fscanf's result: 1 when there was one.
int pub_util_scan_number(std::FILE* file, std::int32_t* value);
int pub_util_scan_number(std::FILE* file, std::uint32_t* value);

// Owns a descriptor that threads share, a link: any of them may look at its number, which is 0 or less when the link is
// closed. Nothing is closed in a destructor: the process ends while threads are alive, and closes what is left then.
class pub_shared_fd {
 public:
  constexpr pub_shared_fd() = default;
  constexpr explicit pub_shared_fd(int fd) : m_fd(fd) {}
  pub_shared_fd(const pub_shared_fd&) = delete;
  pub_shared_fd& operator=(const pub_shared_fd&) = delete;
  operator int() const { return m_fd; }
  // Owns fd; closes what it held.
  void take(pub_fd fd);
  // Closes the link; other threads see that before it is closed. Nothing happens to a link that is closed already.
  void close();
  // The link counts as closed, but its number is not given back, so that it cannot become another file under a thread
  // that may still use it.
  void abandon() { m_fd = 0; }

 private:
  std::atomic<int> m_fd{0};
};

// open(2) that never makes a terminal the controlling one (its hang-up would kill the process) and never leaks the
// descriptor into a child. -1 and errno on failure.
int pub_util_open(const char* path, int flags);
// fopen(3), closed on exec. Null and errno on failure.
pub_file pub_util_fopen(const char* path, const char* mode);

// Whether others may put another file in the place of this one: its folder is writable to them, as /tmp is, or belongs
// to one who is neither root nor the service's user. True when that cannot be found out.
bool pub_util_is_replaceable(const char* path);
// The same for a file that others may replace: what stands there under the name is then opened only when it is no link
// (ELOOP), and without waiting, also when it is a named pipe. flags as for open(2): O_RDONLY, or
// O_RDWR | O_APPEND | O_CREAT.
pub_file pub_util_fopen_shared(const char* path, int flags);
// A new file of one's own, writable: whatever stood under the name is taken away, not written to. An empty one
// and errno on failure.
pub_fd pub_util_create_shared(const char* path);

// Waits for data, then reads once; a descriptor that is closed (below 1) gives EBADF. Gives the count read; 0 at once
// when there is no room; -1 and errno on failure. A terminal whose other side has hung up gives -1 with EIO, as a
// blocked read of one does, and not 0 for ever.
ssize_t pub_util_read(int fd, void* buffer, std::size_t size);

// One write, which waits for as long as a terminal has no room: its bytes are never mixed with those of another write.
// Gives the count written, or -1 and errno; a descriptor that is closed (below 1) gives EBADF.
ssize_t pub_util_write(int fd, const void* data, std::size_t size);

// Waits until fd can be read or written (POLLIN, POLLOUT), or the time has passed. 1 ready, 0 time-out, -1 error; a
// negative fd is never ready.
int pub_util_wait(int fd, short events, std::uint32_t timeout_ms);
// The same for any of several descriptors. Gives how many are ready.
struct pollfd;
int pub_util_wait_any(std::span<pollfd> wanted, std::uint32_t timeout_ms);

void pub_util_sleep_ms(std::uint32_t milliseconds);
void pub_util_sleep_us(std::uint32_t microseconds);
// Waits for signals until the process ends.
[[noreturn]] void pub_util_sleep_forever();

// Runs a command through the shell and waits for it, as system(3) does, but the command starts with no signal blocked,
// and the wait is one at which signals act: the command then goes on alone. Gives the shell's wait status, or -1 and
// errno.
int pub_util_run_command(const char* command);
