#include "handset/hardware/preload/calls.h"

#include <cerrno>
#include <charconv>
#include <cstdio>

#include "handset/hardware/preload/files.h"

namespace preload {

namespace {

bool begins_with_words(std::string_view call, std::string_view words) {
  return !words.empty() && call.starts_with(words) && (call.size() == words.size() || call[words.size()] == ' ');
}

// The number of the first line "number words" that is about the call; 0: there is none.
int number_for(const char* file, std::string_view call) {
  text_buffer buffer;
  for (std::string_view text = read_text(file, buffer); !text.empty();) {
    const std::string_view line = take_line(text);
    int number = 0;
    const auto [end, failed] = std::from_chars(line.data(), line.data() + line.size(), number);
    if (failed != std::errc{} || end == line.data() + line.size()) continue;
    if (begins_with_words(call, line.substr(static_cast<std::size_t>(end - line.data()) + 1))) return number;
  }
  return 0;
}

}  // namespace

int fault_of(std::string_view call) {
  return number_for("faults", call);
}

int result_of(std::string_view call) {
  return number_for("results", call);
}

int finish(std::string_view call, int error) {
  std::array<char, 256> line;
  const int size = std::snprintf(line.data(), line.size(), error == 0 ? "%.*s\n" : "%.*s failed %d\n",
                                 static_cast<int>(call.size()), call.data(), error);
  const auto length = static_cast<std::size_t>(size);
  append_text("calls", {line.data(), length < line.size() ? length : line.size() - 1});
  if (error == 0) return 0;
  errno = error;
  return -1;
}

}  // namespace preload
