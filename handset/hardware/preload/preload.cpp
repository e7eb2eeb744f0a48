// The calls that are taken over. A call that is about none of the devices goes on to the real function.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "handset/hardware/preload/calls.h"
#include "handset/hardware/preload/device.h"
#include "handset/hardware/preload/full.h"
#include "handset/hardware/preload/owners.h"

namespace preload {

namespace {

const device* const DEVICES[] = {&FRAMEBUFFER, &CONSOLE, &VIDEO, &BATTERY};

const device* device_at(const char* path) {
  for (const device* candidate : DEVICES) {
    if (std::strcmp(candidate->path, path) == 0) return candidate;
  }
  return nullptr;
}

// The name under which a descriptor was opened, cut to the room; empty when there is none.
call_text path_of(int fd) {
  const int error = errno;
  char link[32];
  call_text path{};
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  const ssize_t length = fd < 0 ? -1 : ::readlink(link, path.data(), path.size() - 1);
  errno = error;
  path[length < 0 ? 0 : static_cast<std::size_t>(length)] = '\0';
  return path;
}

// Found by the name under which the descriptor was opened; which file lies under that name is the phone's business.
const device* device_of(int fd) {
  return device_at(path_of(fd).data());
}

const request* request_of(const device& played, unsigned long number) {
  for (const request& candidate : played.requests) {
    if (candidate.number == number) return &candidate;
  }
  return nullptr;
}

// Whether a look at the descriptor is worth its system call.
bool is_known(unsigned long number) {
  for (const device* candidate : DEVICES) {
    if (request_of(*candidate, number) != nullptr) return true;
  }
  return false;
}

call_text named(const device& played, const char* call) {
  call_text text{};
  append(text, "%s %s", played.name, call);
  return text;
}

int control(const device& played, const request& wanted, unsigned long argument) {
  call_text text = named(played, wanted.name);
  if (wanted.describe != nullptr) wanted.describe(text, argument);
  int error = fault_of(text.data());
  if (error == 0) error = wanted.run(argument);
  return finish(text.data(), error) != 0 ? -1 : result_of(text.data());
}

template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

// The real file is opened all the same: it is emptied or made, and its refusals count.
template <typename Open>
int open_record(const char* path, int flags, Open real) {
  const bool grows = (flags & O_ACCMODE) != O_RDONLY && (flags & (O_TRUNC | O_CREAT | O_APPEND)) != 0;
  const int fd = real(path, flags);
  if (fd < 0 || !grows || !is_full(path)) return fd;
  ::close(fd);
  return real(FULL_DEVICE, flags & ~(O_TRUNC | O_CREAT | O_EXCL));
}

template <typename Open>
std::FILE* open_record_stream(const char* path, const char* mode, Open real) {
  std::FILE* stream = real(path, mode);
  if (stream == nullptr || (mode[0] != 'w' && mode[0] != 'a') || !is_full(path)) return stream;
  std::fclose(stream);
  return real(FULL_DEVICE, "r+e");
}

template <typename Open>
int open_device(const char* path, int flags, Open real) {
  const device* played = path == nullptr ? nullptr : device_at(path);
  if (played == nullptr) return open_record(path, flags, real);
  const call_text text = named(*played, "open");
  const int error = fault_of(text.data());
  if (error != 0) return finish(text.data(), error);
  const int fd = real(path, flags);
  finish(text.data(), fd < 0 ? errno : 0);
  return fd;
}

template <typename Open>
std::FILE* open_stream(const char* path, const char* mode, Open real) {
  const device* played = path == nullptr || mode == nullptr ? nullptr : device_at(path);
  if (played == nullptr)
    return path == nullptr || mode == nullptr ? real(path, mode) : open_record_stream(path, mode, real);
  const bool reads = mode[0] == 'r';
  const call_text text = named(*played, reads ? "read" : "write");
  const int error = fault_of(text.data());
  if (finish(text.data(), error) != 0) return nullptr;
  return real(reads && played->answer != nullptr ? played->answer() : path, mode);
}

template <typename Map>
void* map_device(int fd, std::size_t length, Map real) {
  const device* played = device_of(fd);
  if (played == nullptr) return real();
  call_text text = named(*played, "mmap");
  append(text, " %zu", length);
  const int error = fault_of(text.data());
  if (error != 0) {
    finish(text.data(), error);
    return MAP_FAILED;
  }
  void* memory = real();
  finish(text.data(), memory == MAP_FAILED ? errno : 0);
  return memory;
}

}  // namespace

void append(call_text& text, const char* format, ...) {
  const std::size_t used = std::strlen(text.data());
  va_list list;
  va_start(list, format);
  std::vsnprintf(text.data() + used, text.size() - used, format, list);
  va_end(list);
}

void describe_number(call_text& text, unsigned long argument) {
  append(text, " %lu", argument);
}

}  // namespace preload

