#include "pub/pty/pty.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <tuple>

#include "pub/log.h"
#include "pub/result.h"
#include "pub/util/device.h"
#include "pub/util/io.h"

namespace {

constexpr pub_log_module_st k_log{"vx-kro-pub", "pty/pty"};

constexpr char PTMX[] = "/dev/ptmx";
constexpr mode_t MAPPING_MODE = 0660;
constexpr uid_t MAPPING_OWNER = 1000;  // system
constexpr gid_t MAPPING_GROUP = 1001;  // radio
constexpr std::size_t SLAVE_NAME_ROOM = 128;
constexpr std::size_t SLAVE_NAME_LIMIT = sizeof pub_pty_st::m_pts_name_a - 1;  // longer names are cut
constexpr int LINK_TRIES = 10;

const char* existence(const char* path) {
  return access(path, F_OK) == 0 ? "exists" : "not exists";
}

bool ask_slave_name(int master, char (&name)[SLAVE_NAME_ROOM]) {
  return ptsname_r(master, name, sizeof name) == 0;
}

// After a fork the link belongs to the parent, which made it.
bool is_opened_by_other_process(const pub_pty_st& pty) {
  const pid_t opener = pty.m_opener;
  return opener != 0 && opener != getpid();
}

// Whether the other one of the two processes after a fork has since put a link to its own terminal there. The slave's
// name comes from the master, not from the record: the thread that opens terminals may be writing that. A closed master
// has no name.
bool leads_to_other_terminal(const pub_pty_st& pty) {
  if (pty.m_opener == 0) return false;
  char name[SLAVE_NAME_ROOM] = {};
  if (!ask_slave_name(pty.m_ptm_fd, name)) return false;
  name[SLAVE_NAME_LIMIT] = '\0';  // as the link was made
  char target[SLAVE_NAME_ROOM] = {};
  return readlink(pty.m_pts_mapping_name_a, target, sizeof target - 1) > 0 && std::strcmp(target, name) != 0;
}

result_code_en leave_to_other_process(const pub_pty_st& pty) {
  LOG_LINE("pub_pty_delete_mapping \"%s\" is another process's", pty.m_pts_mapping_name_a);
  return ERR_NONE;
}

// Logs that the mapping cannot be made, and removes what there is of it.
result_code_en fail_mapping(pub_pty_st& pty) {
  LOG_LINE("create_pts_mapping m_pts_mapping_name_a[%s] ret_val[%d]", pty.m_pts_mapping_name_a, ERR_SYSTEM);
  std::ignore = pub_pty_delete_mapping(&pty);
  return ERR_SYSTEM;
}

result_code_en find_slave_name(pub_pty_st& pty) {
  char name[SLAVE_NAME_ROOM] = {};
  const bool is_named = ask_slave_name(pty.m_ptm_fd, name);
  LOG_LINE("create_pts_mapping pts_name_ptr[%s]", name);
  if (!is_named) {
    pub_log_sys_call(k_log, "ptsname");
    return pub_fail({k_log, "create_pts_mapping"}, ERR_SYSTEM, "create_pts_mapping m_pts_name_a[%s] ret_val[%d]",
                    pty.m_pts_name_a, ERR_SYSTEM);
  }
  const std::size_t length = std::strlen(name);
  if (length > SLAVE_NAME_LIMIT) {
    LOG_WARNING("[PTY]%d > %d", static_cast<int>(length), static_cast<int>(SLAVE_NAME_LIMIT));
  }
  std::memset(pty.m_pts_name_a, 0, sizeof pty.m_pts_name_a);
  std::copy_n(name, std::min(length, SLAVE_NAME_LIMIT), pty.m_pts_name_a);
  LOG_LINE("create_pts_mapping m_pts_name_a[%s] ret_val[%d]", pty.m_pts_name_a, ERR_NONE);
  return ERR_NONE;
}

// Removes the link of an earlier run; a missing one is not an error. Gives whether the path is free now.
bool remove_stale_link(const char* mapping) {
  const int result = unlink(mapping);
  LOG_LINE("create_pts_mapping unlink(%s) ret_val[%d]", mapping, result);
  if (result == 0) LOG_LINE("create_pts_mapping \"%s\" %s", mapping, existence(mapping));
  return result == 0 || errno == ENOENT;
}

bool make_link(const pub_pty_st& pty) {
  const int result = symlink(pty.m_pts_name_a, pty.m_pts_mapping_name_a);
  LOG_LINE("create_pts_mapping symlink(%s, %s) ret_val[%d]", pty.m_pts_name_a, pty.m_pts_mapping_name_a, result);
  return result == 0;
}

// After a fork both processes lose their terminal at the same moment and come here. When the other one was faster, its
// link is stale, too.
result_code_en link_to_slave(const pub_pty_st& pty) {
  const char* mapping = pty.m_pts_mapping_name_a;
  for (int tries = 0; tries < LINK_TRIES; ++tries) {
    const bool is_free = remove_stale_link(mapping);
    if (make_link(pty)) return ERR_NONE;
    if (!is_free || errno != EEXIST) break;
  }
  pub_log_sys_call(k_log, "symlink");
  pub_log_failure({k_log, "create_pts_mapping"}, ERR_WRITE);
  return pub_fail({k_log, "create_pts_mapping"}, ERR_SYSTEM, "[PTY]map %s -> %s failed", pty.m_pts_name_a, mapping);
}

// The application may run without root's rights: the slave is given to its user and group. The result of chown is
// not checked. Where others may put another link in the place of this one, the slave is called by its own name.
result_code_en give_to_application(const char* slave, const char* mapping) {
  const char* given = pub_util_is_replaceable(mapping) ? slave : mapping;
  const int mode_result = chmod(given, MAPPING_MODE);
  LOG_LINE("create_pts_mapping chmod(%s, %d) ret_val[%d]", mapping, static_cast<int>(MAPPING_MODE), mode_result);
  if (mode_result != 0) {
    pub_log_sys_call(k_log, "chmod");
    pub_log_failure({k_log, "create_pts_mapping"}, ERR_SYSTEM);
  }
  std::ignore = chown(given, MAPPING_OWNER, MAPPING_GROUP);
  const result_code_en result = mode_result == 0 ? ERR_NONE : ERR_SYSTEM;
  LOG_LINE("create_pts_mapping chown(%s, %d, %d) ret_val[%d]", mapping, static_cast<int>(MAPPING_OWNER),
           static_cast<int>(MAPPING_GROUP), result);
  if (result != ERR_NONE) pub_log_sys_call(k_log, "chown");
  return result;
}

result_code_en create_pts_mapping(pub_pty_st& pty) {
  pub_log_entry(k_log);
  const bool is_closed = pty.m_ptm_fd < 0;
  const bool is_unnamed = pty.m_pts_mapping_name_a[0] == '\0';
  if (is_closed || is_unnamed) {
    return pub_fail(k_log, ERR_ARGUMENT, "[PTY]%d, %d, %d", 0, is_closed ? 1 : 0, is_unnamed ? 1 : 0);
  }
  result_code_en result = find_slave_name(pty);
  if (result == ERR_NONE) result = link_to_slave(pty);
  if (result == ERR_NONE) result = give_to_application(pty.m_pts_name_a, pty.m_pts_mapping_name_a);
  if (result != ERR_NONE) return fail_mapping(pty);
  LOG_LINE("create_pts_mapping m_pts_mapping_name_a[%s] ret_val[%d]", pty.m_pts_mapping_name_a, ERR_NONE);
  return ERR_NONE;
}

// One step of the terminal's settings: its line, and why it failed.
result_code_en judge_attr_step(const char* call, int fd, int result) {
  LOG_LINE("set_ptm_attr %s(%d) ret_val[%d]", call, fd, result);
  if (result == 0) return ERR_NONE;
  return pub_fail_sys_call({k_log, "set_ptm_attr"}, ERR_SYSTEM, call);
}

// Reading and applying the settings is logged only when it fails.
result_code_en fail_attributes(const char* call, int fd) {
  pub_log_sys_call(k_log, call);
  return pub_fail({k_log, "set_ptm_attr"}, ERR_SYSTEM, "set_ptm_attr %s(%d) ret_val[%d]", call, fd, ERR_SYSTEM);
}

// Raw enough for frames. ONLCR stays as it was: without OPOST it does nothing.
result_code_en make_raw(int fd) {
  termios attributes = {};
  if (tcgetattr(fd, &attributes) != 0) return fail_attributes("tcgetattr", fd);
  attributes.c_iflag = 0;
  attributes.c_oflag &= ~static_cast<tcflag_t>(OPOST | OLCUC | OCRNL | ONOCR | ONLRET);
  attributes.c_lflag &= ~static_cast<tcflag_t>(ISIG | ICANON | ECHO | ECHOE);
  return tcsetattr(fd, TCSANOW, &attributes) == 0 ? ERR_NONE : fail_attributes("tcsetattr", fd);
}

result_code_en set_ptm_attr(int fd) {
  pub_log_entry(k_log);
  LOG_LINE("set_ptm_attr fd[%d]", fd);
  if (fd < 0) return pub_fail(k_log, ERR_ARGUMENT);
  result_code_en result = make_raw(fd);
  if (result == ERR_NONE) result = judge_attr_step("grantpt", fd, grantpt(fd));
  if (result == ERR_NONE) result = judge_attr_step("unlockpt", fd, unlockpt(fd));
  LOG_LINE("set_ptm_attr fd[%d] ret_val[%d]", fd, result);
  return result;
}

// What makes an opened master usable. The link is made before the slave is unlocked, on purpose: a program that waits
// for the link cannot open the slave too early.
result_code_en set_up_master(pub_pty_st& pty) {
  result_code_en result = create_pts_mapping(pty);
  if (result == ERR_NONE) result = set_ptm_attr(pty.m_ptm_fd);
  if (result == ERR_NONE && pty.m_nonblock_mode != 0) {
    result = pub_util_set_fd_mode(pty.m_ptm_fd, pty.m_nonblock_mode != 0);
  }
  return result;
}

void close_master(pub_pty_st& pty) {
  std::memset(pty.m_pts_name_a, 0, sizeof pty.m_pts_name_a);
  pty.m_ptm_fd.take(pub_fd());
}

}  // namespace

