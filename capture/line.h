// The text of one piece, a line of a capture file. Pure.
//
//   {"version": 1, "time": "2026-03-01T08:00:00.000250Z", "monotonic_ns": 5000250000, "direction": "sent",
//    "link": "pc", "phone": "A", "hex": "41540D"}
#pragma once

#include <string>
#include <string_view>

#include "capture/entry.h"

inline constexpr int CAPTURE_VERSION = 1;
// More bytes than this make several lines.
inline constexpr std::size_t CAPTURE_MOST_BYTES = std::size_t{64} * 1024;
inline constexpr std::size_t CAPTURE_LONGEST_LINE = 2 * CAPTURE_MOST_BYTES + 1024;
inline constexpr std::size_t CAPTURE_LONGEST_PHONE = 64;  // bytes of its name

// Without the line end.
std::string capture_line(const capture_entry_st& entry);

// Fills the entry; returns what is wrong with the line, empty: nothing. Keys that are not known are passed over.
std::string capture_read_line(std::string_view line, capture_entry_st* entry);

// "2026-03-01T08:00:00.000250Z".
std::string capture_time_text(std::int64_t time_us);