#define TAKEN_OVER extern "C" __attribute__((visibility("default")))

namespace {

using open_function = int (*)(const char*, int, ...);
using fopen_function = std::FILE* (*)(const char*, const char*);
using ioctl_function = int (*)(int, unsigned long, ...);
using chown_function = int (*)(const char*, uid_t, gid_t);
using fchown_function = int (*)(int, uid_t, gid_t);
using fchownat_function = int (*)(int, const char*, uid_t, gid_t, int);
using mmap_function = void* (*)(void*, std::size_t, int, int, int, off_t);

unsigned mode_of(int flags, va_list list) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, unsigned) : 0;
}

}  // namespace

TAKEN_OVER int open(const char* path, int flags, ...) {
  static const auto real = preload::next<open_function>("open");
  va_list list;
  va_start(list, flags);
  const unsigned mode = mode_of(flags, list);
  va_end(list);
  return preload::open_device(path, flags, [=](const char* place, int how) { return real(place, how, mode); });
}

TAKEN_OVER int open64(const char* path, int flags, ...) {
  static const auto real = preload::next<open_function>("open64");
  va_list list;
  va_start(list, flags);
  const unsigned mode = mode_of(flags, list);
  va_end(list);
  return preload::open_device(path, flags, [=](const char* place, int how) { return real(place, how, mode); });
}

TAKEN_OVER std::FILE* fopen(const char* path, const char* mode) {
  static const auto real = preload::next<fopen_function>("fopen");
  return preload::open_stream(path, mode, real);
}

TAKEN_OVER std::FILE* fopen64(const char* path, const char* mode) {
  static const auto real = preload::next<fopen_function>("fopen64");
  return preload::open_stream(path, mode, real);
}

TAKEN_OVER int ioctl(int fd, unsigned long number, ...) noexcept {
  static const auto real = preload::next<ioctl_function>("ioctl");
  va_list list;
  va_start(list, number);
  const unsigned long argument = va_arg(list, unsigned long);
  va_end(list);
  const preload::device* played = preload::is_known(number) ? preload::device_of(fd) : nullptr;
  const preload::request* wanted = played == nullptr ? nullptr : preload::request_of(*played, number);
  return wanted == nullptr ? real(fd, number, argument) : preload::control(*played, *wanted, argument);
}

TAKEN_OVER void* mmap(void* address, std::size_t length, int protection, int flags, int fd, off_t offset) noexcept {
  static const auto real = preload::next<mmap_function>("mmap");
  return preload::map_device(fd, length, [=] { return real(address, length, protection, flags, fd, offset); });
}

TAKEN_OVER void* mmap64(void* address, std::size_t length, int protection, int flags, int fd, off64_t offset) noexcept {
  static const auto real = preload::next<mmap_function>("mmap64");
  return preload::map_device(fd, length, [=] { return real(address, length, protection, flags, fd, offset); });
}

TAKEN_OVER int chown(const char* path, uid_t user, gid_t group) noexcept {
  static const auto real = preload::next<chown_function>("chown");
  return preload::give_away(path, user, group, real(path, user, group));
}

TAKEN_OVER int fchown(int fd, uid_t user, gid_t group) noexcept {
  static const auto real = preload::next<fchown_function>("fchown");
  const int result = real(fd, user, group);
  return preload::give_away(preload::path_of(fd).data(), user, group, result);
}

// chgrp(1) asks so.
TAKEN_OVER int fchownat(int folder, const char* path, uid_t user, gid_t group, int flags) noexcept {
  static const auto real = preload::next<fchownat_function>("fchownat");
  const int result = real(folder, path, user, group, flags);
  if (folder == AT_FDCWD || path[0] == '/') return preload::give_away(path, user, group, result);
  preload::call_text whole = preload::path_of(folder);
  preload::append(whole, "/%s", path);
  return preload::give_away(whole.data(), user, group, result);
}
