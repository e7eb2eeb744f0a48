// Times as the store keeps them: milliseconds since 1970, UTC. Pure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// "2026-11-22", with "T08:42", ":00", ".123" and "Z" after it or not; a blank may stand for the T. None: it is no
// time.
std::optional<std::int64_t> store_parse_time(std::string_view text);

// "2026-11-22T08:42:00.123Z"
std::string store_time_text(std::int64_t milliseconds);
