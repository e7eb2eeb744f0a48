// The phone's folder of device files, seen from inside of the process that uses the devices. Nothing here allocates,
// and nothing goes through the calls that this library takes over.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace preload {

inline constexpr std::size_t TEXT_SIZE = 4096;
using text_buffer = std::array<char, TEXT_SIZE>;

// The content, cut to the buffer; empty when there is no such file.
std::string_view read_text(const char* name, text_buffer& buffer);
// The same for a file anywhere in the phone.
std::string_view read_text_at(const char* path, text_buffer& buffer);
// Replaced in one step: a reader sees the old text or the new one.
void write_text(const char* name, std::string_view text);
void append_text(const char* name, std::string_view text);

// Takes the first line off a text, without its end.
std::string_view take_line(std::string_view& text);

}  // namespace preload
