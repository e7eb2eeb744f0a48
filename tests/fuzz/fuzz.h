// What every fuzz target uses: its entry, the check that ends a run, and the reader that cuts an input into its parts.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

using fuzz_bytes = std::span<const std::uint8_t>;

// What must hold whatever the input is. A failure is a finding: libFuzzer keeps the input.
#define FUZZ_CHECK(condition)                                                            \
  do {                                                                                   \
    if (!(condition)) {                                                                  \
      std::fprintf(stderr, "%s:%d: %s does not hold\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                      \
    }                                                                                    \
  } while (false)

// Reads an input from front to back; what is missing reads as zero or as empty. The parts come first and the parser's
// bytes last, so that a seed is readable: a few bytes, then what a station or a modem would send.
class fuzz_input {
 public:
  fuzz_input(const std::uint8_t* data, std::size_t size) : m_rest(data, size) {}

  std::uint8_t byte() {
    const fuzz_bytes taken = take(1);
    return taken.empty() ? std::uint8_t{0} : taken.front();
  }
  std::uint16_t u16() {
    const std::uint8_t low = byte();
    return static_cast<std::uint16_t>(low | byte() << 8);
  }
  // A part that follows its length byte.
  fuzz_bytes block() { return take(byte()); }
  fuzz_bytes rest() { return take(m_rest.size()); }

 private:
  fuzz_bytes take(std::size_t size) {
    const fuzz_bytes taken = m_rest.first(std::min(size, m_rest.size()));
    m_rest = m_rest.subspan(taken.size());
    return taken;
  }

  fuzz_bytes m_rest;
};

inline std::string_view fuzz_text(fuzz_bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
