// The wait points. ppoll(2) opens the signal mask for as long as it waits and not an instant longer: a signal that came
// before acts at once, one that comes after waits for the next wait point. A worker may leave from here (SIGUSR1), so
// nothing here may be called from a destructor or a noexcept function.
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>

#include "pub/util/io.h"
#include "pub/util/signals.h"

namespace {

using steady = std::chrono::steady_clock;

timespec to_timespec(std::chrono::nanoseconds duration) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(duration);
  return {static_cast<time_t>(seconds.count()), static_cast<long>((duration - seconds).count())};
}

// ppoll until a result or the deadline; a handled signal does not shorten the wait.
int poll_until(pollfd* wanted, steady::time_point deadline) {
  for (;;) {
    const auto left = std::max(steady::duration::zero(), deadline - steady::now());
    const timespec timeout = to_timespec(left);
    const int ready = ppoll(wanted, wanted == nullptr ? 0 : 1, &timeout, pub_util_wait_mask());
    if (ready >= 0 || errno != EINTR) return ready;
  }
}

// The signals can act during the read, too: after a fork two processes read one terminal, and the other one may have
// taken the data, so that the read blocks. Nothing but the system call is interrupted, as in ppoll.
ssize_t read_as_wait_point(int fd, void* buffer, std::size_t size) {
  sigset_t held;
  pthread_sigmask(SIG_SETMASK, pub_util_wait_mask(), &held);
  const ssize_t count = read(fd, buffer, size);
  const int error = errno;
  pthread_sigmask(SIG_SETMASK, &held, nullptr);
  errno = error;
  return count;
}

}  // namespace

ssize_t pub_util_read(int fd, void* buffer, std::size_t size) {
  if (size == 0) return 0;
  if (fd < 1) {  // closed; never the standard input
    errno = EBADF;
    return -1;
  }
  for (;;) {
    pollfd wanted = {fd, POLLIN, 0};
    if (ppoll(&wanted, 1, nullptr, pub_util_wait_mask()) < 0) {
      if (errno == EINTR) continue;
      return -1;
    }
    const ssize_t count = read_as_wait_point(fd, buffer, size);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    if (count == 0 && (wanted.revents & (POLLHUP | POLLERR)) != 0) {
      errno = EIO;
      return -1;
    }
    return count;
  }
}

int pub_util_wait(int fd, short events, std::uint32_t timeout_ms) {
  pollfd wanted = {fd, events, 0};
  return poll_until(&wanted, steady::now() + std::chrono::milliseconds(timeout_ms));
}

void pub_util_sleep_ms(std::uint32_t milliseconds) {
  poll_until(nullptr, steady::now() + std::chrono::milliseconds(milliseconds));
}

void pub_util_sleep_us(std::uint32_t microseconds) {
  poll_until(nullptr, steady::now() + std::chrono::microseconds(microseconds));
}

void pub_util_sleep_forever() {
  for (;;) ppoll(nullptr, 0, nullptr, pub_util_wait_mask());
}
