// Distances on the screen. Widths and heights come from a device and may be anything.
#pragma once

#include <cstdint>

// Beyond every mapping, and small enough to be added to and doubled.
inline constexpr std::int64_t FAR_OUTSIDE = std::int64_t{1} << 58;

// columns (not negative) times rows, or FAR_OUTSIDE where the product would be larger.
constexpr std::int64_t screen_distance(std::int64_t columns, std::int64_t rows) {
  return rows > 0 && columns > FAR_OUTSIDE / rows ? FAR_OUTSIDE : columns * rows;
}
