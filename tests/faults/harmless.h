// What a failing call may do without being a finding, each with its reason. `made` is the line that the library wrote
// down.
#pragma once

#include <string_view>

namespace faults {

// Why the log need not report the failure; null: it has to.
const char* reason_for_silence(std::string_view made);

// Whether a station has to expect that the block under way is lost: its bytes did not get through a tty.
bool may_lose_a_block(std::string_view made);

// The reason for which a finding is so by design; null: it is none of these.
const char* design_behind(std::string_view made, std::string_view finding);

}  // namespace faults
