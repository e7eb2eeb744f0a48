#include "handset/hardware/preload/files.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>

namespace preload {

namespace {

constexpr char FOLDER[] = "/handset/devices";

struct path {
  path(const char* name, const char* suffix) {
    std::snprintf(text.data(), text.size(), "%s/%s%s", FOLDER, name, suffix);
  }
  std::array<char, 128> text;
};

class file {
 public:
  file(const path& name, int flags) : file(name.text.data(), flags) {}
  file(const char* whole_path, int flags)
      : m_fd(static_cast<int>(::syscall(SYS_openat, AT_FDCWD, whole_path, flags | O_CLOEXEC, 0644))) {}
  ~file() {
    if (m_fd >= 0) ::syscall(SYS_close, m_fd);
  }
  file(const file&) = delete;
  file& operator=(const file&) = delete;

  std::size_t read(text_buffer& buffer) const {
    std::size_t size = 0;
    while (m_fd >= 0 && size < buffer.size()) {
      const auto count = ::syscall(SYS_read, m_fd, buffer.data() + size, buffer.size() - size);
      if (count <= 0) break;
      size += static_cast<std::size_t>(count);
    }
    return size;
  }
  bool write(std::string_view text) const {
    return m_fd >= 0 && ::syscall(SYS_write, m_fd, text.data(), text.size()) == static_cast<long>(text.size());
  }

 private:
  int m_fd;
};

}  // namespace

std::string_view read_text(const char* name, text_buffer& buffer) {
  return {buffer.data(), file(path(name, ""), O_RDONLY).read(buffer)};
}

std::string_view read_text_at(const char* path, text_buffer& buffer) {
  return {buffer.data(), file(path, O_RDONLY).read(buffer)};
}

void write_text(const char* name, std::string_view text) {
  const path aside(name, ".new");
  if (file(aside, O_WRONLY | O_CREAT | O_TRUNC).write(text)) {
    ::syscall(SYS_renameat2, AT_FDCWD, aside.text.data(), AT_FDCWD, path(name, "").text.data(), 0);
  }
}

void append_text(const char* name, std::string_view text) {
  file(path(name, ""), O_WRONLY | O_CREAT | O_APPEND).write(text);
}

std::string_view take_line(std::string_view& text) {
  const auto end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == text.npos ? text.size() : end + 1);
  return line;
}

}  // namespace preload
