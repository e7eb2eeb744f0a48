#include "handset/hardware/preload/full.h"

#include <cerrno>
#include <string_view>

#include "handset/hardware/preload/files.h"

namespace preload {

bool is_full(const char* path) {
  text_buffer buffer;
  const std::string_view wanted = path == nullptr ? "" : path;
  const int error = errno;
  std::string_view text = read_text("full", buffer);
  errno = error;  // the opening itself has succeeded
  while (!text.empty()) {
    const std::string_view place = take_line(text);
    if (place.empty() || !wanted.starts_with(place)) continue;
    if (wanted.size() == place.size() || wanted[place.size()] == '/') return true;
  }
  return false;
}

}  // namespace preload
