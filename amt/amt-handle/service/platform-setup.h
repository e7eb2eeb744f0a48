// The platform set-up: requests come from the phone's test application.
#pragma once

#include <cstdint>

#include "pub/result.h"

// Opens the APP link and the modem's AT link and starts the APP reader. A modem that is not there or does not answer is
// not a failure: it is noted, and requests that need it are refused. 0; the code of the APP link; ERR_SYSTEM when the
// reader could not be started. After a failure nothing is left open.
result_code_en init_for_amt_2_3();
