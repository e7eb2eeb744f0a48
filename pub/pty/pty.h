// A pseudo-terminal whose slave is reachable under a fixed path, a symbolic link (the mapping).
#pragma once

#include <sys/types.h>

#include <cstdint>

#include "pub/result.h"
#include "pub/util/io.h"

struct pub_pty_st {
  pub_shared_fd m_ptm_fd;         // master; above 0 = open, -1 after a close
  char m_pts_name_a[40];          // slave device, as the system names it
  char m_pts_mapping_name_a[28];  // the link to it
  std::int32_t m_nonblock_mode;   // non-zero: the master is switched to non-blocking mode
  pid_t m_opener;                 // the process that opened the master, and alone removes its link; 0 = any
};

// Opens a master, makes the link to its slave (mode 0660, user 1000, group 1001), makes the terminal raw and unlocks
// the slave. An open record is closed first, a link left by an earlier run is replaced. 0; ERR_ARGUMENT for a null
// record or an empty mapping name; ERR_SYSTEM, or the code of pub_util_set_fd_mode, when a step failed: the record is
// then closed.
result_code_en pub_pty_open(pub_pty_st* pty);

// Closes the master and removes the link. 0, the code of pub_pty_delete_mapping (the master then stays open), or
// ERR_WRITE for a null record or a master of -1: not the -101 that the log shows, callers test only for non-zero.
result_code_en pub_pty_close(pub_pty_st* pty);

// Removes the link. 0, also when there is none, or when it is the link of another process, which stays; ERR_ARGUMENT
// for a null record; ERR_SYSTEM when it cannot be removed.
result_code_en pub_pty_delete_mapping(pub_pty_st* pty);
