// Preloaded into the service: counts the calls that the service itself makes of each function of functions.h, and makes
// one of them fail. Calls of other libraries go on untouched, except that memory is asked for in the service's name by
// the C and C++ libraries. Nothing here allocates. A program that the service starts is not the service.
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <spawn.h>
#include <stdio_ext.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "tests/faults/take-fault.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
int __isoc99_vfscanf(std::FILE* file, const char* format, va_list list);
// Taken over, but in no header.
int __isoc99_fscanf(std::FILE* file, const char* format, ...);
int __libc_start_main(int (*program)(int, char**, char**), int count, char** arguments, void (*init)(), void (*fini)(),
                      void (*loader_fini)(), void* stack);
}

namespace {

using faults::find_next;
using faults::function;
using faults::NO_FAULT;
using faults::real_dlsym;
using faults::SHORT_COUNT;
using faults::take_fault;
using faults::take_memory_fault;

constexpr int STREAM_HAS_FAILED = 0x20;  // of glibc's FILE: what ferror(3) looks at

int (*g_main)(int, char**, char**);

int begin(int count, char** arguments, char** environment) {
  faults::start_counting();
  return g_main(count, arguments, environment);
}

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(find_next(name));
}

template <typename Result, typename Real>
Result call(int error, Result failed, Real real) {
  if (error == NO_FAULT) return real();
  errno = error;
  return failed;
}

unsigned mode_of(int flags, va_list list) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, unsigned) : 0;
}

// A stream's failure: what ferror(3) looks at, and errno.
template <typename Result>
Result fail_stream(std::FILE* file, int error, Result result) {
  file->_flags |= STREAM_HAS_FAILED;
  errno = error;
  return result;
}

std::size_t half_of(std::size_t size) {
  return size < 2 ? size : size / 2;
}

}  // namespace

#define TAKEN_OVER extern "C" __attribute__((visibility("default")))
#define CALLER reinterpret_cast<std::uintptr_t>(__builtin_return_address(0))

// The service begins at main; what the loader and the libraries do before is not counted.
TAKEN_OVER int __libc_start_main(int (*program)(int, char**, char**), int count, char** arguments, void (*init)(),
                                 void (*fini)(), void (*loader_fini)(), void* stack) {
  using start_function = int(int (*)(int, char**, char**), int, char**, void (*)(), void (*)(), void (*)(), void*);
  static const auto real = next<start_function>("__libc_start_main");
  g_main = program;
  return real(begin, count, arguments, init, fini, loader_fini, stack);
}

// --- files and devices

TAKEN_OVER int open(const char* path, int flags, ...) {
  static const auto real = next<int(const char*, int, ...)>("open");
  va_list list;
  va_start(list, flags);
  const unsigned mode = mode_of(flags, list);
  va_end(list);
  return call(take_fault(function::open_call, CALLER, path), -1, [=] { return real(path, flags, mode); });
}

TAKEN_OVER std::FILE* fopen(const char* path, const char* mode) {
  static const auto real = next<std::FILE*(const char*, const char*)>("fopen");
  return call<std::FILE*>(take_fault(function::fopen_call, CALLER, path), nullptr, [=] { return real(path, mode); });
}

TAKEN_OVER ssize_t read(int fd, void* buffer, std::size_t size) {
  static const auto real = next<ssize_t(int, void*, std::size_t)>("read");
  const int error = take_fault(function::read_call, CALLER, nullptr, fd);
  if (error == SHORT_COUNT) return real(fd, buffer, 1);
  return call<ssize_t>(error, -1, [=] { return real(fd, buffer, size); });
}

TAKEN_OVER ssize_t write(int fd, const void* data, std::size_t size) {
  static const auto real = next<ssize_t(int, const void*, std::size_t)>("write");
  if (fd == STDOUT_FILENO) return real(fd, data, size);  // a session waits for what is printed
  const int error = take_fault(function::write_call, CALLER, nullptr, fd);
  if (error == SHORT_COUNT) return real(fd, data, half_of(size));
  return call<ssize_t>(error, -1, [=] { return real(fd, data, size); });
}

