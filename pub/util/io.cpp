#include "pub/util/io.h"

#include <fcntl.h>
#include <paths.h>
#include <poll.h>
#include <sched.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <climits>
#include <csignal>
#include <cstring>
#include <tuple>

#include "pub/gate.h"

namespace {

constexpr std::uint32_t CHILD_WAIT_MS = 60'000;
constexpr std::uint32_t CHILD_LOOK_MS = 10;
constexpr mode_t NEW_FILE_MODE = 0666;  // less the process's mask

// A descriptor that is ready when the child has ended; none before Linux 5.3.
pub_fd watch_child(pid_t child) {
#ifdef SYS_pidfd_open
  return pub_fd(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
#else
  std::ignore = child;
  return pub_fd();
#endif
}

// Gives the wait status, with errno as it was, or -1 and errno.
int wait_for_child(pid_t child) {
  const int error = errno;
  const pub_fd end = watch_child(child);
  for (;;) {
    int status = 0;
    const pid_t ended = waitpid(child, &status, WNOHANG);
    if (ended == child) {
      errno = error;
      return status;
    }
    if (ended < 0 && errno != EINTR) return -1;
    if (!end || pub_util_wait(end.get(), POLLIN, CHILD_WAIT_MS) < 0) pub_util_sleep_ms(CHILD_LOOK_MS);
  }
}

// A command needs none of the service's real-time priority. Nothing is asked of the system where there is none to give
// up: a command must not fail for that.
int leave_real_time(posix_spawnattr_t& attributes) {
  if (sched_getscheduler(0) == SCHED_OTHER) return 0;
  const sched_param ordinary = {};
  posix_spawnattr_setschedpolicy(&attributes, SCHED_OTHER);
  posix_spawnattr_setschedparam(&attributes, &ordinary);
  return POSIX_SPAWN_SETSCHEDULER;
}

}  // namespace

int pub_util_open(const char* path, int flags) {
  return open(path, flags | O_NOCTTY | O_CLOEXEC);
}

void pub_file_closer::operator()(std::FILE* file) const {
  const pub_gate_pass pass;
  std::fclose(file);
}

pub_file pub_util_fopen(const char* path, const char* mode) {
  char closing_mode[8];
  const int length = std::snprintf(closing_mode, sizeof closing_mode, "%se", mode);
  if (static_cast<std::size_t>(length) >= sizeof closing_mode) {
    errno = EINVAL;
    return nullptr;
  }
  const pub_gate_pass pass;
  return pub_file(std::fopen(path, closing_mode));
}

bool pub_util_is_replaceable(const char* path) {
  const char* slash = std::strrchr(path, '/');
  char folder[PATH_MAX];
  const int length = slash == nullptr ? 0 : static_cast<int>(slash - path) + 1;
  if (std::snprintf(folder, sizeof folder, "%.*s.", length, path) >= static_cast<int>(sizeof folder)) return true;
  struct stat status = {};
  if (stat(folder, &status) != 0) return true;
  const bool is_ours = status.st_uid == 0 || status.st_uid == geteuid();
  return !is_ours || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

pub_file pub_util_fopen_shared(const char* path, int flags) {
  if (pub_util_is_replaceable(path)) flags |= O_NOFOLLOW | O_NONBLOCK;
  pub_fd fd(open(path, flags | O_NOCTTY | O_CLOEXEC, NEW_FILE_MODE));
  if (!fd) return nullptr;
  const pub_gate_pass pass;
  pub_file file(fdopen(fd.get(), (flags & O_APPEND) != 0 ? "a+" : "r"));
  if (file) fd.release();
  return file;
}

pub_fd pub_util_create_shared(const char* path) {
  unlink(path);
  return pub_fd(open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOCTTY | O_CLOEXEC, NEW_FILE_MODE));
}

int pub_util_scan_number(std::FILE* file, std::int32_t* value) {
  std::int64_t number = 0;
  const int count = std::fscanf(file, "%" SCNd64, &number);
  if (count == 1) *value = static_cast<std::int32_t>(number);
  return count;
}

int pub_util_scan_number(std::FILE* file, std::uint32_t* value) {
  std::uint64_t number = 0;
  const int count = std::fscanf(file, "%" SCNu64, &number);
  if (count == 1) *value = static_cast<std::uint32_t>(number);
  return count;
}

void pub_shared_fd::take(pub_fd fd) {
  const int old = m_fd.exchange(fd.release());
  if (old > 0) ::close(old);
}

void pub_shared_fd::close() {
  const int old = m_fd.load(std::memory_order_relaxed) > 0 ? m_fd.exchange(0) : 0;
  if (old > 0) ::close(old);
}

int pub_util_run_command(const char* command) {
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, static_cast<short>(POSIX_SPAWN_SETSIGMASK | leave_real_time(attributes)));

  const char* const arguments[] = {"sh", "-c", command, nullptr};
  pid_t child = 0;
  // The texts are only read; the type is older than const.
  const int error =
      posix_spawn(&child, _PATH_BSHELL, nullptr, &attributes, const_cast<char* const*>(arguments), environ);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) {
    errno = error;
    return -1;
  }
  return wait_for_child(child);
}
