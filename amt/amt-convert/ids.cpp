#include "amt/amt-convert/ids.h"

#include <array>

namespace {

constexpr std::array<const char*, 256> make_names() {
  std::array<const char*, 256> names{};
  names.fill("(undefined)");
#define AMT_NAMED(number, name) names[number] = #name;
#define AMT_UNNAMED(number, name)
  AMT_COMMAND_IDS(AMT_NAMED, AMT_UNNAMED)
#undef AMT_NAMED
#undef AMT_UNNAMED
  return names;
}

constexpr auto COMMAND_NAMES = make_names();

}  // namespace

const char* amt_command_name(std::uint8_t command_id) {
  return COMMAND_NAMES[command_id];
}
