// What a failing call may do without being a finding, each with its reason.
#pragma once

#include <string_view>

namespace faults {

// Why the log need not report the failure that the library wrote down in this line; null: it has to.
const char* reason_for_silence(std::string_view made);

// Whether a station has to expect that the block under way is lost: its bytes did not get through a tty.
bool may_lose_a_block(std::string_view made);

}  // namespace faults
