// A pseudo-terminal whose slave is reachable under a fixed path, a symbolic link (the mapping).
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <type_traits>

#include "pub/result.h"
#include "pub/util/io.h"

// One thread opens and closes; any other may delete the mapping meanwhile. m_pts_name_a is the first one's alone.
struct pub_pty_st {
  pub_shared_fd m_ptm_fd;         // master; above 0 = open, -1 after a close
  char m_pts_name_a[40];          // slave device, as the system names it
  char m_pts_mapping_name_a[28];  // the link to it; set before the first open, then never changed
  std::int32_t m_nonblock_mode;   // non-zero: the master is switched to non-blocking mode
  std::atomic<pid_t> m_opener;    // the process that opened the master, and alone removes its link; 0 = any
};
static_assert(std::is_trivially_destructible_v<pub_pty_st>);  // the process ends while threads are alive

// Opens a master, makes the link to its slave (mode 0660, user 1000, group 1001), makes the terminal raw and unlocks
// the slave. An open record is closed first, a link left by an earlier run is replaced. 0; ERR_ARGUMENT for a null
// record or an empty mapping name; ERR_SYSTEM, or the code of pub_util_set_fd_mode, when a step failed: the master
// is then closed in any case, also when the link cannot be removed.
result_code_en pub_pty_open(pub_pty_st* pty);

// Closes the master and removes the link. 0, the code of pub_pty_delete_mapping (the master then stays open), or
// ERR_WRITE for a null record or a master of -1: not the -101 that the log shows, callers test only for non-zero.
result_code_en pub_pty_close(pub_pty_st* pty);

// Removes the link. 0, also when there is none, or when it is the link of another process, which stays; ERR_ARGUMENT
// for a null record; ERR_SYSTEM when it cannot be removed.
result_code_en pub_pty_delete_mapping(pub_pty_st* pty);