TAKEN_OVER int ioctl(int fd, unsigned long request, ...) noexcept {
  static const auto real = next<int(int, unsigned long, ...)>("ioctl");
  va_list list;
  va_start(list, request);
  const unsigned long argument = va_arg(list, unsigned long);
  va_end(list);
  return call(take_fault(function::ioctl_call, CALLER, nullptr, fd), -1, [=] { return real(fd, request, argument); });
}

TAKEN_OVER int fcntl(int fd, int command, ...) {
  static const auto real = next<int(int, int, ...)>("fcntl");
  va_list list;
  va_start(list, command);
  const unsigned long argument = va_arg(list, unsigned long);
  va_end(list);
  return call(take_fault(function::fcntl_call, CALLER, nullptr, fd), -1, [=] { return real(fd, command, argument); });
}

TAKEN_OVER int tcgetattr(int fd, termios* attributes) noexcept {
  static const auto real = next<int(int, termios*)>("tcgetattr");
  return call(take_fault(function::tcgetattr_call, CALLER, nullptr, fd), -1, [=] { return real(fd, attributes); });
}

TAKEN_OVER int tcsetattr(int fd, int when, const termios* attributes) noexcept {
  static const auto real = next<int(int, int, const termios*)>("tcsetattr");
  return call(take_fault(function::tcsetattr_call, CALLER, nullptr, fd), -1,
              [=] { return real(fd, when, attributes); });
}

TAKEN_OVER int ppoll(pollfd* wanted, nfds_t count, const timespec* timeout, const sigset_t* mask) {
  static const auto real = next<int(pollfd*, nfds_t, const timespec*, const sigset_t*)>("ppoll");
  const int fd = count == 0 ? -1 : wanted[0].fd;
  return call(take_fault(function::ppoll_call, CALLER, nullptr, fd), -1,
              [=] { return real(wanted, count, timeout, mask); });
}

TAKEN_OVER void* mmap(void* address, std::size_t length, int protection, int flags, int fd, off_t offset) noexcept {
  static const auto real = next<void*(void*, std::size_t, int, int, int, off_t)>("mmap");
  return call(take_fault(function::mmap_call, CALLER, nullptr, fd), MAP_FAILED,
              [=] { return real(address, length, protection, flags, fd, offset); });
}

TAKEN_OVER int dup3(int from, int to, int flags) noexcept {
  static const auto real = next<int(int, int, int)>("dup3");
  return call(take_fault(function::dup3_call, CALLER, nullptr, to), -1, [=] { return real(from, to, flags); });
}

TAKEN_OVER int eventfd(unsigned value, int flags) noexcept {
  static const auto real = next<int(unsigned, int)>("eventfd");
  return call(take_fault(function::eventfd_call, CALLER), -1, [=] { return real(value, flags); });
}

TAKEN_OVER int fsync(int fd) {
  static const auto real = next<int(int)>("fsync");
  return call(take_fault(function::fsync_call, CALLER, nullptr, fd), -1, [=] { return real(fd); });
}

TAKEN_OVER int ftruncate(int fd, off_t length) noexcept {
  static const auto real = next<int(int, off_t)>("ftruncate");
  return call(take_fault(function::ftruncate_call, CALLER, nullptr, fd), -1, [=] { return real(fd, length); });
}

TAKEN_OVER int fchmod(int fd, mode_t mode) noexcept {
  static const auto real = next<int(int, mode_t)>("fchmod");
  return call(take_fault(function::fchmod_call, CALLER, nullptr, fd), -1, [=] { return real(fd, mode); });
}

TAKEN_OVER int fchown(int fd, uid_t user, gid_t group) noexcept {
  static const auto real = next<int(int, uid_t, gid_t)>("fchown");
  return call(take_fault(function::fchown_call, CALLER, nullptr, fd), -1, [=] { return real(fd, user, group); });
}

// --- paths

TAKEN_OVER int access(const char* path, int mode) noexcept {
  static const auto real = next<int(const char*, int)>("access");
  return call(take_fault(function::access_call, CALLER, path), -1, [=] { return real(path, mode); });
}

TAKEN_OVER int stat(const char* path, struct stat* status) noexcept {
  static const auto real = next<int(const char*, struct stat*)>("stat");
  return call(take_fault(function::stat_call, CALLER, path), -1, [=] { return real(path, status); });
}

