#pragma once

#include <chrono>

namespace handset {

// How long a wait of this library lasts at most, unless the caller gives another time. Generous: it is reached only
// when something is wrong, and the machine may be busy with many phones.
inline constexpr std::chrono::milliseconds DEFAULT_WAIT{20000};

}  // namespace handset
