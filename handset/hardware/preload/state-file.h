// What a played device keeps between calls: numbers in a file of its own, "name value" lines.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "handset/hardware/preload/files.h"

namespace preload {

template <typename State>
struct state_field {
  std::string_view name;
  std::uint32_t State::*value;
};

template <typename State>
State read_state(const char* file, std::span<const state_field<State>> fields) {
  State state{};
  text_buffer buffer;
  for (std::string_view text = read_text(file, buffer); !text.empty();) {
    const std::string_view line = take_line(text);
    for (const auto& field : fields) {
      const std::size_t size = field.name.size();
      if (!line.starts_with(field.name) || line.size() <= size || line[size] != ' ') continue;
      std::from_chars(line.data() + size + 1, line.data() + line.size(), state.*field.value);
    }
  }
  return state;
}

template <typename State>
void write_state(const char* file, std::span<const state_field<State>> fields, const State& state) {
  text_buffer buffer;
  char* end = buffer.data();
  for (const auto& field : fields) {
    std::memcpy(end, field.name.data(), field.name.size());
    end += field.name.size();
    *end++ = ' ';
    end = std::to_chars(end, buffer.data() + buffer.size(), state.*field.value).ptr;
    *end++ = '\n';
  }
  write_text(file, {buffer.data(), static_cast<std::size_t>(end - buffer.data())});
}

}  // namespace preload
