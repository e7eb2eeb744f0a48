// A device that is played by this library: a path, and the requests that it understands. A regular file lies under the
// path, so that it can be opened and mapped as it is; what a file cannot do is here.
#pragma once

#include <array>
#include <cstddef>
#include <span>

namespace preload {

using call_text = std::array<char, 160>;

struct request {
  unsigned long number;
  const char* name;
  // Adds to the name what distinguishes two such calls; null: nothing does.
  void (*describe)(call_text& text, unsigned long argument);
  // Carries out the request. Returns 0 or an errno.
  int (*run)(unsigned long argument);
};

struct device {
  const char* path;
  const char* name;
  std::span<const request> requests;
  // The file that a stream for reading opens in place of the device's own; null: the one under the path.
  const char* (*answer)() = nullptr;
};

extern const device FRAMEBUFFER;
extern const device CONSOLE;
extern const device VIDEO;
extern const device BATTERY;

void append(call_text& text, const char* format, ...) __attribute__((format(printf, 2, 3)));
// For requests with an argument by value.
void describe_number(call_text& text, unsigned long argument);
// For requests with an argument by address.
template <typename Argument>
Argument* pointer_to(unsigned long argument) {
  return reinterpret_cast<Argument*>(argument);  // NOLINT(performance-no-int-to-ptr): what an ioctl is given
}

}  // namespace preload
