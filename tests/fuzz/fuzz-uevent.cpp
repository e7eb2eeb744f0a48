// The walk over a kernel event: it ends, and every byte but the terminators is in exactly one string.
#include <algorithm>
#include <memory>

#include "amt/amt-handle/service/usb-monitor.h"
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto event = std::make_unique<char[]>(size);  // as long as the event: reads after its end are seen
  std::copy_n(data, size, event.get());
  std::span<const char> rest(event.get(), size);
  std::size_t seen = 0;
  while (!rest.empty()) {
    const std::size_t before = rest.size();
    const std::string_view text = amt_uevent_next_string(rest);
    FUZZ_CHECK(text.data() == event.get() + seen && text.find('\0') == std::string_view::npos);
    FUZZ_CHECK(rest.size() < before && rest.data() + rest.size() == event.get() + size);
    seen += before - rest.size();
    FUZZ_CHECK(text.size() + 1 == before - rest.size() || (text.size() == before && rest.empty()));
  }
  FUZZ_CHECK(seen == size);
  return 0;
}
