// Which of the service's calls fails: counts them, and finds the one that was asked for. Nothing here allocates.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tests/faults/functions.h"

namespace faults {

inline constexpr int NO_FAULT = -1;
inline constexpr int SHORT_COUNT = 0;

// When the service's main is about to begin. Does nothing in another program.
void start_counting();
// In a process that was forked from the service.
void become_second_process();

// Counts a call that the service makes; what other code calls is none. Gives the errno with which it is to fail,
// SHORT_COUNT or NO_FAULT.
int take_fault(function called, std::uintptr_t caller, const char* path = nullptr, int fd = -1);
// The same for a call that asks for memory, which the C and C++ libraries do in the service's name.
int take_memory_fault(function called, std::size_t size);

// The next library's function of that name.
void* find_next(const char* name);
// dlsym(3) itself.
using dlsym_function = void* (*)(void*, const char*) noexcept;
dlsym_function real_dlsym();

}  // namespace faults
