#include "tests/unit/record/failing-calls.h"

#include <android/log.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

const failing_call* the_failing_call = nullptr;
bool is_fsync_killing = false;
int lines_to_come = -1;
bool has_memory = true;

bool fails(const char* call, const char* path) {
  return the_failing_call != nullptr && the_failing_call->hits(call, path);
}

// A folder can be opened, but not read.
void become_folder(std::FILE* file) {
  const int folder = open("/", O_RDONLY | O_CLOEXEC);
  dup3(folder, fileno(file), O_CLOEXEC);
  close(folder);
}

void* allocate(std::size_t size) {
  return has_memory ? std::malloc(size == 0 ? 1 : size) : nullptr;
}

}  // namespace

failing_call::failing_call(std::string call, int error, std::string path)
    : m_call(std::move(call)), m_error(error), m_path(std::move(path)) {
  the_failing_call = this;
}

failing_call::~failing_call() {
  the_failing_call = nullptr;
}

bool failing_call::hits(const char* call, const char* path) const {
  if (m_call != call || (!m_path.empty() && m_path != path)) return false;
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

no_memory::no_memory() : m_old_priority(__android_log_set_minimum_priority(ANDROID_LOG_WARN)) {
  has_memory = false;
}

no_memory::~no_memory() {
  has_memory = true;
  __android_log_set_minimum_priority(m_old_priority);
}

extern "C" {
int __real_access(const char* path, int mode);
std::FILE* __real_fopen(const char* path, const char* mode);
int __real_fsync(int fd);
int __real_rename(const char* from, const char* to);
char* __real_fgets(char* line, int size, std::FILE* file);

int __wrap_access(const char* path, int mode);
std::FILE* __wrap_fopen(const char* path, const char* mode);
int __wrap_fsync(int fd);
int __wrap_rename(const char* from, const char* to);
char* __wrap_fgets(char* line, int size, std::FILE* file);

int __wrap_access(const char* path, int mode) {
  return fails("access", path) ? -1 : __real_access(path, mode);
}

std::FILE* __wrap_fopen(const char* path, const char* mode) {
  return fails("fopen", path) ? nullptr : __real_fopen(path, mode);
}

int __wrap_fsync(int fd) {
  if (is_fsync_killing) _exit(killing_fsync::STATUS);
  return fails("fsync", "") ? -1 : __real_fsync(fd);
}

int __wrap_rename(const char* from, const char* to) {
  return fails("rename", to) ? -1 : __real_rename(from, to);
}

char* __wrap_fgets(char* line, int size, std::FILE* file) {
  if (lines_to_come == 0) become_folder(file);
  if (lines_to_come >= 0) --lines_to_come;
  return __real_fgets(line, size, file);
}
}  // extern "C"

void* operator new(std::size_t size) {
  void* memory = allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}