TAKEN_OVER int lstat(const char* path, struct stat* status) noexcept {
  static const auto real = next<int(const char*, struct stat*)>("lstat");
  return call(take_fault(function::lstat_call, CALLER, path), -1, [=] { return real(path, status); });
}

TAKEN_OVER int statfs(const char* path, struct statfs* status) noexcept {
  static const auto real = next<int(const char*, struct statfs*)>("statfs");
  return call(take_fault(function::statfs_call, CALLER, path), -1, [=] { return real(path, status); });
}

TAKEN_OVER int mkdir(const char* path, mode_t mode) noexcept {
  static const auto real = next<int(const char*, mode_t)>("mkdir");
  return call(take_fault(function::mkdir_call, CALLER, path), -1, [=] { return real(path, mode); });
}

TAKEN_OVER int chmod(const char* path, mode_t mode) noexcept {
  static const auto real = next<int(const char*, mode_t)>("chmod");
  return call(take_fault(function::chmod_call, CALLER, path), -1, [=] { return real(path, mode); });
}

TAKEN_OVER int chown(const char* path, uid_t user, gid_t group) noexcept {
  static const auto real = next<int(const char*, uid_t, gid_t)>("chown");
  return call(take_fault(function::chown_call, CALLER, path), -1, [=] { return real(path, user, group); });
}

TAKEN_OVER int unlink(const char* path) noexcept {
  static const auto real = next<int(const char*)>("unlink");
  return call(take_fault(function::unlink_call, CALLER, path), -1, [=] { return real(path); });
}

TAKEN_OVER int symlink(const char* target, const char* path) noexcept {
  static const auto real = next<int(const char*, const char*)>("symlink");
  return call(take_fault(function::symlink_call, CALLER, path), -1, [=] { return real(target, path); });
}

TAKEN_OVER ssize_t readlink(const char* path, char* buffer, std::size_t size) noexcept {
  static const auto real = next<ssize_t(const char*, char*, std::size_t)>("readlink");
  return call<ssize_t>(take_fault(function::readlink_call, CALLER, path), -1, [=] { return real(path, buffer, size); });
}

TAKEN_OVER char* realpath(const char* path, char* resolved) noexcept {
  static const auto real = next<char*(const char*, char*)>("realpath");
  return call<char*>(take_fault(function::realpath_call, CALLER, path), nullptr, [=] { return real(path, resolved); });
}

TAKEN_OVER int rename(const char* from, const char* to) noexcept {
  static const auto real = next<int(const char*, const char*)>("rename");
  return call(take_fault(function::rename_call, CALLER, to), -1, [=] { return real(from, to); });
}

// --- streams. What a full disk loses is lost: a failed flush or close drops what was still to be written.

TAKEN_OVER char* fgets(char* text, int size, std::FILE* file) {
  static const auto real = next<char*(char*, int, std::FILE*)>("fgets");
  const int error = take_fault(function::fgets_call, CALLER, nullptr, fileno(file));
  return error == NO_FAULT ? real(text, size, file) : fail_stream<char*>(file, error, nullptr);
}

TAKEN_OVER std::size_t fread(void* buffer, std::size_t size, std::size_t count, std::FILE* file) {
  static const auto real = next<std::size_t(void*, std::size_t, std::size_t, std::FILE*)>("fread");
  const int error = take_fault(function::fread_call, CALLER, nullptr, fileno(file));
  return error == NO_FAULT ? real(buffer, size, count, file) : fail_stream<std::size_t>(file, error, 0);
}

TAKEN_OVER int __isoc99_fscanf(std::FILE* file, const char* format, ...) {
  const int error = take_fault(function::fscanf_call, CALLER, nullptr, fileno(file));
  if (error != NO_FAULT) return fail_stream(file, error, EOF);
  va_list list;
  va_start(list, format);
  const int count = __isoc99_vfscanf(file, format, list);
  va_end(list);
  return count;
}

