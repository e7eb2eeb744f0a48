#include "tests/unit/record/no-memory.h"

#include <android/log.h>

#include <cstdlib>
#include <new>

namespace {

bool has_memory = true;

void* allocate(std::size_t size) {
  return has_memory ? std::malloc(size == 0 ? 1 : size) : nullptr;
}

}  // namespace

no_memory::no_memory() : m_old_priority(__android_log_set_minimum_priority(ANDROID_LOG_WARN)) {
  has_memory = false;
}

no_memory::~no_memory() {
  has_memory = true;
  __android_log_set_minimum_priority(m_old_priority);
}

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
