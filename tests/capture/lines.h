// Lines of a capture, as one writes them by hand.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "capture/reader.h"
#include "tests/wire.h"

// A line with its end. The number of milliseconds is the time of both clocks.
inline std::string capture_text(int ms, const std::string& direction, const std::string& link, const std::string& hex,
                                const std::string& phone = "") {
  std::string digits = std::to_string(ms % 1000);
  digits.insert(0, 3 - digits.size(), '0');
  std::string seconds = std::to_string(ms / 1000);
  seconds.insert(0, 2 - seconds.size(), '0');
  return R"({"version": 1, "time": "2026-03-01T08:00:)" + seconds + "." + digits + R"(000Z", "monotonic_ns": )" +
         std::to_string(std::int64_t{ms} * 1'000'000) + R"(, "direction": ")" + direction + R"(", "link": ")" + link +
         R"(", )" + (phone.empty() ? "" : R"("phone": ")" + phone + R"(", )") + R"("hex": ")" + hex + "\"}\n";
}

inline std::string plain_hex(const byte_string& bytes) {
  std::string text = to_hex(bytes);
  std::erase(text, ' ');
  return text;
}

inline std::string plain_hex(std::string_view text) {
  return plain_hex(bytes_from_text(text));
}

// The entries of a text whose lines are all good.
inline std::vector<capture_numbered_st> entries_of(const std::string& text) {
  std::vector<capture_numbered_st> entries;
  capture_reader_st reader(
      [&](const capture_entry_st& entry, std::size_t line) {
        entries.push_back({entry, line});
      },
      [](std::size_t line, const std::string& why) { ADD_FAILURE() << line << ": " << why; });
  reader.feed(text);
  reader.finish();
  return entries;
}
