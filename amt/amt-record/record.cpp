#include "amt/amt-record/record.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <tuple>
#include <utility>

#include "amt/amt-record/log-module.h"
#include "pub/result.h"

namespace {

constexpr char SYNC_COMMAND[] = "/system/bin/sync";
constexpr std::uint32_t PAUSE_MS = 50;
constexpr int LINE_LIMIT = 98;

result_code_en fail_transfer(const pub_log_site& site, const char* what) {
  return pub_fail(site, ERR_SYSTEM, "%s fail: %d - %s", what, errno, std::strerror(errno));
}

// The file behind path. A link whose file is missing gets an empty one, so that the link itself stays.
bool find_file(const char* path, char (&file)[PATH_MAX]) {
  if (realpath(path, file) != nullptr) return true;
  if (errno != ENOENT) return false;
  struct stat link = {};
  if (lstat(path, &link) == 0) return pub_util_fopen(path, "a") && realpath(path, file) != nullptr;
  if (std::snprintf(file, sizeof file, "%s", path) < static_cast<int>(sizeof file)) return true;
  errno = ENAMETOOLONG;
  return false;
}

// Devices and folders are not replaced.
bool is_replaceable(const struct stat& old) {
  if (S_ISREG(old.st_mode)) return true;
  errno = S_ISDIR(old.st_mode) ? EISDIR : EINVAL;
  return false;
}

// Lends the owner of a file its write bit for the time of an opening. A file that is not the service's, or whose owner
// may not even read it, stays shut: errno is left as it is.
pub_file open_lent(const char* path, const char* mode) {
  const int error = errno;
  const pub_fd file(pub_util_open(path, O_RDONLY | O_NONBLOCK));
  struct stat status = {};
  pub_file opened;
  if (file && fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
      (status.st_mode & S_IWUSR) == 0 && fchmod(file.get(), (status.st_mode & 07777) | S_IWUSR) == 0) {
    opened = pub_util_fopen(path, mode);
    std::ignore = fchmod(file.get(), status.st_mode & 07777);
  }
  errno = error;
  return opened;
}

}  // namespace

amt_aside_file::~amt_aside_file() {
  if (!m_file) return;
  const int error = errno;
  unlink(m_aside);
  m_file.reset();
  errno = error;
}

bool amt_aside_file::open(const char* path) {
  if (!find_file(path, m_path)) return false;
  struct stat old = {};
  const bool has_old = stat(m_path, &old) == 0;
  if (has_old && !is_replaceable(old)) return false;
  if (std::snprintf(m_aside, sizeof m_aside, "%s.new", m_path) >= static_cast<int>(sizeof m_aside)) {
    errno = ENAMETOOLONG;
    return false;
  }
  unlink(m_aside);
  m_file = pub_util_fopen(m_aside, "wx");
  if (!m_file) return false;
  if (has_old) {
    std::ignore = fchown(fileno(file()), old.st_uid, old.st_gid);
    std::ignore = fchmod(fileno(file()), old.st_mode & 07777);
  }
  return true;
}

bool amt_aside_file::flush() {
  return std::fflush(file()) == 0 && fsync(fileno(file())) == 0;
}

bool amt_aside_file::put_in_place() {
  if (std::rename(m_aside, m_path) != 0) return false;
  m_file.reset();
  return true;
}

bool amt_empty_file(const pub_log_module_st& module, int fd) {
  if (ftruncate(fd, 0) == 0 || errno == EINVAL) return true;
  pub_log_sys_call(module, "ftruncate");
  return false;
}

// Closed first: a stream may write again what it could not write, and only then is gone.
void amt_close_emptied(pub_file file) {
  const pub_fd fd(fcntl(fileno(file.get()), F_DUPFD_CLOEXEC, 0));
  file.reset();
  std::ignore = amt_empty_file(k_log, fd.get());
}

void amt_flush_records() {
  for (int round = 0; round < 2; ++round) {
    pub_util_sleep_ms(PAUSE_MS);
    if (pub_util_run_command(SYNC_COMMAND) != 0) LOG_LINE("%s failed", SYNC_COMMAND);
  }
}

pub_file amt_fopen_record(const char* path, const char* mode) {
  pub_file file = pub_util_fopen(path, mode);
  if (!file && errno == EACCES && *mode != 'r') file = open_lent(path, mode);
  return file;
}

pub_file amt_open_record(const pub_log_site& site, const char* path, const char* mode, result_code_en code) {
  pub_file file = amt_fopen_record(path, mode);
  if (file) return file;
  pub_log_failure(site, code, "open(\"%s\") fail: %d - %s", path, errno, std::strerror(errno));
  return nullptr;
}

result_code_en amt_write_record(const pub_log_site& site, const char* label, const char* path, const char* text) {
  pub_file file = amt_open_record(site, path, "w+");
  if (!file) return ERR_SYSTEM;
  const bool is_written = amt_finish_record(std::move(file), text, [&](bool is_done) {
    if (is_done) {
      LOG_LINE("%s: %s", label, text);
    } else {
      std::ignore = fail_transfer(site, "fputs");
    }
  });
  return is_written ? ERR_NONE : ERR_SYSTEM;
}

result_code_en amt_read_record(const pub_log_site& site, const char* label, const char* path,
                               char (&content)[AMT_CONTENT_SIZE]) {
  std::memset(content, 0, sizeof content);
  const pub_file file = amt_open_record(site, path, "r");
  if (!file) return ERR_SYSTEM;
  if (std::fgets(content, LINE_LIMIT + 1, file.get()) == nullptr) return fail_transfer(site, "read");
  if (label != nullptr) LOG_LINE("%s: %s", label, content);
  return ERR_NONE;
}