// A short count: half of the text is on the disk when it is full.
TAKEN_OVER int fputs(const char* text, std::FILE* file) {
  static const auto real = next<int(const char*, std::FILE*)>("fputs");
  static const auto put = next<std::size_t(const void*, std::size_t, std::size_t, std::FILE*)>("fwrite");
  static const auto flush = next<int(std::FILE*)>("fflush");
  const int error = take_fault(function::fputs_call, CALLER, nullptr, fileno(file));
  if (error == NO_FAULT) return real(text, file);
  if (error != SHORT_COUNT) return fail_stream(file, error, EOF);
  put(text, 1, half_of(std::strlen(text)), file);
  flush(file);
  return fail_stream(file, ENOSPC, EOF);
}

TAKEN_OVER std::size_t fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file) {
  static const auto real = next<std::size_t(const void*, std::size_t, std::size_t, std::FILE*)>("fwrite");
  static const auto flush = next<int(std::FILE*)>("fflush");
  const int error = take_fault(function::fwrite_call, CALLER, nullptr, fileno(file));
  if (error == NO_FAULT) return real(data, size, count, file);
  if (error != SHORT_COUNT) return fail_stream<std::size_t>(file, error, 0);
  const std::size_t done = real(data, size, count / 2, file);
  flush(file);
  return fail_stream(file, ENOSPC, done);
}

TAKEN_OVER int fseeko(std::FILE* file, off_t offset, int from) {
  static const auto real = next<int(std::FILE*, off_t, int)>("fseeko");
  return call(take_fault(function::fseeko_call, CALLER, nullptr, fileno(file)), -1,
              [=] { return real(file, offset, from); });
}

TAKEN_OVER int fflush(std::FILE* file) {
  static const auto real = next<int(std::FILE*)>("fflush");
  // Standard output is nobody's record.
  if (file == nullptr || file == stdout) return real(file);
  const int error = take_fault(function::fflush_call, CALLER, nullptr, fileno(file));
  if (error == NO_FAULT) return real(file);
  __fpurge(file);
  return fail_stream(file, error, EOF);
}

TAKEN_OVER int fclose(std::FILE* file) {
  static const auto real = next<int(std::FILE*)>("fclose");
  const int error = take_fault(function::fclose_call, CALLER, nullptr, fileno(file));
  if (error == NO_FAULT) return real(file);
  __fpurge(file);
  real(file);
  errno = error;
  return EOF;
}

// --- terminals of the application

TAKEN_OVER int grantpt(int fd) noexcept {
  static const auto real = next<int(int)>("grantpt");
  return call(take_fault(function::grantpt_call, CALLER, nullptr, fd), -1, [=] { return real(fd); });
}

TAKEN_OVER int unlockpt(int fd) noexcept {
  static const auto real = next<int(int)>("unlockpt");
  return call(take_fault(function::unlockpt_call, CALLER, nullptr, fd), -1, [=] { return real(fd); });
}

TAKEN_OVER int ptsname_r(int fd, char* buffer, std::size_t size) noexcept {
  static const auto real = next<int(int, char*, std::size_t)>("ptsname_r");
  const int error = take_fault(function::ptsname_r_call, CALLER, nullptr, fd);
  return call(error, error, [=] { return real(fd, buffer, size); });
}

// --- sockets

TAKEN_OVER int socket(int domain, int type, int protocol) noexcept {
  static const auto real = next<int(int, int, int)>("socket");
  return call(take_fault(function::socket_call, CALLER), -1, [=] { return real(domain, type, protocol); });
}

TAKEN_OVER int bind(int fd, const sockaddr* address, socklen_t size) noexcept {
  static const auto real = next<int(int, const sockaddr*, socklen_t)>("bind");
  return call(take_fault(function::bind_call, CALLER, nullptr, fd), -1, [=] { return real(fd, address, size); });
}

TAKEN_OVER int setsockopt(int fd, int level, int name, const void* value, socklen_t size) noexcept {
  static const auto real = next<int(int, int, int, const void*, socklen_t)>("setsockopt");
  return call(take_fault(function::setsockopt_call, CALLER, nullptr, fd), -1,
              [=] { return real(fd, level, name, value, size); });
}

TAKEN_OVER ssize_t recv(int fd, void* buffer, std::size_t size, int flags) {
  static const auto real = next<ssize_t(int, void*, std::size_t, int)>("recv");
  return call<ssize_t>(take_fault(function::recv_call, CALLER, nullptr, fd), -1,
                       [=] { return real(fd, buffer, size, flags); });
}

