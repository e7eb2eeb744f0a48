#include "station/store/waiting.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "station/store/record-reader.h"

namespace {

std::string reason(const std::string& path) {
  return fmt::format("{}: {}", path, strerror(errno));
}

class file_st {
 public:
  explicit file_st(const std::string& path, int flags) : m_fd(::open(path.c_str(), flags | O_CLOEXEC, 0644)) {}
  ~file_st() {
    if (m_fd >= 0) ::close(m_fd);
  }
  file_st(const file_st&) = delete;
  file_st& operator=(const file_st&) = delete;
  int fd() const { return m_fd; }

 private:
  int m_fd;
};

bool is_record_name(const std::string& name) {
  return name.ends_with(".json") && !name.starts_with('.');
}

// Returns false with errno set.
bool read_all(int fd, std::string* text) {
  std::array<char, 65536> chunk{};
  for (;;) {
    const ssize_t count = ::read(fd, chunk.data(), chunk.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return count == 0;
    text->append(chunk.data(), static_cast<std::size_t>(count));
    if (text->size() > RECORD_LONGEST) return true;  // the reader refuses it
  }
}

enum class lock_en { FREE, HELD, NONE };  // NONE: the file system has no locks

// A run holds a lock on the file that is its record. Once the lock is free the file stays as it is, provided that it
// still is the one under this name.
lock_en try_lock(int fd, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  if (::flock(fd, LOCK_SH | LOCK_NB) != 0) return errno == EWOULDBLOCK ? lock_en::HELD : lock_en::NONE;
  const bool is_same = ::fstat(fd, &opened) == 0 && ::stat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino;
  return is_same ? lock_en::FREE : lock_en::HELD;
}

}  // namespace

std::string store_waiting_st::open(const std::string& folder, const std::string& store_id) {
  m_folder = folder;
  m_notes = fmt::format("{}/.sent-{}", folder, store_id);
  m_sent.clear();
  std::ifstream notes(m_notes, std::ios::binary);
  m_is_torn = false;
  for (std::string line; std::getline(notes, line);) {
    m_sent.insert(line);
    m_is_torn = notes.eof();
  }
  return notes.bad() ? reason(m_notes) : "";
}

std::vector<std::string> store_waiting_st::list(std::string* wrong) const {
  std::vector<std::string> names;
  std::error_code error;
  std::filesystem::directory_iterator entry(m_folder, error);
  if (error == std::errc::no_such_file_or_directory) return names;
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    std::string name = entry->path().filename().string();
    if (is_record_name(name) && !m_sent.contains(name)) names.push_back(std::move(name));
  }
  if (error) *wrong = fmt::format("{}: {}", m_folder, error.message());
  std::ranges::sort(names);
  return names;
}

std::string store_waiting_st::note(const std::string& name) {
  const file_st notes(m_notes, O_WRONLY | O_CREAT | O_APPEND);
  // Half a line, as a crash leaves it, must not become a part of this one.
  const std::string line = (m_is_torn ? "\n" : "") + name + '\n';
  m_is_torn = false;
  m_sent.insert(name);
  const bool is_noted =
      notes.fd() >= 0 && ::write(notes.fd(), line.data(), line.size()) == static_cast<ssize_t>(line.size());
  return is_noted ? "" : reason(m_notes);
}

store_record_en store_read_file(const std::string& path, std::string* text, result_st* result, std::string* wrong) {
  text->clear();
  const file_st file(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
  struct stat facts {};
  if (file.fd() < 0 || ::fstat(file.fd(), &facts) != 0) {
    *wrong = reason(path);
    return store_record_en::WRONG;
  }
  if (!S_ISREG(facts.st_mode)) {
    *wrong = fmt::format("{}: is no file", path);
    return store_record_en::WRONG;
  }
  const lock_en lock = try_lock(file.fd(), path);
  if (lock == lock_en::HELD) return store_record_en::RUNNING;
  const bool is_read = read_all(file.fd(), text);
  *wrong = is_read ? store_read_record(*text, result) : strerror(errno);
  if (wrong->empty() && lock == lock_en::NONE && !result->m_is_complete) return store_record_en::RUNNING;
  if (wrong->empty()) return store_record_en::WHOLE;
  *wrong = fmt::format("{}: {}", path, *wrong);
  return store_record_en::WRONG;
}
