// What a failing call may do without being a finding, each with its reason. `made` is the line that the library wrote
// down.
#pragma once

#include <string_view>

namespace faults {

// Why the log need not report the failure; null: it has to.
const char* reason_for_silence(std::string_view made);

// Whether a station has to expect that the block under way is lost: its bytes did not get through a tty.
bool may_lose_a_block(std::string_view made);

// Findings that stand on a list: what the service does there is known and written down. Gives the reason, or null.
const char* is_known(std::string_view session, std::string_view made, std::string_view finding);

}  // namespace faults
