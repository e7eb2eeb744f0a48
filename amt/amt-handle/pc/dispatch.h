// The one entry of everything the PC sends.
#pragma once

#include <cstdint>

#include "pub/result.h"

// Handles the block in the request record: a wrapped frame goes to its registered handler, AT text to the chain of
// commands the service answers itself, anything else unchanged to the modem. 0 when the block was handled;
// ERR_ARGUMENT when it is empty; else the result of the error frame, which could not be sent either.
result_code_en handle_amt_pc_req();
