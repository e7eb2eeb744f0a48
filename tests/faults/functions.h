// The functions of the C library that can be made to fail once in the service, as the preloaded library and the program
// that steers it both know them.
//
//   VX_FAULT=<process> <function> <number> <error>   in the service's environment: which call is to fail. Process 0 is
//                                                    the service, 1 a process that was forked from it; an error of 0
//                                                    asks for a short count instead of a failure. None: calls are only
//                                                    counted.
//   /handset/faults/counts                           how often each function was called, by process
//   /handset/faults/made                             a line for what was made to fail
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace faults {

inline constexpr char VARIABLE[] = "VX_FAULT";
inline constexpr char COUNTS_FILE[] = "/handset/faults/counts";
inline constexpr char MADE_FILE[] = "/handset/faults/made";
inline constexpr std::size_t PROCESSES = 2;

// In the order of this list: the number of a function is its place.
enum class function : std::size_t {
  access_call,
  bind_call,
  calloc_call,
  chmod_call,
  chown_call,
  dlopen_call,
  dlsym_call,
  dup3_call,
  eventfd_call,
  fchmod_call,
  fchown_call,
  fclose_call,
  fcntl_call,
  fflush_call,
  fgets_call,
  fopen_call,
  fork_call,
  fputs_call,
  fread_call,
  fscanf_call,
  fseeko_call,
  fsync_call,
  ftruncate_call,
  fwrite_call,
  grantpt_call,
  ioctl_call,
  lstat_call,
  malloc_call,
  mkdir_call,
  mmap_call,
  open_call,
  pidfd_open_call,
  posix_spawn_call,
  ppoll_call,
  pthread_create_call,
  ptsname_r_call,
  read_call,
  readlink_call,
  realloc_call,
  realpath_call,
  recv_call,
  rename_call,
  sched_setscheduler_call,
  setsockopt_call,
  socket_call,
  stat_call,
  statfs_call,
  symlink_call,
  tcgetattr_call,
  tcsetattr_call,
  timer_create_call,
  timer_settime_call,
  unlink_call,
  unlockpt_call,
  waitpid_call,
  write_call,
  count,
};

inline constexpr std::size_t FUNCTIONS = static_cast<std::size_t>(function::count);

inline constexpr std::array<std::string_view, FUNCTIONS> NAMES = {
    "access",
    "bind",
    "calloc",
    "chmod",
    "chown",
    "dlopen",
    "dlsym",
    "dup3",
    "eventfd",
    "fchmod",
    "fchown",
    "fclose",
    "fcntl",
    "fflush",
    "fgets",
    "fopen",
    "fork",
    "fputs",
    "fread",
    "fscanf",
    "fseeko",
    "fsync",
    "ftruncate",
    "fwrite",
    "grantpt",
    "ioctl",
    "lstat",
    "malloc",
    "mkdir",
    "mmap",
    "open",
    "pidfd_open",
    "posix_spawn",
    "ppoll",
    "pthread_create",
    "ptsname_r",
    "read",
    "readlink",
    "realloc",
    "realpath",
    "recv",
    "rename",
    "sched_setscheduler",
    "setsockopt",
    "socket",
    "stat",
    "statfs",
    "symlink",
    "tcgetattr",
    "tcsetattr",
    "timer_create",
    "timer_settime",
    "unlink",
    "unlockpt",
    "waitpid",
    "write",
};

// The content of the file of counts.
using counts = std::array<std::array<std::uint32_t, FUNCTIONS>, PROCESSES>;

}  // namespace faults
