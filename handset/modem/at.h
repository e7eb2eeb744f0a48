// The AT commands of the simulated modem; handset/modem/modem.h lists them.
#pragma once

#include <string>
#include <string_view>

#include "handset/modem/state.h"

namespace handset {

// The whole answer to a line. The line is given without its CR.
std::string answer_at_line(modem_state& state, const modem_switches& switches, std::string_view line);

// Whether the modem takes this for a whole line although no CR came: the service cuts the channel switch after its
// twelfth character.
bool is_line_without_end(std::string_view line);

}  // namespace handset
