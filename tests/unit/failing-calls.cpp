#include "tests/unit/failing-calls.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

namespace {

failing_call* the_failing_call = nullptr;
bool is_fsync_killing = false;
int lines_to_come = -1;

bool fails(const char* call, const char* path = "") {
  return the_failing_call != nullptr && the_failing_call->hits(call, path);
}

// A folder can be opened, but not read.
void become_folder(std::FILE* file) {
  const int folder = open("/", O_RDONLY | O_CLOEXEC);
  dup3(folder, fileno(file), O_CLOEXEC);
  close(folder);
}

}  // namespace

failing_call::failing_call(std::string call, int error, std::string path, int spared)
    : m_call(std::move(call)), m_error(error), m_path(std::move(path)), m_spared(spared) {
  the_failing_call = this;
}

failing_call::~failing_call() {
  the_failing_call = nullptr;
}

bool failing_call::hits(const char* call, const char* path) {
  if (m_call != call || (!m_path.empty() && m_path != path) || m_spared-- > 0) return false;
  errno = m_error;
  return true;
}

killing_fsync::killing_fsync() {
  is_fsync_killing = true;
}

killing_fsync::~killing_fsync() {
  is_fsync_killing = false;
}

breaking_file::breaking_file(int lines) {
  lines_to_come = lines;
}

breaking_file::~breaking_file() {
  lines_to_come = -1;
}

// NOLINTBEGIN(bugprone-macro-parentheses): types and lists of parameters
// A call that fails with -1 and errno.
#define FAILING_CALL(name, parameters, arguments, path)       \
  extern "C" int __real_##name parameters;                    \
  extern "C" int __wrap_##name parameters;                    \
  extern "C" int __wrap_##name parameters {                   \
    return fails(#name, path) ? -1 : __real_##name arguments; \
  }
// A call that gives the errno.
#define FAILING_CALL_BY_NUMBER(name, parameters, arguments) \
  extern "C" int __real_##name parameters;                  \
  extern "C" int __wrap_##name parameters;                  \
  extern "C" int __wrap_##name parameters {                 \
    return fails(#name) ? errno : __real_##name arguments;  \
  }

FAILING_CALL(access, (const char* path, int mode), (path, mode), path)
FAILING_CALL(bind, (int fd, const sockaddr* address, socklen_t length), (fd, address, length), "")
FAILING_CALL(cfsetispeed, (termios * attributes, speed_t speed), (attributes, speed), "")
FAILING_CALL(cfsetospeed, (termios * attributes, speed_t speed), (attributes, speed), "")
FAILING_CALL(chmod, (const char* path, mode_t mode), (path, mode), path)
FAILING_CALL(dup3, (int from, int to, int flags), (from, to, flags), "")
FAILING_CALL(grantpt, (int fd), (fd), "")
FAILING_CALL(rename, (const char* from, const char* to), (from, to), to)
FAILING_CALL(socket, (int domain, int type, int protocol), (domain, type, protocol), "")
FAILING_CALL(tcgetattr, (int fd, termios* attributes), (fd, attributes), "")
FAILING_CALL(tcsetattr, (int fd, int when, const termios* attributes), (fd, when, attributes), "")
FAILING_CALL_BY_NUMBER(ptsname_r, (int fd, char* name, std::size_t size), (fd, name, size))
FAILING_CALL_BY_NUMBER(pthread_create,
                       (pthread_t * thread, const pthread_attr_t* attributes, void* (*entry)(void*), void* argument),
                       (thread, attributes, entry, argument))
// NOLINTEND(bugprone-macro-parentheses)

extern "C" {
std::FILE* __real_fopen(const char* path, const char* mode);
int __real_fsync(int fd);
char* __real_fgets(char* line, int size, std::FILE* file);

std::FILE* __wrap_fopen(const char* path, const char* mode);
int __wrap_fsync(int fd);
char* __wrap_fgets(char* line, int size, std::FILE* file);

std::FILE* __wrap_fopen(const char* path, const char* mode) {
  return fails("fopen", path) ? nullptr : __real_fopen(path, mode);
}

int __wrap_fsync(int fd) {
  if (is_fsync_killing) _exit(killing_fsync::STATUS);
  return fails("fsync") ? -1 : __real_fsync(fd);
}

char* __wrap_fgets(char* line, int size, std::FILE* file) {
  if (lines_to_come == 0) become_folder(file);
  if (lines_to_come >= 0) --lines_to_come;
  return __real_fgets(line, size, file);
}
}  // extern "C"
