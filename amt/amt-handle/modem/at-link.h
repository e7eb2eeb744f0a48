// The modem's AT command link, used synchronously by request handlers. An answer always belongs to the last command:
// before a command is written, the final result that an earlier one still has to come is waited for (one second at
// most), and what waits on the link is dropped (64 kB or 200 ms at most, with a modem that never stops).
#pragma once

#include <cstdint>

#include "pub/result.h"

// Switches off the modem's unsolicited link-status reports on a (re)opened AT link. 0 when the modem confirmed it;
// ERR_ARGUMENT for fd < 1; ERR_FAIL when it answered with an error or the link is not ready; ERR_TIMEOUT when it stayed
// silent; ERR_SYSTEM, ERR_INCOMPLETE when the link failed.
result_code_en disable_unsolicited_code(int fd);

// The caller takes something else than the usual final results for one: nothing more is owed to the last command.
void amt_at_take_final_result();

// Sends AT text in one write. A result that is not negative counts as sent, even for a part: the driver takes what it
// can. A link that was reset (EIO) is reopened and silenced, and the text sent once more. 0; ERR_ARGUMENT for a null or
// empty text; ERR_FAIL when the write failed; ERR_TIMEOUT or ERR_SYSTEM when the link could not be repaired.
// A link that could not be repaired is looked for once at each later call, without waiting, and silenced when it is back.
result_code_en write_at(const char* text, std::uint32_t length);

// One read of at most length bytes, with the same repair; after it, an answer has 5 seconds to come (else ERR_FAIL).
// Before that it may take its time, after 10 seconds with a log line that says what is being waited for; but an
// application that closes its terminal meanwhile is not waited for (ERR_FAIL, half a second later; it gets no answer).
// *read_length may be 0. Codes as for write_at.
result_code_en read_at(char* buffer, std::uint32_t length, std::uint32_t* read_length);
