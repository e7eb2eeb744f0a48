#pragma once

#include "pub/log.h"

inline constexpr pub_log_module_st k_log{"vx-kro-amt", "amt/amt-device"};