// --- processes, threads, timers

TAKEN_OVER pid_t fork() noexcept {
  static const auto real = next<pid_t()>("fork");
  const int error = take_fault(function::fork_call, CALLER);
  const pid_t child = call(error, -1, [=] { return real(); });
  if (child == 0) faults::become_second_process();
  return child;
}

TAKEN_OVER int posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                           const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]) {
  static const auto real = next<int(pid_t*, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*,
                                    char* const[], char* const[])>("posix_spawn");
  const int error = take_fault(function::posix_spawn_call, CALLER, arguments[2]);
  return error == NO_FAULT ? real(child, path, actions, attributes, arguments, environment) : error;
}

TAKEN_OVER pid_t waitpid(pid_t child, int* status, int options) {
  static const auto real = next<pid_t(pid_t, int*, int)>("waitpid");
  return call(take_fault(function::waitpid_call, CALLER), -1, [=] { return real(child, status, options); });
}

TAKEN_OVER long syscall(long number, ...) noexcept {
  static const auto real = next<long(long, ...)>("syscall");
  va_list list;
  va_start(list, number);
  long arguments[6];
  for (long& argument : arguments) argument = va_arg(list, long);
  va_end(list);
  const int error = number == SYS_pidfd_open ? take_fault(function::pidfd_open_call, CALLER) : NO_FAULT;
  return call(error, -1L, [&] {
    return real(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
  });
}

TAKEN_OVER int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                              void* argument) noexcept {
  static const auto real = next<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
  const int error = take_fault(function::pthread_create_call, CALLER);
  return error == NO_FAULT ? real(thread, attributes, entry, argument) : error;
}

TAKEN_OVER int sched_setscheduler(pid_t process, int policy, const sched_param* parameter) noexcept {
  static const auto real = next<int(pid_t, int, const sched_param*)>("sched_setscheduler");
  return call(take_fault(function::sched_setscheduler_call, CALLER), -1,
              [=] { return real(process, policy, parameter); });
}

TAKEN_OVER int timer_create(clockid_t clock, sigevent* event, timer_t* timer) noexcept {
  static const auto real = next<int(clockid_t, sigevent*, timer_t*)>("timer_create");
  return call(take_fault(function::timer_create_call, CALLER), -1, [=] { return real(clock, event, timer); });
}

TAKEN_OVER int timer_settime(timer_t timer, int flags, const itimerspec* wanted, itimerspec* old) noexcept {
  static const auto real = next<int(timer_t, int, const itimerspec*, itimerspec*)>("timer_settime");
  return call(take_fault(function::timer_settime_call, CALLER), -1, [=] { return real(timer, flags, wanted, old); });
}

// --- libraries. A failed call leaves what dlerror(3) gives as it is; a search of another library's goes on as if that
// library had called itself, so that "the next one" is the next after that one: a jump, not a call.

TAKEN_OVER void* dlopen(const char* path, int flags) noexcept {
  static const auto real = next<void*(const char*, int)>("dlopen");
  if (take_fault(function::dlopen_call, CALLER, path) == NO_FAULT) return real(path, flags);
  return real("/no/such/library.so", flags);
}

TAKEN_OVER void* dlsym(void* library, const char* name) noexcept {
  if (take_fault(function::dlsym_call, CALLER, name) != NO_FAULT) name = "no_such_symbol";
  return real_dlsym()(library, name);
}

// --- memory

TAKEN_OVER void* malloc(std::size_t size) noexcept {
  return call<void*>(take_memory_fault(function::malloc_call, size), nullptr, [=] { return __libc_malloc(size); });
}

TAKEN_OVER void* calloc(std::size_t count, std::size_t size) noexcept {
  return call<void*>(take_memory_fault(function::calloc_call, count * size), nullptr,
                     [=] { return __libc_calloc(count, size); });
}

TAKEN_OVER void* realloc(void* memory, std::size_t size) noexcept {
  return call<void*>(take_memory_fault(function::realloc_call, size), nullptr,
                     [=] { return __libc_realloc(memory, size); });
}
