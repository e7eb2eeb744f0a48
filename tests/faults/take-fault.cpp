#include "tests/faults/take-fault.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <unwind.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace faults {

namespace {

constexpr std::string_view SERVICE = "/vx-kro-amt";

struct range_st {
  std::uintptr_t m_begin;
  std::uintptr_t m_end;
  bool contains(std::uintptr_t address) const { return address >= m_begin && address < m_end; }
};

// The service's own code first; then the libraries that ask for memory in its name.
constexpr std::size_t MOST_RANGES = 16;
range_st g_ranges[MOST_RANGES];
std::size_t g_range_count;

std::atomic<bool> g_is_armed;  // main has begun
std::size_t g_process;         // 1 in a process that was forked from the service
std::atomic<std::uint32_t>* g_counts;

struct fault_st {
  std::size_t m_process;
  function m_function;
  std::uint32_t m_number;
  int m_error;
};
fault_st g_fault;
bool g_has_fault;

__attribute__((tls_model("initial-exec"))) thread_local bool t_is_inside;

bool is_in_service(std::uintptr_t address) {
  return g_ranges[0].contains(address);
}

bool is_known(std::uintptr_t address) {
  for (std::size_t index = 0; index < g_range_count; ++index) {
    if (g_ranges[index].contains(address)) return true;
  }
  return false;
}

bool asks_for_the_service(const char* name) {
  for (const char* library : {"libc.so", "libstdc++.so", "libgcc_s.so", "ld-linux", "libz.so", "libfaults-preload"}) {
    if (std::strstr(name, library) != nullptr) return true;
  }
  return false;
}

int add_range(dl_phdr_info* object, std::size_t, void*) {
  const bool is_program = g_range_count == 0;  // the program comes first
  if (g_range_count == MOST_RANGES || (!is_program && !asks_for_the_service(object->dlpi_name))) return 0;
  range_st range = {UINTPTR_MAX, 0};
  for (int index = 0; index < object->dlpi_phnum; ++index) {
    const auto& segment = object->dlpi_phdr[index];
    if (segment.p_type != PT_LOAD) continue;
    const std::uintptr_t begin = object->dlpi_addr + segment.p_vaddr;
    range.m_begin = begin < range.m_begin ? begin : range.m_begin;
    range.m_end = begin + segment.p_memsz > range.m_end ? begin + segment.p_memsz : range.m_end;
  }
  g_ranges[g_range_count++] = range;
  return 0;
}

// Who asked for memory: the nearest place in the service's code; 0 when somebody else did, or nobody known.
struct walk_st {
  std::uintptr_t m_service;
  bool m_is_foreign;
  int m_frames;
};

_Unwind_Reason_Code take_frame(_Unwind_Context* context, void* argument) {
  constexpr int MOST_FRAMES = 60;
  auto& walk = *static_cast<walk_st*>(argument);
  const std::uintptr_t address = _Unwind_GetIP(context);
  if (address == 0 || ++walk.m_frames > MOST_FRAMES) return _URC_END_OF_STACK;
  if (!is_known(address)) walk.m_is_foreign = true;
  if (walk.m_service == 0 && is_in_service(address)) walk.m_service = address;
  return walk.m_is_foreign ? _URC_END_OF_STACK : _URC_NO_REASON;
}

std::uintptr_t find_asker() {
  walk_st walk = {};
  _Unwind_Backtrace(take_frame, &walk);
  return walk.m_is_foreign ? 0 : walk.m_service;
}

void write_down(const fault_st& fault, std::uintptr_t caller, const char* path, int fd) {
  char target[128] = "";
  if (path != nullptr) {
    std::snprintf(target, sizeof target, "%s", path);
  } else if (fd >= 0) {
    char link[32];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const auto length = syscall(SYS_readlinkat, AT_FDCWD, link, target, sizeof target - 1);
    target[length > 0 ? length : 0] = '\0';
  }
  const auto& name = NAMES[static_cast<std::size_t>(fault.m_function)];
  char line[320];
  const int size =
      std::snprintf(line, sizeof line, "%zu %.*s %u errno %d at 0x%lx %s\n", fault.m_process,
                    static_cast<int>(name.size()), name.data(), fault.m_number, fault.m_error,
                    static_cast<unsigned long>(caller - g_ranges[0].m_begin), target[0] == '\0' ? "-" : target);
  const auto file = syscall(SYS_openat, AT_FDCWD, MADE_FILE, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (file < 0) return;
  syscall(SYS_write, file, line, static_cast<std::size_t>(size));
  syscall(SYS_close, file);
}

void make_counts() {
  const auto file = syscall(SYS_openat, AT_FDCWD, COUNTS_FILE, O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (file < 0) return;
  constexpr std::size_t SIZE = sizeof(counts);
  syscall(SYS_ftruncate, file, SIZE);
  const auto memory = syscall(SYS_mmap, nullptr, SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  syscall(SYS_close, file);
  if (memory != -1) g_counts = reinterpret_cast<std::atomic<std::uint32_t>*>(memory);
}

void read_fault() {
  const char* text = std::getenv(VARIABLE);
  char name[32];
  if (text == nullptr ||
      std::sscanf(text, "%zu %31s %u %d", &g_fault.m_process, name, &g_fault.m_number, &g_fault.m_error) != 4) {
    return;
  }
  for (std::size_t index = 0; index < FUNCTIONS; ++index) {
    if (NAMES[index] != name) continue;
    g_fault.m_function = static_cast<function>(index);
    g_has_fault = true;
  }
}

bool is_service() {
  char path[128] = "";
  const auto length = syscall(SYS_readlinkat, AT_FDCWD, "/proc/self/exe", path, sizeof path - 1);
  return length > 0 && std::string_view(path).ends_with(SERVICE);
}

}  // namespace

int take_fault(function called, std::uintptr_t caller, const char* path, int fd) {
  if (!g_is_armed || g_counts == nullptr || !is_in_service(caller)) return NO_FAULT;
  const auto index = static_cast<std::size_t>(called);
  const std::uint32_t number = ++g_counts[g_process * FUNCTIONS + index];
  if (!g_has_fault || g_fault.m_process != g_process || g_fault.m_function != called || g_fault.m_number != number) {
    return NO_FAULT;
  }
  const int error = errno;
  write_down(g_fault, caller, path, fd);
  errno = error;
  return g_fault.m_error;
}

int take_memory_fault(function called, std::size_t size) {
  if (!g_is_armed || t_is_inside) return NO_FAULT;
  t_is_inside = true;
  char text[32];
  std::snprintf(text, sizeof text, "%zu bytes", size);
  const std::uintptr_t asker = find_asker();
  const int error = asker == 0 ? NO_FAULT : take_fault(called, asker, text);
  t_is_inside = false;
  return error;
}

void start_counting() {
  if (!is_service()) return;
  ::dl_iterate_phdr(add_range, nullptr);
  make_counts();
  read_fault();
  g_is_armed = true;
}

void become_second_process() {
  g_process = 1;
}

dlsym_function real_dlsym() {
  static const auto real = [] {
    void* found = nullptr;
    for (const char* version : {"GLIBC_2.34", "GLIBC_2.17", "GLIBC_2.2.5"}) {
      if (found == nullptr) found = ::dlvsym(RTLD_NEXT, "dlsym", version);
    }
    return reinterpret_cast<dlsym_function>(found);
  }();
  return real;
}

void* find_next(const char* name) {
  return real_dlsym()(RTLD_NEXT, name);
}

}  // namespace faults
