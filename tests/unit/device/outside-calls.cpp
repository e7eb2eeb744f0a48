#include "tests/unit/device/outside-calls.h"

#include <dlfcn.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <unistd.h>

outside_calls_st g_outside_calls;

// Take the C library's place.
extern "C" int kill(pid_t pid, int signal) noexcept {
  g_outside_calls.m_kills.push_back({pid, signal});
  if (g_outside_calls.m_on_kill) g_outside_calls.m_on_kill();
  const bool is_kept = pid <= 1 || (pid == getpid() && signal == SIGKILL);
  return is_kept ? 0 : static_cast<int>(syscall(SYS_kill, pid, signal));
}

extern "C" int posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                           const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]) {
  if (g_outside_calls.m_spawn_error != 0) return g_outside_calls.m_spawn_error;
  static const auto real = reinterpret_cast<decltype(&posix_spawn)>(dlsym(RTLD_NEXT, "posix_spawn"));
  return real(pid, path, actions, attributes, arguments, environment);
}
