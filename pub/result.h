// Result codes shared by every module. A function that fails has logged why before it returns one of these. A caller
// that needs no result ignores it openly (std::ignore).
#pragma once

#include <cstdint>

enum [[nodiscard]] result_code_en : std::int32_t{
    ERR_NONE = 0,
    ERR_WRITE = -1,          // a file write or a terminal call failed
    ERR_FAIL = -100,         // bad data, an operation that failed, an error reported by the modem
    ERR_ARGUMENT = -101,     // null pointer, zero length, id out of range
    ERR_NOT_HANDLED = -104,  // not handled here (the next one may), or not found
    ERR_NO_MODEM = -111,     // there is no modem
    ERR_TIMEOUT = -113,      // the modem did not answer in time
    ERR_SYSTEM = -118,       // a system call, open, library load or thread start failed
    ERR_INCOMPLETE = -119,   // a write was incomplete
};