result_code_en pub_pty_open(pub_pty_st* pty) {
  pub_log_entry(k_log);
  if (pty == nullptr) return pub_fail(k_log, ERR_ARGUMENT);
  LOG_LINE("pub_pty_open m_ptm_fd[%d]", int{pty->m_ptm_fd});
  if (pty->m_ptm_fd > 0) std::ignore = pub_pty_close(pty);

  pty->m_ptm_fd.take(pub_fd(pub_util_open(PTMX, O_RDWR)));
  LOG_LINE("pub_pty_open m_ptm_fd[%d]", int{pty->m_ptm_fd});
  if (pty->m_ptm_fd < 0) {
    const result_code_en result = pub_fail_sys_call(k_log, ERR_SYSTEM, "open");
    close_master(*pty);
    return result;
  }
  pty->m_opener = getpid();
  const result_code_en result = set_up_master(*pty);
  if (result != ERR_NONE) {
    std::ignore = pub_pty_close(pty);
    close_master(*pty);  // the link that cannot be removed must not keep a half-made master open
    return result;
  }
  LOG_LINE("pub_pty_open \"%s\" %s", pty->m_pts_mapping_name_a, existence(pty->m_pts_mapping_name_a));
  LOG_LINE("pub_pty_open m_ptm_fd[%d]; m_pts_name_a[%s] m_pts_mapping_name_a[%s]", int{pty->m_ptm_fd},
           pty->m_pts_name_a, pty->m_pts_mapping_name_a);
  return ERR_NONE;
}

