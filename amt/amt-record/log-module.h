#pragma once

#include "pub/log.h"

// The records' lines name the module that wrote them before there was a folder for records, on purpose: field tools
// look for it. Its own in every source file (not inline): each room has a k_log, and the linker would keep only one of
// them.
constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-handle"};
