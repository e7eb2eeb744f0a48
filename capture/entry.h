// Room `capture`: what passed on a phone's links. The capture file and its lines (docs/capture.md), and the frames and
// lines of text in the bytes.
//
// One piece of what passed on a link, as it was read or written at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// As the side that asks has it: a station on `pc`, the test application on `app`, the service on `modem` and `at`. So a
// session looks the same whoever wrote it down.
enum class capture_direction_en : std::uint8_t { SENT, RECEIVED };

enum class capture_link_en : std::uint8_t { PC, APP, MODEM, AT };

struct capture_entry_st {
  std::int64_t m_time_us = 0;       // since 1970, UTC
  std::int64_t m_monotonic_ns = 0;  // of a clock that nobody sets
  capture_direction_en m_direction = capture_direction_en::SENT;
  capture_link_en m_link = capture_link_en::PC;
  std::string m_phone;  // empty: the only one
  std::vector<std::uint8_t> m_bytes;
};

const char* capture_direction_name(capture_direction_en direction);
const char* capture_link_name(capture_link_en link);
// None where the name is that of no link or direction.
std::optional<capture_direction_en> capture_find_direction(std::string_view name);
std::optional<capture_link_en> capture_find_link(std::string_view name);
