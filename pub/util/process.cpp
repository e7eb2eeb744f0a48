#include "pub/util/process.h"

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <cstring>

#include "pub/gate.h"
#include "pub/result.h"
#include "pub/util/io.h"
#include "pub/util/log-module.h"

namespace {

void log_open_failure(const char* path) {
  const int error = errno;
  LOG_LINE("Open file \"%s\" fail: %d - %s", path, error, std::strerror(error));
}

void cmd_line_path(char (&path)[40], std::int64_t pid) {
  std::snprintf(path, sizeof path, "/proc/%" PRId64 "/cmdline", pid);
}

// A pid file that another user has put where all may write says nothing of this service: EPERM.
pub_file open_pid_file(const char* path) {
  pub_file file = pub_util_fopen_shared(path, O_RDONLY);
  struct stat status = {};
  if (!file || !pub_util_is_replaceable(path)) return file;
  if (fstat(fileno(file.get()), &status) == 0 && (status.st_uid == 0 || status.st_uid == geteuid())) return file;
  file.reset();
  errno = EPERM;
  return nullptr;
}

// The pid in a pid file; false, logged, when there is none.
bool read_pid(const char* pid_file, std::int64_t& pid) {
  const pub_file file = open_pid_file(pid_file);
  if (!file) {
    log_open_failure(pid_file);
    return false;
  }
  const int count = std::fscanf(file.get(), "%" SCNd64, &pid);
  if (count == 1) return true;
  const int error = errno;
  LOG_LINE("fscanf() return: %d; %d - %s", count, error, std::strerror(error));
  return false;
}

bool runs_under_name(std::int64_t pid, const char* name) {
  char path[40];
  cmd_line_path(path, pid);
  const pub_file file = pub_util_fopen(path, "r");
  if (!file) {
    log_open_failure(path);
    return false;
  }
  char word[80] = "";
  const int count = std::fscanf(file.get(), "%79s", word);
  if (count != 1) {
    const int error = errno;
    LOG_LINE("fscanf() return: %d; %d - %s", count, error, std::strerror(error));
    return false;
  }
  return std::strstr(word, name) != nullptr;
}

std::atomic<pid_t> g_new_child;  // on its way to the thread that waits for it

void* wait_for_child(void*) {
  const pid_t child = g_new_child.exchange(0);
  g_new_child.notify_all();
  while (waitpid(child, nullptr, 0) < 0) {
    if (errno == EINTR) continue;
    pub_log_sys_call(k_log, "waitpid");
    break;
  }
  return nullptr;
}

}  // namespace

void pub_util_fill_standard_descriptors() {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (fcntl(fd, F_GETFD) >= 0) continue;
    if (pub_util_open("/dev/null", O_RDWR) != fd) return;  // a new descriptor is always the lowest free one
    fcntl(fd, F_SETFD, 0);                                 // children need theirs, too
  }
}

result_code_en pub_util_get_cmd_line(pid_t pid, char* buffer, std::uint32_t size) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {buffer == nullptr, size == 0})) return ERR_ARGUMENT;
  char path[40];
  cmd_line_path(path, pid);
  const pub_file file = pub_util_fopen(path, "r");
  if (!file) {
    pub_log_failure(k_log, ERR_SYSTEM);
    log_open_failure(path);
    return ERR_SYSTEM;
  }
  char word[256] = "";
  if (std::fscanf(file.get(), "%255s", word) != 1) return pub_fail_sys_call(k_log, ERR_SYSTEM, "fscanf");
  std::snprintf(buffer, size, "%s", word);
  return ERR_NONE;
}

result_code_en pub_util_get_process_path(char* buffer, std::uint32_t size) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {buffer == nullptr, size == 0})) return ERR_ARGUMENT;
  const result_code_en result = pub_util_get_cmd_line(getpid(), buffer, size);
  if (result != ERR_NONE) return result;
  if (char* slash = std::strrchr(buffer, '/')) *slash = '\0';
  return ERR_NONE;
}

result_code_en pub_util_get_pid_and_check_run(const char* pid_file, const char* name, std::int32_t* is_run,
                                              std::int64_t* pid) {
  pub_log_entry(k_log);
  if (is_run != nullptr) *is_run = 0;
  if (pid != nullptr) *pid = 0;
  const bool no_file = pid_file == nullptr;
  const bool no_name = name == nullptr;
  if (pub_log_bad_arguments(k_log, {no_file, !no_file && *pid_file == '\0', no_name, !no_name && *name == '\0',
                                    is_run == nullptr, pid == nullptr})) {
    return ERR_ARGUMENT;
  }
  LOG_LINE("pub_util_get_pid_and_check_run pid_file_ptr[%s] name_ptr[%s]", pid_file, name);
  std::int64_t found = 0;
  if (read_pid(pid_file, found) && runs_under_name(found, name)) {
    *is_run = 1;
    *pid = found;
  }
  LOG_LINE("pub_util_get_pid_and_check_run return is_run_ptr[%d] pid_ptr[%d]", *is_run, static_cast<int>(*pid));
  return ERR_NONE;
}

void pub_util_create_pid_file(const char* name) {
  pub_log_entry(k_log);
  if (pub_log_bad_arguments(k_log, {name == nullptr})) return;
  char command[60];  // once a shell's, whose limit cuts a long name
  std::snprintf(command, 59, "echo %d > /tmp/%s.pid", getpid(), name);
  const pub_fd file = pub_util_create_shared(std::strchr(command, '/'));
  if (!file) {
    pub_log_sys_call(k_log, "open");
  } else if (dprintf(file.get(), "%d\n", getpid()) < 0) {
    pub_log_sys_call(k_log, "write");
  }
  LOG_LINE("PID of %s: %d", name, getpid());
}

pid_t pub_util_fork() {
  pub_log_entry(k_log);
  if (ftrylockfile(stdout) == 0) {  // a library may be printing, for as long as nobody reads that
    std::fflush(stdout);
    funlockfile(stdout);
  }
  pub_gate_close();
  const pid_t child = fork();
  pub_gate_open(child == 0);
  return child;
}

void pub_util_reap(pid_t child) {
  g_new_child = child;
  pthread_t thread;
  const int error = pthread_create(&thread, nullptr, wait_for_child, nullptr);
  if (error != 0) {
    pub_log_failure(k_log, ERR_SYSTEM, "pthread_create(): %d - %s", error, std::strerror(error));
    return;
  }
  pthread_detach(thread);
  g_new_child.wait(child);
}

void pub_util_raise_process_priority() {
  pub_log_entry(k_log);
  const int maximum = sched_get_priority_max(SCHED_FIFO);
  if (maximum < 0) {
    pub_log_sys_call(k_log, "sched_get_priority_max");
    pub_log_failure(k_log, ERR_SYSTEM);
    return;
  }
  sched_param parameter = {};
  parameter.sched_priority = maximum - 4;
  if (sched_setscheduler(getpid(), SCHED_FIFO, &parameter) != 0) {
    pub_log_sys_call(k_log, "sched_setscheduler");
    pub_log_failure(k_log, ERR_SYSTEM);
  }
}
