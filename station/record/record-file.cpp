#include "station/record/record-file.h"

#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <stdio.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace {

std::string reason(const std::string& path, const char* what) {
  return fmt::format("{}: {}: {}", path, what, strerror(errno));
}

bool write_all(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::write(fd, text.data() + done, text.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

// A folder that was just made would be lost with its record, as long as its parents do not have its name on the disk.
bool sync_parents(const std::string& folder) {
  std::error_code error;
  std::filesystem::path parent = std::filesystem::absolute(folder, error);
  if (error) return false;
  if (!parent.has_filename()) parent = parent.parent_path();  // "records/"
  while (parent.has_relative_path()) {
    parent = parent.parent_path();
    const int fd = ::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // One that cannot be opened belongs to somebody else, and was there before.
    if (fd < 0) continue;
    const bool is_synced = ::fsync(fd) == 0 || errno == EINVAL || errno == EROFS;
    ::close(fd);
    if (!is_synced) return false;
  }
  return true;
}

// Not every file system can refuse to replace; the new id in the name makes a second file of that name impossible
// there.
int rename_new(int folder, const char* from, const char* to) {
  if (::renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) return 0;
  return errno == EINVAL || errno == ENOSYS ? ::renameat(folder, from, folder, to) : -1;
}

}  // namespace

record_file_st::~record_file_st() {
  if (m_file_fd >= 0) ::close(m_file_fd);
  if (m_folder_fd >= 0) ::close(m_folder_fd);
}

std::string record_file_st::create(const std::string& folder, const record_st& record) {
  m_folder = folder;
  const auto seconds = std::chrono::system_clock::to_time_t(record.m_started);
  m_name = fmt::format("{:%Y%m%dT%H%M%SZ}-{}-{}.json", fmt::gmtime(seconds), record.m_phone, record.m_run_id);
  m_aside = "." + m_name + ".part";
  m_path = folder + "/" + m_name;
  std::error_code error;
  const bool is_new = std::filesystem::create_directories(folder, error);
  if (error) return fmt::format("{}: {}", folder, error.message());
  m_folder_fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (m_folder_fd < 0) return reason(folder, "open");
  if (is_new && !sync_parents(folder)) return reason(folder, "fsync");
  return put(record, true);
}

std::string record_file_st::replace(const record_st& record) {
  return put(record, false);
}

std::string record_file_st::write_aside(const std::string& text, int* fd) const {
  *fd = ::openat(m_folder_fd, m_aside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644);
  if (*fd < 0) return reason(m_path, "open");
  // Not every file system has locks. There a reader goes by what the record says.
  ::flock(*fd, LOCK_EX | LOCK_NB);
  if (!write_all(*fd, text)) return reason(m_path, "write");
  return ::fsync(*fd) == 0 ? "" : reason(m_path, "fsync");
}

std::string record_file_st::put(const record_st& record, bool is_first) {
  if (m_folder_fd < 0) return fmt::format("{}: the folder is not open", m_folder);
  int fd = -1;
  std::string wrong = write_aside(record_text(record), &fd);
  if (wrong.empty()) {
    const int renamed = is_first ? rename_new(m_folder_fd, m_aside.c_str(), m_name.c_str())
                                 : ::renameat(m_folder_fd, m_aside.c_str(), m_folder_fd, m_name.c_str());
    if (renamed != 0) wrong = reason(m_path, "rename");
  }
  if (!wrong.empty()) {
    ::unlinkat(m_folder_fd, m_aside.c_str(), 0);
    if (fd >= 0) ::close(fd);
    return wrong;
  }
  // The earlier state's lock goes only now: whoever gets it finds another file under the name.
  if (m_file_fd >= 0) ::close(m_file_fd);
  m_file_fd = fd;
  return ::fsync(m_folder_fd) == 0 ? "" : reason(m_folder, "fsync");
}

std::string record_default_folder() {
  const char* data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && *data == '/') return std::string(data) + "/amt-station/records";
  const char* home = std::getenv("HOME");
  if (home == nullptr || *home != '/') return {};
  return std::string(home) + "/.local/share/amt-station/records";
}
