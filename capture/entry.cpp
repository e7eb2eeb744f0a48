#include "capture/entry.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<const char*, 2> DIRECTIONS = {"sent", "received"};
constexpr std::array<const char*, 4> LINKS = {"pc", "app", "modem", "at"};

template <typename VALUE, typename NAMES>
std::optional<VALUE> find(const NAMES& names, std::string_view name) {
  const auto place = std::ranges::find(names, name);
  return place == names.end() ? std::nullopt : std::optional(static_cast<VALUE>(place - names.begin()));
}

}  // namespace

const char* capture_direction_name(capture_direction_en direction) {
  return DIRECTIONS.at(static_cast<std::size_t>(direction));
}

const char* capture_link_name(capture_link_en link) {
  return LINKS.at(static_cast<std::size_t>(link));
}

std::optional<capture_direction_en> capture_find_direction(std::string_view name) {
  return find<capture_direction_en>(DIRECTIONS, name);
}

std::optional<capture_link_en> capture_find_link(std::string_view name) {
  return find<capture_link_en>(LINKS, name);
}
