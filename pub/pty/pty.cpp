#include "pub/pty/pty.h"

#include <unistd.h>

#include <cstring>

#include "pub/log.h"
#include "pub/result.h"
#include "pub/util/io.h"

namespace {

constexpr pub_log_module_st k_log{"vx-kro-pub", "pty/pty"};

}  // namespace

std::int32_t pub_pty_close(pub_pty_st* pty) {
  LOG_ENTRY();
  if (LOG_BAD_ARGUMENTS(pty == nullptr, pty != nullptr && pty->m_ptm_fd < 0)) return -1;
  const bool is_other_process = pty->m_opener != 0 && pty->m_opener != getpid();
  const std::int32_t result = is_other_process ? ERR_NONE : pub_pty_delete_mapping(pty);
  LOG_LINE("pub_pty_close pub_pty_delete_mapping ret_val[%d]", result);
  if (result != ERR_NONE) return result;
  std::memset(pty->m_pts_name_a, 0, sizeof pty->m_pts_name_a);
  pub_util_close(pty->m_ptm_fd);
  pty->m_ptm_fd = -1;
  return ERR_NONE;
}

std::int32_t pub_pty_delete_mapping(pub_pty_st* pty) {
  LOG_ENTRY();
  if (pty == nullptr) {
    LOG_FAILURE(ERR_ARGUMENT);
    LOG_LINE("[PTY]%d", 1);
    return ERR_ARGUMENT;
  }
  if (access(pty->m_pts_mapping_name_a, F_OK) != 0) {
    LOG_WARNING("pub_pty_delete_mapping \"%s\" does not exist", pty->m_pts_mapping_name_a);
    return ERR_NONE;
  }
  const int result = unlink(pty->m_pts_mapping_name_a);
  LOG_LINE("pub_pty_delete_mapping unlink(%s) ret_val[%d]", pty->m_pts_mapping_name_a, result);
  if (result != 0) {
    LOG_SYS_CALL("unlink");
    LOG_FAILURE(ERR_WRITE);
    return ERR_SYSTEM;
  }
  return ERR_NONE;
}
