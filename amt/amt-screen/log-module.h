#pragma once

#include "pub/log.h"

// Its own in every source file (not inline): each room has a k_log, and the linker would keep only one of them.
constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-screen"};
// The framebuffer's messages carry no tag (an empty one: for a null one the log puts the program's name) and those
// of the picture's loading, its entry line too, one of their own: field tools look for them so.
inline constexpr pub_log_module_st k_framebuffer_log{"", "amt/amt-screen"};
inline constexpr pub_log_module_st k_image_log{"CHARGE_ONLY_MODE", "amt/amt-screen"};

inline void log_message(const pub_log_module_st& module, const char* text) {
  if (pub_log_enabled(module)) pub_log_line(module, "%s", text);
}