result_code_en pub_pty_close(pub_pty_st* pty) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {pty == nullptr, pty != nullptr && pty->m_ptm_fd < 0})) return ERR_WRITE;
  const result_code_en result = pub_pty_delete_mapping(pty);
  LOG_LINE("pub_pty_close pub_pty_delete_mapping ret_val[%d]", result);
  if (result != ERR_NONE) return result;
  close_master(*pty);
  return ERR_NONE;
}

result_code_en pub_pty_delete_mapping(pub_pty_st* pty) {
  pub_log_entry(k_log);
  if (pty == nullptr) return pub_fail(k_log, ERR_ARGUMENT, "[PTY]%d", 1);
  if (is_opened_by_other_process(*pty)) return leave_to_other_process(*pty);
  struct stat link = {};  // of the link itself: it goes even when its terminal has already gone
  if (lstat(pty->m_pts_mapping_name_a, &link) != 0 && errno == ENOENT) {
    LOG_WARNING("pub_pty_delete_mapping \"%s\" does not exist", pty->m_pts_mapping_name_a);
    return ERR_NONE;
  }
  // Not before the link was seen: the other process may just be making it.
  if (leads_to_other_terminal(*pty)) return leave_to_other_process(*pty);
  const int result = unlink(pty->m_pts_mapping_name_a);
  LOG_LINE("pub_pty_delete_mapping unlink(%s) ret_val[%d]", pty->m_pts_mapping_name_a, result);
  if (result != 0) {
    pub_log_sys_call(k_log, "unlink");
    pub_log_failure(k_log, ERR_WRITE);
    return ERR_SYSTEM;
  }
  return ERR_NONE;
}
