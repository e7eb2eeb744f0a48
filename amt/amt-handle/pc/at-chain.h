// The AT commands that the service answers itself, in the order in which they are searched.
#pragma once

#include <cstdint>

// Runs the first link that recognises its command in the received text. ERR_NOT_HANDLED when none does; else the
// result of sending its reply, or of its failure.
std::int32_t handle_amt_pc_req_at();
