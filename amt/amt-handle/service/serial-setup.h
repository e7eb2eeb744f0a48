// The set-up in which the PC talks to the service directly: PC tty, modem tty, and the three threads that serve them.
#pragma once

#include <cstdint>

#include "pub/result.h"

// 0; ERR_FAIL, with the process about to end, for a -u start without its timer; ERR_WRITE when a terminal call failed;
// ERR_SYSTEM when a device could not be opened or a thread not started. After a failure nothing that was opened or
// started is left.
result_code_en init_for_amt_1_4();
