#pragma once

#include "pub/log.h"

// One name for the whole of amt-handle, whatever the room: field tools filter by it.
// Its own in every source file (not inline): each room has a k_log, and the linker would keep only one of them.
constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-handle"};
