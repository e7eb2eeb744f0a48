// Preloaded into the service: counts its allocations in a file that the benchmark has mapped too. The C++ operators and
// everything else of the C library that allocates end in these functions.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>

extern "C" {
void* __libc_malloc(std::size_t size);                           // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t count, std::size_t size);        // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* old, std::size_t size);               // NOLINT(bugprone-reserved-identifier)
void* __libc_memalign(std::size_t alignment, std::size_t size);  // NOLINT(bugprone-reserved-identifier)
void* malloc(std::size_t size) noexcept;
void* calloc(std::size_t count, std::size_t size) noexcept;
void* realloc(void* old, std::size_t size) noexcept;
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept;
}

namespace {

using counter = std::atomic<unsigned long>;

counter g_unmapped;  // until the file is mapped
counter* g_count = &g_unmapped;

__attribute__((constructor)) void map_counter() {
  const char* path = std::getenv("AMT_BENCH_COUNTER");
  const int fd = path == nullptr ? -1 : open(path, O_RDWR | O_CLOEXEC);
  if (fd < 0) return;
  void* memory = mmap(nullptr, sizeof(counter), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  close(fd);
  if (memory != MAP_FAILED) g_count = static_cast<counter*>(memory);
}

}  // namespace

void* malloc(std::size_t size) noexcept {
  ++*g_count;
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
  ++*g_count;
  return __libc_calloc(count, size);
}

void* realloc(void* old, std::size_t size) noexcept {
  ++*g_count;
  return __libc_realloc(old, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  ++*g_count;
  return __libc_memalign(alignment, size);
}
