// The wait points. The signal mask is open for as long as a call may wait and no longer: a signal that came before acts
// at once, one that comes after waits for the next wait point. A worker may leave from here (SIGUSR1), without
// unwinding: nothing above a wait may count on a destructor then.
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>

#include "pub/util/io.h"
#include "pub/util/signals.h"

namespace {

using steady = std::chrono::steady_clock;

timespec to_timespec(std::chrono::nanoseconds duration) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(duration);
  return {static_cast<time_t>(seconds.count()), static_cast<long>((duration - seconds).count())};
}

// ppoll until a result or the deadline; a handled signal does not shorten the wait.
int poll_until(std::span<pollfd> wanted, steady::time_point deadline) {
  for (;;) {
    const auto left = std::max(steady::duration::zero(), deadline - steady::now());
    const timespec timeout = to_timespec(left);
    const int ready = ppoll(wanted.data(), wanted.size(), &timeout, pub_util_wait_mask());
    if (ready >= 0 || errno != EINTR) return ready;
  }
}

// A system call that may block, with the signals of a mask let in. Nothing but the call is interrupted, as in ppoll.
template <typename Call>
ssize_t as_wait_point(const sigset_t& mask, Call call) {
  sigset_t held;
  pthread_sigmask(SIG_SETMASK, &mask, &held);
  const ssize_t count = call();
  const int error = errno;
  pthread_sigmask(SIG_SETMASK, &held, nullptr);
  errno = error;
  return count;
}

}  // namespace

// The read itself blocks, with nothing in front of it: what arrives is given at once. Only a read that gave nothing
// asks why.
ssize_t pub_util_read(int fd, void* buffer, std::size_t size) {
  if (size == 0) return 0;
  if (fd < 1) {  // closed; never the standard input
    errno = EBADF;
    return -1;
  }
  for (;;) {
    const ssize_t count = as_wait_point(*pub_util_wait_mask(), [&] { return read(fd, buffer, size); });
    if (count > 0) return count;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno != EAGAIN) return count;
    const bool is_end = count == 0;  // else a descriptor that does not block
    const timespec no_wait = {};
    pollfd wanted = {fd, POLLIN, 0};
    if (ppoll(&wanted, 1, is_end ? &no_wait : nullptr, pub_util_wait_mask()) < 0 && errno != EINTR) return -1;
    if (!is_end) continue;
    if ((wanted.revents & (POLLHUP | POLLERR)) == 0) return 0;
    errno = EIO;
    return -1;
  }
}

// The write blocks itself, rather than a wait for room before it: a terminal lets no other write in before it is whole.
// The signal that makes a thread look again stays out: it would leave a part of the bytes written.
ssize_t pub_util_write(int fd, const void* data, std::size_t size) {
  if (fd < 1) {
    errno = EBADF;
    return -1;
  }
  sigset_t mask = *pub_util_wait_mask();
  sigaddset(&mask, PUB_WAKE_SIGNAL);
  return as_wait_point(mask, [&] { return write(fd, data, size); });
}

int pub_util_wait(int fd, short events, std::uint32_t timeout_ms) {
  pollfd wanted[] = {{fd, events, 0}};
  return pub_util_wait_any(wanted, timeout_ms);
}

int pub_util_wait_any(std::span<pollfd> wanted, std::uint32_t timeout_ms) {
  return poll_until(wanted, steady::now() + std::chrono::milliseconds(timeout_ms));
}

void pub_util_sleep_ms(std::uint32_t milliseconds) {
  poll_until({}, steady::now() + std::chrono::milliseconds(milliseconds));
}

void pub_util_sleep_us(std::uint32_t microseconds) {
  poll_until({}, steady::now() + std::chrono::microseconds(microseconds));
}

void pub_util_sleep_forever() {
  for (;;) ppoll(nullptr, 0, nullptr, pub_util_wait_mask());
}
