#include "pub/util/io.h"

#include <fcntl.h>
#include <paths.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

int pub_util_open(const char* path, int flags) {
  return open(path, flags | O_NOCTTY | O_CLOEXEC);
}

pub_file pub_util_fopen(const char* path, const char* mode) {
  char closing_mode[8];
  const int length = std::snprintf(closing_mode, sizeof closing_mode, "%se", mode);
  if (static_cast<std::size_t>(length) >= sizeof closing_mode) {
    errno = EINVAL;
    return nullptr;
  }
  return pub_file(std::fopen(path, closing_mode));
}

void pub_shared_fd::take(pub_fd fd) {
  const int old = m_fd.exchange(fd.release());
  if (old > 0) ::close(old);
}

void pub_shared_fd::close() {
  const int old = m_fd.load(std::memory_order_relaxed) > 0 ? m_fd.exchange(0) : 0;
  if (old > 0) ::close(old);
}

ssize_t pub_util_write(int fd, const void* data, std::size_t size) {
  if (fd < 1) {
    errno = EBADF;
    return -1;
  }
  return write(fd, data, size);
}

int pub_util_run_command(const char* command) {
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);

  std::string shell = "sh";
  std::string option = "-c";
  std::string text = command;
  char* const arguments[] = {shell.data(), option.data(), text.data(), nullptr};
  pid_t child = 0;
  const int error = posix_spawn(&child, _PATH_BSHELL, nullptr, &attributes, arguments, environ);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) {
    errno = error;
    return -1;
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}
