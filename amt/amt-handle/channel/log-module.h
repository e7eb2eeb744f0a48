#pragma once

#include "pub/log.h"

// One name for the whole of amt-handle, whatever the room: field tools filter by it.
inline constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-handle"};
